#include "vars/ConfigFile.h"

#include "text/Str.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string_view>

namespace Tova {

namespace {

using Damage = ConfigFileReport::Damage;

constexpr int cHeaderLength = sizeof cConfigFileHeader - 1;
// The headers of all versions begin with this.
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

std::string_view viewOf(const CString& text) {
    return {text.CStr(), static_cast<std::size_t>(text.Length())};
}

// Returns the view of a NUL-terminated text with its NUL.
std::string_view withNul(std::string_view text) {
    return {text.data(), text.size() + 1};
}

// Collects short texts, because a stream writes one long run much faster than many short ones.
class RunOfTexts {
public:
    explicit RunOfTexts(CStream& stream) : stream_(stream) {}

    void Add(std::string_view text) {
        if (text.size() > sizeof run_ - length_) {
            Write();
        }
        if (text.size() > sizeof run_) {
            stream_.WriteString(text.data(), static_cast<int>(text.size()));
            return;
        }
        std::memcpy(run_ + length_, text.data(), text.size());
        length_ += text.size();
    }
    void Write() {
        stream_.WriteString(run_, static_cast<int>(length_));
        length_ = 0;
    }

private:
    CStream& stream_;
    std::size_t length_ = 0;
    char run_[4096];
};

constexpr bool isComplete() {
    for (int kind = 0; kind <= static_cast<int>(Damage::CheckValueDiffers); ++kind) {
        if (cConfigFileDamages[kind].kind != static_cast<Damage>(kind)) {
            return false;
        }
    }
    return std::size(cConfigFileDamages) == static_cast<int>(Damage::CheckValueDiffers) + 1;
}
static_assert(isComplete());

}  // namespace

RStatus ReadConfiguration(CStream& stream, CVarList& list, ConfigFileReport* report) {
    ConfigFileReport own;
    ConfigFileReport& result = report != nullptr ? *report : own;
    result = ConfigFileReport();

    // With this bound a large file that is something else fails at once. The bound is one byte more
    // than the header has, so that a longer text still differs.
    stream.ReadToDelim(result.header, 0, cHeaderLength + 1, nullptr);
    if (std::strcmp(result.header.CStr(), cConfigFileHeader) != 0) {
        result.damage = headerDamage(stream, result.header);
        return ErrBadFormat;
    }
    ReadVariables(stream, list);
    result.computed = stream.GetCheckValue();

    // Deliberate: blanks, a sign and larger numbers are accepted, as strtoul does it.
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
    // Writing character by character makes the check value the sum of the plain bytes. A failure
    // leaves the stream failed, so the single results need no look.
    stream.WriteString(cConfigFileHeader, -1);
    stream.WriteChar('\0');
    WriteVariables(stream, list);
    stream.WriteChar('\0');
    stream.Format("%lu", static_cast<unsigned long>(stream.GetCheckValue()));
    stream.WriteChar('\0');
    return stream.Flush() && stream.GetState() != CStream::State::Failed;
}

RStatus WriteConfiguration(const CFSPath& path, const CVarList& list) {
    CFileStream stream;
    const RStatus status = stream.Open(path, cConfigFileWriteFlags, nullptr);
    if (status < 0) {
        return status;
    }
    // Deliberate: what fails from here on is not reported. Callers rely on success once the file
    // was opened.
    static_cast<void>(WriteConfiguration(stream, list));
    return Ok;
}

void WriteVariables(CStream& stream, const CVarList& list) {
    RunOfTexts run(stream);
    for (const CVar* var = list.First(); var != nullptr; var = var->Next()) {
        if (var->IsFixed()) {
            run.Add("%");
        }
        run.Add(withNul(var->NameView()));
        run.Add(withNul(var->ValueView()));
    }
    run.Write();
}

void ReadVariables(CStream& stream, CVarList& list) {
    CString name;
    CString value;
    while (!stream.AtEOF()) {
        stream.ReadToDelim(name, 0, -1, nullptr);
        if (name.IsEmpty()) {
            return;
        }
        list.Prefetch(viewOf(name));
        stream.ReadToDelim(value, 0, -1, nullptr);
        list.SetValue(viewOf(name), viewOf(value), false);
    }
}

}  // namespace Tova
