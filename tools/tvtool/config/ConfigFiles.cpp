#include "tvtool/config/ConfigFiles.h"

#include "streams/CMemoryStream.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Files.h"
#include "tvtool/base/Tool.h"

#include <algorithm>
#include <functional>
#include <new>
#include <numeric>
#include <string_view>

namespace tvtool {

using Damage = Tova::ConfigFileReport::Damage;

namespace {

constexpr std::string_view cHeader = Tova::cConfigFileHeader;

// Returns the number of bytes that the two texts begin with alike.
std::size_t sameStart(std::string_view a, std::string_view b) {
    return static_cast<std::size_t>(std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first -
                                    a.begin());
}

std::string byteAt(std::size_t number) {
    return "byte " + std::to_string(number);
}

// Puts the right header into bytes whose header differs from it in a few places. Returns false if
// they differ in more.
bool repairHeader(std::string& bytes) {
    const std::string right = EncodeConfig(Tova::CVarList()).substr(0, cHeader.size() + 1);
    if (bytes.size() < right.size()) {
        return false;
    }
    const auto differing = std::inner_product(right.begin(), right.end(), bytes.begin(), 0,
                                              std::plus<>(), std::not_equal_to<>());
    bytes.replace(0, right.size(), right);
    return differing <= 8;
}

void warnOfExtra(const std::string& path, const ConfigReading& reading) {
    if (reading.Extra() > 0) {
        Complain(InputName(path) + ": what follows from " + byteAt(reading.end + 1) +
                 " on is behind the end of the configuration, and is not read");
    }
}

}  // namespace

ConfigReading DecodeConfig(std::string bytes, Tova::CVarList& list) {
    ConfigReading reading;
    reading.size = bytes.size();
    Tova::CMemoryStream stream(Tova::cConfigFileReadFlags, bytes);
    // The report tells more than the status, which also accepts a file without its last byte.
    static_cast<void>(Tova::ReadConfiguration(stream, list, &reading.report));
    unsigned long position = 0;
    stream.GetPos(position);
    reading.end = position;
    return reading;
}

std::string ConfigReading::Describe() const {
    std::string words = Tova::DamageOf(report.damage).words;
    const std::string_view header = report.header.CStr();
    switch (report.damage) {
    case Damage::NoHeader:
        return size == 0
                   ? "no header: the file is empty"
                   : words + " (it differs from " + byteAt(sameStart(header, cHeader) + 1) + " on)";
    case Damage::OtherHeader:
        return words + ": " + Quote(header) + " in place of " + Quote(cHeader) + ", from " +
               byteAt(sameStart(header, cHeader) + 1) + " on";
    case Damage::CutOff:
        return words + " (it ends after " + byteAt(size) + ")";
    case Damage::CheckValueDiffers:
        return words + ": the file says " + std::to_string(report.stored) +
               ", its contents sum to " + std::to_string(report.computed) + " (up to " +
               byteAt(end) + " of " + std::to_string(size) + ")";
    default:
        return words;
    }
}

void ReadConfig(const std::string& path, Tova::CVarList& list) {
    const ConfigReading reading = DecodeConfig(ReadInput(path), list);
    if (!reading.IsSound()) {
        Fail(Exit::Damaged, InputName(path), reading.Describe());
    }
    warnOfExtra(path, reading);
}

bool ReadDamagedConfig(const std::string& path, Tova::CVarList& list) {
    std::string bytes = ReadInput(path);
    const ConfigReading reading = DecodeConfig(bytes, list);
    warnOfExtra(path, reading);
    if (reading.IsSound()) {
        return true;
    }
    const bool hasHeader = cHeader == reading.report.header.CStr();
    if (!hasHeader && !repairHeader(bytes)) {
        Fail(Exit::Damaged, InputName(path), reading.Describe() + "; nothing of it can be read");
    }
    Complain(InputName(path) + ": " + reading.Describe());
    if (!hasHeader) {
        const ConfigReading rest = DecodeConfig(bytes, list);
        Complain(InputName(path) + ": behind the header, " +
                 (rest.IsSound() ? "it is in order" : rest.Describe()));
    }
    return false;
}

std::string EncodeConfig(const Tova::CVarList& list) {
    std::string bytes;
    Tova::CMemoryStream stream(Tova::cConfigFileWriteFlags, bytes);
    if (!Tova::WriteConfiguration(stream, list)) {
        throw std::bad_alloc();
    }
    return bytes;
}

}  // namespace tvtool
