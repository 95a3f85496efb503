#include "vars/ConfigFile.h"

#include "streams/CFileStream.h"
#include "text/Str.h"

#include <cstdlib>
#include <cstring>

namespace Tova {

namespace {

using Damage = ConfigFileReport::Damage;

constexpr int cHeaderLength = sizeof cConfigFileHeader - 1;
// What the headers of all versions begin with.
constexpr char cHeaderStem[] = "Nimbus Works Configuration File";

Damage headerDamage(CStream& stream, const CString& header) {
    if (stream.GetState() == CStream::State::Failed) {
        return Damage::Unreadable;
    }
    const auto length = static_cast<std::size_t>(header.Length());
    if (length != 0 && stream.AtEOF() &&
        std::strncmp(cConfigFileHeader, header.CStr(), length) == 0) {
        return Damage::CutOff;
    }
    return Str::ICompare(cHeaderStem, header.CStr(), sizeof cHeaderStem - 1) == 0
               ? Damage::OtherHeader
               : Damage::NoHeader;
}

Damage bodyDamage(CStream& stream, const ConfigFileReport& report) {
    if (stream.GetState() == CStream::State::Failed) {
        return Damage::Unreadable;
    }
    if (stream.AtEOF()) {
        return Damage::CutOff;
    }
    return report.computed == report.stored ? Damage::None : Damage::CheckValueDiffers;
}

}  // namespace

RStatus ReadConfiguration(CStream& stream, CVarList& list, ConfigFileReport* report) {
    ConfigFileReport own;
    ConfigFileReport& result = report != nullptr ? *report : own;
    result = ConfigFileReport();

    // The bound makes a large file that is something else fail at once. It is one byte more than
    // the header has, so that a longer text still differs.
    stream.ReadToDelim(result.header, 0, cHeaderLength + 1, nullptr);
    if (std::strcmp(result.header.CStr(), cConfigFileHeader) != 0) {
        result.damage = headerDamage(stream, result.header);
        return ErrBadFormat;
    }
    list.ReadNWC(stream);
    result.computed = stream.GetCheckValue();

    // Read as liberally as strtoul does: blanks, a sign and larger numbers are accepted.
    CString check;
    stream.ReadToDelim(check, 0, -1, nullptr);
    result.stored = static_cast<std::uint32_t>(std::strtoul(check.CStr(), nullptr, 10));
    result.damage = bodyDamage(stream, result);
    return result.computed == result.stored ? Ok : ErrBadFormat;
}

RStatus ReadConfiguration(const CFSPath& path, CVarList& list, ConfigFileReport* report) {
    CFileStream stream;
    const RStatus status = stream.Open(path, cConfigFileReadFlags, nullptr);
    if (status < 0) {
        if (report != nullptr) {
            *report = ConfigFileReport();
            report->damage = Damage::Unreadable;
        }
        return status;
    }
    return ReadConfiguration(stream, list, report);
}

bool WriteConfiguration(CStream& stream, const CVarList& list) {
    // Every text is written character by character, so that the check value sums the plain bytes.
    // Single failures need no look: they leave the stream failed.
    stream.WriteString(cConfigFileHeader, -1);
    stream.WriteChar('\0');
    list.Write(stream);
    stream.WriteChar('\0');
    stream.Format("%lu", static_cast<unsigned long>(stream.GetCheckValue()));
    stream.WriteChar('\0');
    return stream.Flush() && stream.GetState() != CStream::State::Failed;
}

RStatus CVarList::WriteToFile(const CFSPath& path) const {
    CFileStream stream;
    const RStatus status = stream.Open(path, cConfigFileWriteFlags, nullptr);
    if (status < 0) {
        return status;
    }
    // Callers rely on success once the file was opened.
    static_cast<void>(WriteConfiguration(stream, *this));
    return Ok;
}

RStatus CVarList::ReadFromEncryptedFile(const CFSPath& path) {
    return ReadConfiguration(path, *this, nullptr);
}

void CVarList::Write(CStream& stream) const {
    for (const CVar* var = head_; var != nullptr; var = var->Next()) {
        if (var->IsFixed()) {
            stream.WriteChar('%');
        }
        stream.WriteString(var->Name(), -1);
        stream.WriteChar('\0');
        stream.WriteString(var->Value(), -1);
        stream.WriteChar('\0');
    }
}

void CVarList::ReadNWC(CStream& stream) {
    CString name;
    CString value;
    while (!stream.AtEOF()) {
        stream.ReadToDelim(name, 0, -1, nullptr);
        if (name.IsEmpty()) {
            return;
        }
        stream.ReadToDelim(value, 0, -1, nullptr);
        SetValue(name.CStr(), value.CStr(), false);
    }
}

}  // namespace Tova
