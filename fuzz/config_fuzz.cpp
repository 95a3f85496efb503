// Reads the input as a configuration file, and as the variables of one whose check value is right.
// Writes the list that came of it and reads it back.
#include "fuzz/FuzzTarget.h"
#include "streams/Scrambling.h"
#include "tests/streams/MemoryStream.h"
#include "vars/ConfigFile.h"

#include <numeric>
#include <string>

namespace {

using tvfuzz::Require;
using Damage = Tova::ConfigFileReport::Damage;

std::string describe(const Tova::CVarList& list) {
    std::string out;
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next()) {
        out += std::string(var->IsFixed() ? "%" : "") + var->Name() + "=" + var->Value() + "\n";
    }
    return out;
}

Tova::RStatus read(const std::string& stored, unsigned long block, Tova::CVarList& list,
                   Tova::ConfigFileReport& report) {
    tvtest::MemoryStream stream(Tova::cConfigFileReadFlags, stored);
    stream.block = block;
    return Tova::ReadConfiguration(stream, list, &report);
}

void requireSound(const std::string& stored, const Tova::CVarList& list) {
    for (const std::size_t block : {stored.size(), std::size_t{7}}) {
        Tova::CVarList found;
        Tova::ConfigFileReport report;
        Require(read(stored, block, found, report) == Tova::Ok, "the file is sound");
        Require(report.damage == Damage::None, "and without damage");
        Require(describe(found) == describe(list), "and holds the list");
    }
}

void readStored(const std::string& stored) {
    Tova::CVarList list, other;
    Tova::ConfigFileReport report, otherReport;
    const Tova::RStatus status = read(stored, 0, list, report);
    Require(status == Tova::Ok || report.damage != Damage::None, "damage is named");
    Require(read(stored, 7, other, otherReport) == status && otherReport.damage == report.damage &&
                describe(other) == describe(list),
            "reading in blocks gives the same");
    tvtest::MemoryStream file(Tova::cConfigFileWriteFlags);
    Require(Tova::WriteConfiguration(file, list), "lists can be written");
    requireSound(file.bytes, list);
}

// Returns the plain file that the input's texts make, up to the first name that is empty, and fills
// the list that it holds.
std::string composePlain(tvfuzz::Input& input, Tova::CVarList& list) {
    std::string plain = std::string(Tova::cConfigFileHeader) + '\0';
    while (!input.IsEmpty()) {
        const std::string name = input.Until('\0');
        if (name.empty()) {
            break;
        }
        const std::string value = input.Until('\0');
        list.SetValue(name.c_str(), value.c_str(), false);
        plain += name + '\0' + value + '\0';
    }
    plain += '\0';
    const auto sum = std::accumulate(plain.begin(), plain.end(), 0U, [](unsigned left, char c) {
        return left + static_cast<unsigned char>(c);
    });
    return plain + std::to_string(sum) + '\0';
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readStored(std::string(data, data + size));
    tvfuzz::Input input(data, size);
    Tova::CVarList list;
    std::string stored = composePlain(input, list);
    for (char& c : stored) {
        c = static_cast<char>(Tova::Scramble(static_cast<unsigned char>(c)));
    }
    requireSound(stored, list);
    stored.insert(stored.size() - 2, 1, static_cast<char>(Tova::Scramble('1')));
    readStored(stored);
    return 0;
}
