// A file as a stream, read and written a block at a time. One thread at a time may use a stream,
// and nobody else may move the position of its descriptor.
#pragma once

#include "fs/CFSPath.h"
#include "streams/CStream.h"

namespace Tova {

// The type and creator information that Open gives to a file that it opens for writing.
class ILocalFileInfo {
public:
    virtual unsigned GetCreator() const = 0;
    virtual unsigned GetType() const = 0;

protected:
    ~ILocalFileInfo() = default;
};

// Before Open and after Close every raw operation returns false, and AtEOF returns true. Opening
// and reading block as the system does: a FIFO waits for its writer. A FIFO has no position, so
// that looking for a byte-order mark in one fails the stream, though Open returns `Ok`.
class CFileStream : public CStream {
public:
    // The bits of the flag word beside those of CStream.
    static constexpr unsigned cReadOnly = 0x800;        // open an existing file for reading only
    static constexpr unsigned cWriteOnly = 0x400;       // create a file for writing only
    static constexpr unsigned cAppend = 0x20000;        // start at the end
    static constexpr unsigned cCreateFolder = 0x40000;  // make the containing folder, unless the
                                                        // file must exist
    // An existing file that would be emptied keeps its bytes until the first block is written, and
    // is then emptied only if it is longer than that. So a process that ends before then leaves the
    // file as it was, and a file system need not store an empty file first.
    static constexpr unsigned cKeepUntilWritten = 0x80000;
    // The dispositions. One of them is part of the flag word; any other value of these bits is
    // ErrBadParameter.
    static constexpr unsigned cDispositionBits = 0x7000000;
    static constexpr unsigned cOpenExisting = 0x0000000;  // ErrNotFound if there is no file
    static constexpr unsigned cCreateNew = 0x1000000;     // ErrAlreadyExists if there is one
    static constexpr unsigned cCreateAlways = 0x2000000;  // empties an existing file
    static constexpr unsigned cOpenOrCreate = 0x3000000;
    // Deliberate: refuses an existing file with ErrNotFound and creates a missing one, without its
    // folder. Callers rely on the number.
    static constexpr unsigned cOpenMissing = 0x4000000;

    CFileStream();
    // Closes the file, also after a failure. Drops errors.
    ~CFileStream() override;

    // Opens `path` and looks for a byte-order mark if `flags` allow it. Stamps a file that is open
    // for writing with the codes of `info`, which may be null and is not kept. On failure the state
    // is NotOpen and no file is open. If the system refuses to open the file, the status is
    // ErrBadName (no such file or folder, name too long), ErrAccessDenied or `Failure`. A stream is
    // meant for one file: a second Open closes the first file and keeps the check value and the
    // encoding.
    RStatus Open(const CFSPath& path, unsigned flags, const ILocalFileInfo* info);
    // Opens the file in the fopen mode "rb", "r+b", "wb" or "w+b" and stamps it. Does not change
    // the state.
    RStatus _Open(const CFSPath& path, const char* mode, unsigned flags,
                  const ILocalFileInfo* info);
    // Returns false if no file is open. Also returns false if buffered bytes could not be written;
    // the file is then closed and the stream has failed.
    bool Close();

    // Returns true once a read has met the end, until the position is set.
    bool AtEOF() override;
    bool Flush() override;
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override;
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done) override;
    bool InternalSetPos(unsigned long pos) override;
    bool InternalGetPos(unsigned long& pos) override;
    bool InternalSetLength(unsigned long length) override;
    bool InternalGetLength(unsigned long& length) override;

protected:
    Ahead InternalFill() override;

    // The descriptor of the open file, or -1. The stream owns it, unless a subclass that passes the
    // file on clears ownsFile_.
    int file_ = -1;
    bool ownsFile_ = true;

private:
    bool GiveBack();
    bool ReturnInBlock(unsigned long pos);
    bool Store();
    unsigned long Pending() const;
    bool CloseFile();
    bool EmptyIfLonger(unsigned long length);
    RStatus OpenStatus(const CFSPath& path, unsigned flags, const ILocalFileInfo* info);

    bool writable_ = false;
    bool mustEmpty_ = false;  // at the first Store
    bool atEnd_ = false;
    // Holds the bytes that were read ahead, or those before to_, which are not yet written.
    unsigned char block_[8192];
};

}  // namespace Tova
