// A file as a stream, on the C library's buffered files. One thread at a time may use it.
#pragma once

#include "fs/CFSPath.h"
#include "streams/CStream.h"

#include <cstdio>

namespace Tova {

// The type and creator information that Open gives to a file that it opens for writing.
class ILocalFileInfo {
public:
    virtual unsigned GetCreator() const = 0;
    virtual unsigned GetType() const = 0;

protected:
    ~ILocalFileInfo() = default;
};

// Before Open and after Close every raw operation is false, and AtEOF true. Blocking is the
// system's: opening and reading a FIFO waits for its writer. A FIFO has no position, so that
// looking for a byte-order mark in one fails the stream, though Open is `Ok`.
class CFileStream : public CStream {
public:
    // Bits of the flag word beside those of CStream.
    static constexpr unsigned cReadOnly = 0x800;        // open an existing file for reading only
    static constexpr unsigned cWriteOnly = 0x400;       // open a created file for writing only
    static constexpr unsigned cAppend = 0x20000;        // start at the end
    static constexpr unsigned cCreateFolder = 0x40000;  // make the containing folder, unless the
                                                        // file must exist
    // Dispositions, one of which is part of the flag word. Others are ErrBadParameter.
    static constexpr unsigned cOpenExisting = 0x0000000;  // ErrNotFound without one
    static constexpr unsigned cCreateNew = 0x1000000;     // ErrAlreadyExists with one
    static constexpr unsigned cCreateAlways = 0x2000000;  // empties an existing file
    static constexpr unsigned cOpenOrCreate = 0x3000000;
    // Odd on purpose: refuses an existing file with ErrNotFound and creates a missing one (without
    // its folder). Callers rely on the number, so it is not to be mended.
    static constexpr unsigned cOpenMissing = 0x4000000;

    CFileStream();
    // Closes what is open, also after a failure; drops what then goes wrong.
    ~CFileStream() override;

    // Opens `path`, looks for a byte-order mark where `flags` allow it, and stamps a file opened
    // for writing with what `info` (may be null, not kept) says. On failure the state is NotOpen
    // and nothing is open. What fopen refuses is ErrBadName (no such file or folder, name too
    // long), ErrAccessDenied or `Failure`. A stream is meant for one file: opened again, it
    // closes the first and goes on with its check value and encoding.
    RStatus Open(const CFSPath& path, unsigned flags, const ILocalFileInfo* info);
    // Opens the file in the fopen mode "rb", "r+b", "wb" or "w+b" and stamps it, no more; the state
    // stays as it is.
    RStatus _Open(const CFSPath& path, const char* mode, unsigned flags,
                  const ILocalFileInfo* info);
    // False when nothing is open, or when what was still to be written could not be: the file is
    // then closed and the stream failed.
    bool Close();

    // True once a read has met the end, until the position is set.
    bool AtEOF() override;
    bool Flush() override;
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override;
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done) override;
    bool InternalSetPos(unsigned long pos) override;
    bool InternalGetPos(unsigned long& pos) override;
    bool InternalSetLength(unsigned long length) override;
    bool InternalGetLength(unsigned long& length) override;

protected:
    RunEnd InternalReadRun(const unsigned char (&stop)[2], unsigned long count,
                           unsigned char* buffer, unsigned long& done) override;

    // Owned unless a subclass that passes the file on clears ownsFile_; null while none is open.
    std::FILE* file_ = nullptr;
    bool ownsFile_ = true;

private:
    // The C library wants a flush or a positioning call between reading and writing.
    enum class Direction { Neither, Reading, Writing };
    bool Turn(Direction direction);
    void Discard();
    RStatus OpenStatus(const CFSPath& path, unsigned flags, const ILocalFileInfo* info);

    Direction direction_ = Direction::Neither;
};

}  // namespace Tova
