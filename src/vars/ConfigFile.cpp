#include "vars/ConfigFile.h"

#include "text/CatchAll.h"
#include "text/Str.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
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

struct Setting {
    CString name;
    CString value;
};

// Returns false at the end of the variables.
bool readSetting(CStream& stream, Setting& setting) {
    if (stream.AtEOF()) {
        return false;
    }
    stream.ReadToDelim(setting.name, 0, -1, nullptr);
    if (setting.name.IsEmpty()) {
        return false;
    }
    stream.ReadToDelim(setting.value, 0, -1, nullptr);
    return true;
}

void set(CVarList& list, const Setting& setting) {
    list.SetValue(viewOf(setting.name), viewOf(setting.value), false);
}

// The table of names of so many variables fits into the processor's caches.
constexpr std::size_t cFew = 1000;

// Makes room for the variables that the rest of a stream is likely to hold, if so many bytes of it
// have made so many. It is only a guess, so nothing is lost if there is no memory.
void makeRoom(CStream& stream, std::uint64_t bytes, std::size_t made, CVarList& list) {
    constexpr std::uint64_t cMost = 2'000'000;  // since a file may begin with short ones
    unsigned long length = 0;
    if (!stream.InternalGetLength(length) || length <= bytes) {
        return;
    }
    const std::uint64_t more = made * (length - bytes) / bytes;
    try {
        list.Reserve(list.Count() + static_cast<std::size_t>(std::min(more, cMost)));
    } catch (const std::bad_alloc&) {
    }
}

// Returns false if the variables end among the first few.
bool readFew(CStream& stream, CVarList& list) {
    const std::size_t before = list.Count();
    std::uint64_t bytes = 0;
    Setting setting;
    for (std::size_t read = 0; read < cFew; ++read) {
        if (!readSetting(stream, setting)) {
            return false;
        }
        set(list, setting);
        bytes += withNul(viewOf(setting.name)).size() + withNul(viewOf(setting.value)).size();
    }
    makeRoom(stream, bytes, list.Count() - before, list);
    return true;
}

// Sets each variable of a large list when some more have been read, so that the memory to look into
// has arrived by then. Together with the room, that halves the time.
class LateSettings {
public:
    explicit LateSettings(CVarList& list) : list_(list) {}

    // Returns the place for what is read next.
    Setting& Next() { return settings_[read_ % cDelay]; }
    // Takes in what was read there. Does not keep a long text, or many of them could wait.
    void Push() {
        constexpr int cLong = 65536;
        Setting& pushed = Next();
        list_.Prefetch(viewOf(pushed.name));
        ++read_;
        if (std::max(pushed.name.Length(), pushed.value.Length()) > cLong) {
            SetAll();
            std::destroy_at(&pushed);
            std::construct_at(&pushed);
        } else if (read_ - done_ == cDelay) {
            SetOldest();
        }
    }
    void SetAll() {
        while (done_ < read_) {
            SetOldest();
        }
    }

private:
    static constexpr std::size_t cDelay = 8;

    void SetOldest() { set(list_, settings_[done_++ % cDelay]); }

    CVarList& list_;
    Setting settings_[cDelay];
    std::size_t read_ = 0;
    std::size_t done_ = 0;
};

void readMany(CStream& stream, CVarList& list) {
    LateSettings settings(list);
    const auto readNext = [&] {
        try {
            return readSetting(stream, settings.Next());
        } catch (...) {
            CatchAll([&] { settings.SetAll(); });
            throw;
        }
    };
    while (readNext()) {
        settings.Push();
    }
    settings.SetAll();
}

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
    const RStatus status =
        stream.Open(path, cConfigFileWriteFlags | CFileStream::cKeepUntilWritten, nullptr);
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
    if (readFew(stream, list)) {
        readMany(stream, list);
    }
}

}  // namespace Tova
