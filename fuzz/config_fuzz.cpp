// Reads the input as a configuration file, and as the plain bytes of one. Writes the list that came
// of it and reads it back.
#include "fuzz/FuzzTarget.h"
#include "tests/streams/MemoryStream.h"
#include "vars/ConfigFile.h"

#include <string>

namespace {

using tvfuzz::Require;

std::string describe(const Tova::CVarList& list) {
    std::string out;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        out += std::string(var->IsFixed() ? "%" : "") + var->Name() + "=" + var->Value() + "\n";
    }
    return out;
}

void checkRoundTrip(const Tova::CVarList& list) {
    tvtest::MemoryStream file(Tova::cConfigFileWriteFlags);
    Require(Tova::WriteConfiguration(file, list), "lists can be written");
    tvtest::MemoryStream again(Tova::cConfigFileReadFlags, file.bytes);
    Tova::CVarList back;
    Tova::ConfigFileReport report;
    Require(Tova::ReadConfiguration(again, back, &report) == Tova::Ok, "what was written is sound");
    Require(report.damage == Tova::ConfigFileReport::Damage::None, "and without damage");
    Require(describe(back) == describe(list), "and the same");
}

void readStored(const std::string& stored) {
    tvtest::MemoryStream stream(Tova::cConfigFileReadFlags, stored);
    Tova::CVarList list;
    Tova::ConfigFileReport report;
    const Tova::RStatus status = Tova::ReadConfiguration(stream, list, &report);
    Require(status == Tova::Ok || report.damage != Tova::ConfigFileReport::Damage::None,
            "damage is named");
    checkRoundTrip(list);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(data, data + size);
    std::string scrambled;
    for (const char c : std::string(Tova::cConfigFileHeader) + '\0' + bytes) {
        const unsigned sum = (static_cast<unsigned char>(c) + 0x5BU) & 0xFFU;
        scrambled += static_cast<char>(sum >> 4 | (sum & 0xFU) << 4);
    }
    readStored(bytes);
    readStored(scrambled);
    return 0;
}
