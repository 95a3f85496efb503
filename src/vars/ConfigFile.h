// Configuration files as streams, and what exactly is wrong with a damaged one. CVarList's own file
// operations are built on these. One thread at a time may use a list and a stream.
//
// A file is a sequence of NUL-terminated texts, each byte scrambled: the header, name and value of
// each variable (the name of a fixed one after a "%"), an empty name, and the check value, which is
// the sum of the plain bytes before it in decimal digits.
#pragma once

#include "streams/CStream.h"
#include "text/CString.h"
#include "text/RStatus.h"
#include "vars/CVarList.h"

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
    // The sum over what was read, and the low 32 bits of the file's check value; both 0 when the
    // header was not met.
    std::uint32_t computed = 0;
    std::uint32_t stored = 0;
};

constexpr char cConfigFileHeader[] = "Nimbus Works Configuration File 1.0";

// The flags with which a stream reads or writes a configuration file; a stream that is not a
// CFileStream needs those of CStream among them (scrambling and check value).
constexpr unsigned cConfigFileReadFlags = 0x828;
constexpr unsigned cConfigFileWriteFlags = 0x2000828;

// Adds what `stream` holds, from where it stands, to `list`, as CVarList::ReadFromEncryptedFile
// does and with its status; `report` (may be null) receives the details. A file that lacks nothing
// but the last NUL is `Ok` and yet reported as cut off. To tell an end from a NUL, the stream's
// AtEOF has to be false until a read has met the end.
RStatus ReadConfiguration(CStream& stream, CVarList& list, ConfigFileReport* report);
RStatus ReadConfiguration(const CFSPath& path, CVarList& list, ConfigFileReport* report);

// Writes the whole file. False when the stream has failed, flushing included.
bool WriteConfiguration(CStream& stream, const CVarList& list);

}  // namespace Tova
