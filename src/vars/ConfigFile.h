// The configuration file: its format, its reading and writing, and what exactly is wrong with a
// damaged one. CVarList offers the same under names of its own. One thread at a time may use a list
// and a stream.
//
// A file is a sequence of NUL-terminated texts, each byte scrambled: the header, name and value of
// each variable (the name of a fixed one after a "%"), an empty name, and the check value. That is
// the sum of the plain bytes before it in decimal digits. See docs/configuration-file.md.
#pragma once

#include "fs/CFSPath.h"
#include "streams/CFileStream.h"
#include "streams/CStream.h"
#include "text/CString.h"
#include "text/RStatus.h"
#include "vars/CVarList.h"

#include <cstddef>
#include <cstdint>

namespace Tova {

// What ReadConfiguration found out.
struct ConfigFileReport {
    enum class Damage {
        None,
        Unreadable,         // opening failed (the status says how) or a read did
        NoHeader,           // the file does not begin like a configuration file
        OtherHeader,        // the header of another version, or in another case: see `header`
        CutOff,             // the end came before the NUL of the check value
        CheckValueDiffers,  // see `computed` and `stored`
    };
    Damage damage = Damage::None;
    // The first text of the file, cut to one byte more than the header has.
    CString header;
    // The sum over what was read, and the low 32 bits of the file's check value. Both are 0 if the
    // file does not begin with the header.
    std::uint32_t computed = 0;
    std::uint32_t stored = 0;
};

// A kind of damage, with a token for programs, which never changes, and words for people.
struct ConfigFileDamage {
    ConfigFileReport::Damage kind;
    const char* token;
    const char* words;
};
constexpr ConfigFileDamage cConfigFileDamages[] = {
    {ConfigFileReport::Damage::None, "none", ""},
    {ConfigFileReport::Damage::Unreadable, "unreadable", "cannot be read"},
    {ConfigFileReport::Damage::NoHeader, "no-header", "no header: this is no configuration file"},
    {ConfigFileReport::Damage::OtherHeader, "other-header", "another header"},
    {ConfigFileReport::Damage::CutOff, "cut-off",
     "cut off: the file ends early; get a complete copy"},
    {ConfigFileReport::Damage::CheckValueDiffers, "check-value-differs", "check value differs"},
};
constexpr const ConfigFileDamage& DamageOf(ConfigFileReport::Damage kind) {
    return cConfigFileDamages[static_cast<std::size_t>(kind)];
}

constexpr char cConfigFileHeader[] = "Nimbus Works Configuration File 1.0";

// The flags with which a stream reads or writes a configuration file. A stream that is not a
// CFileStream needs those of CStream among them.
constexpr unsigned cConfigFileReadFlags =
    CStream::cCheckValue | CStream::cScramble | CFileStream::cReadOnly | CFileStream::cOpenExisting;
// Deliberate: cReadOnly is among these too. It has no effect on a file that is created, and the
// number is the one that callers know.
constexpr unsigned cConfigFileWriteFlags =
    CStream::cCheckValue | CStream::cScramble | CFileStream::cReadOnly | CFileStream::cCreateAlways;
static_assert(cConfigFileReadFlags == 0x828 && cConfigFileWriteFlags == 0x2000828);

// Adds the variables of a configuration file to `list`, which is not cleared first. `report` (may
// be null) receives the details. Returns the status of opening, or ErrBadFormat if the header or
// the check value differs. Variables that were read before the check value failed stay in the list.
// Returns `Ok` for a file that lacks nothing but the last NUL, and yet reports it as cut off. To
// tell an end from a NUL, the stream's AtEOF must be false until a read has met the end.
RStatus ReadConfiguration(CStream& stream, CVarList& list, ConfigFileReport* report);
RStatus ReadConfiguration(const CFSPath& path, CVarList& list, ConfigFileReport* report);

// Writes the whole file. Returns false if the stream has failed, flushing included.
bool WriteConfiguration(CStream& stream, const CVarList& list);
// Replaces in place what stands at `path`, with the flags above and cKeepUntilWritten. Returns the
// status of opening.
RStatus WriteConfiguration(const CFSPath& path, const CVarList& list);

// The variables alone. Writing leaves out the empty name that ends them; reading takes it.
void WriteVariables(CStream& stream, const CVarList& list);
void ReadVariables(CStream& stream, CVarList& list);

}  // namespace Tova
