#include "streams/CFileStream.h"

#include "fs/CLocalFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace Tova {

namespace {

// Opens a file in the fopen modes of a stream, with close-on-exec from the start, because another
// thread may be forking. Returns -1 and sets errno on failure.
int openFile(const char* path, const char* mode, bool keeps) {
    int how = std::strchr(mode, '+') != nullptr ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
    if (mode[0] == 'w') {
        how |= keeps ? O_CREAT : O_CREAT | O_TRUNC;
    }
    return open(path, how | O_CLOEXEC, 0666);
}

RStatus openError(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
        return ErrBadName;
    case EACCES:
        return ErrAccessDenied;
    default:
        return Failure;
    }
}

// Chooses the family of fopen modes, "r" or "w", for a disposition. For a file that must exist,
// opening tells whether it does, which is faster than asking first.
RStatus chooseFamily(const CFSPath& path, unsigned disposition, char& family) {
    const bool asks =
        disposition != CFileStream::cCreateAlways && disposition != CFileStream::cOpenExisting;
    const bool exists = asks && LFS.FileExists(path) >= 0;
    family = exists || disposition == CFileStream::cOpenExisting ? 'r' : 'w';
    switch (disposition) {
    case CFileStream::cCreateNew:
        return exists ? ErrAlreadyExists : Ok;
    case CFileStream::cOpenExisting:
    case CFileStream::cCreateAlways:
    case CFileStream::cOpenOrCreate:
        return Ok;
    case CFileStream::cOpenMissing:
        return exists ? ErrNotFound : Ok;
    default:
        return ErrBadParameter;
    }
}

RStatus createFolderOf(const CFSPath& path) {
    CFSPath folder;
    RStatus status = path.GetComponent(FSContainingFolder, folder);
    if (status >= 0) {
        status = LFS.CreateDirectory(folder);
    }
    return status == ErrAlreadyExists ? Ok : status;
}

RStatus stamp(const CFSPath& path, const ILocalFileInfo& info) {
    unsigned short finderFlags = 0;
    const RStatus status = LFS.GetFileFinderInfo(path, nullptr, nullptr, &finderFlags);
    return status < 0 ? status
                      : LFS.SetFileFinderInfo(path, info.GetCreator(), info.GetType(), finderFlags);
}

}  // namespace

CFileStream::CFileStream() : CStream(0) {}

CFileStream::~CFileStream() {
    if (ownsFile_) {
        CloseFile();
    }
}

// Returns false if buffered bytes could not be written or the system reports an error.
bool CFileStream::CloseFile() {
    const bool stored = Store();
    mustEmpty_ = false;
    to_ = limit_ = nullptr;
    next_ = end_ = block_;
    atEnd_ = false;
    const int file = std::exchange(file_, -1);
    return (file < 0 || close(file) == 0) && stored;
}

RStatus CFileStream::Open(const CFSPath& path, unsigned flags, const ILocalFileInfo* info) {
    SetFlags(flags);
    const RStatus status = OpenStatus(path, flags, info);
    if (status < 0) {
        CloseFile();
        SetState(State::NotOpen);
        return status;
    }
    SetState(State::Open);
    ReadUnicodeHeader();
    if ((flags & cAppend) != 0) {
        SetPosToEnd();
    }
    return status;
}

RStatus CFileStream::OpenStatus(const CFSPath& path, unsigned flags, const ILocalFileInfo* info) {
    const unsigned disposition = flags & cDispositionBits;
    char family = 'r';
    if (const RStatus status = chooseFamily(path, disposition, family); status < 0) {
        return status;
    }
    const bool oneWay = (flags & (family == 'r' ? cReadOnly : cWriteOnly)) != 0;
    const char mode[4] = {family, oneWay ? 'b' : '+', oneWay ? '\0' : 'b', '\0'};
    if ((flags & cCreateFolder) != 0 && disposition != cOpenExisting &&
        disposition != cOpenMissing) {
        if (const RStatus status = createFolderOf(path); status < 0) {
            return status;
        }
    }
    const RStatus status = _Open(path, mode, flags, info);
    return status < 0 && disposition == cOpenExisting && LFS.FileExists(path) < 0 ? ErrNotFound
                                                                                  : status;
}

RStatus CFileStream::_Open(const CFSPath& path, const char* mode, unsigned flags,
                           const ILocalFileInfo* info) {
    CloseFile();
    CString text;
    if (const RStatus status = path.ToUnixPath(text); status < 0) {
        return status;
    }
    const bool keeps = (flags & cKeepUntilWritten) != 0;
    file_ = openFile(text.CStr(), mode, keeps);
    if (file_ < 0) {
        return openError(errno);
    }
    mustEmpty_ = mode[0] == 'w' && keeps;
    writable_ = mode[0] != 'r' || mode[1] == '+';
    if (info == nullptr || !writable_) {
        return Ok;
    }
    const RStatus status = stamp(path, *info);
    if (status < 0) {
        CloseFile();
    }
    return status;
}

bool CFileStream::Close() {
    if (file_ < 0) {
        return false;
    }
    if (!CloseFile()) {
        return SetError(Failure);
    }
    SetState(State::Closed);
    return true;
}

bool CFileStream::AtEOF() {
    if (file_ < 0) {
        return true;
    }
    if (!atEnd_) {
        return false;
    }
    SetEOF();
    return true;
}

unsigned long CFileStream::Pending() const {
    return to_ != nullptr ? static_cast<unsigned long>(to_ - block_) : 0;
}

// Does what a file that is not emptied on opening has missed. Only a regular file has a length.
bool CFileStream::EmptyIfLonger(unsigned long length) {
    struct stat status = {};
    if (fstat(file_, &status) != 0 ||
        (S_ISREG(status.st_mode) && status.st_size > static_cast<off_t>(length) &&
         ftruncate(file_, 0) != 0)) {
        return false;
    }
    mustEmpty_ = false;
    return true;
}

// Writes the pending bytes. Keeps what could not be written.
bool CFileStream::Store() {
    const unsigned long pending = Pending();
    if (mustEmpty_ && !EmptyIfLonger(pending)) {
        return false;
    }
    unsigned long stored = 0;
    while (stored < pending) {
        const ssize_t n = write(file_, block_ + stored, pending - stored);
        if (n <= 0) {
            std::memmove(block_, block_ + stored, pending - stored);
            break;
        }
        stored += static_cast<unsigned long>(n);
    }
    to_ -= stored;
    return stored == pending;
}

bool CFileStream::Flush() {
    return file_ >= 0 && (Store() || SetError(Failure));
}

// Gives back what was read ahead. Returns false for a file without a position, such as a FIFO. It
// cannot be positioned, and does not need it.
bool CFileStream::GiveBack() {
    const bool moved = lseek(file_, next_ - end_, SEEK_CUR) >= 0;
    next_ = end_ = block_;
    return moved;
}

CStream::Ahead CFileStream::InternalFill() {
    if (file_ < 0 || Pending() > 0) {
        return Ahead::NotOffered;
    }
    if (mustEmpty_ && !Store()) {
        return Ahead::Failed;
    }
    to_ = limit_ = nullptr;
    // As in the C library, an end that was met once holds.
    const ssize_t got = atEnd_ ? 0 : read(file_, block_, sizeof block_);
    if (got < 0) {
        return Ahead::Failed;
    }
    atEnd_ = got == 0;
    next_ = block_;
    end_ = block_ + got;
    return atEnd_ ? Ahead::AtEnd : Ahead::Filled;
}

bool CFileStream::InternalRead(unsigned long count, void* buffer, unsigned long* done) {
    unsigned long got = 0;
    if (done != nullptr) {
        *done = 0;
    }
    if (file_ < 0 || (Pending() > 0 && !Flush())) {
        return false;
    }
    Ahead ahead = Ahead::Filled;
    while (got < count && (next_ != end_ || (ahead = InternalFill()) == Ahead::Filled)) {
        const unsigned long n = std::min(count - got, static_cast<unsigned long>(end_ - next_));
        std::memcpy(static_cast<unsigned char*>(buffer) + got, next_, n);
        next_ += n;
        got += n;
    }
    if (done != nullptr) {
        *done = got;
    }
    return ahead == Ahead::Failed ? SetError(Failure) : got > 0 || count == 0;
}

bool CFileStream::InternalWrite(unsigned long count, const void* buffer, unsigned long* done) {
    if (done != nullptr) {
        *done = 0;
    }
    if (file_ < 0) {
        return false;
    }
    if (next_ != end_ || atEnd_) {
        atEnd_ = !GiveBack() && atEnd_;
    }
    if (to_ == nullptr && writable_) {
        next_ = end_ = block_;
        to_ = block_;
        limit_ = block_ + sizeof block_;
    }
    unsigned long written = 0;
    while (written < count && writable_ && (to_ != limit_ || Store())) {
        const unsigned long n = std::min(count - written, static_cast<unsigned long>(limit_ - to_));
        std::memcpy(to_, static_cast<const unsigned char*>(buffer) + written, n);
        to_ += n;
        written += n;
    }
    if (done != nullptr) {
        *done = written;
    }
    return written == count || SetError(Failure);
}

bool CFileStream::InternalSetPos(unsigned long pos) {
    if (file_ < 0) {
        return false;
    }
    if (!ReturnInBlock(pos)) {
        // A position beyond the range of off_t becomes negative, and the system refuses it.
        if (!Store() || lseek(file_, static_cast<off_t>(pos), SEEK_SET) < 0) {
            return SetError(Failure);
        }
        next_ = end_ = block_;
    }
    atEnd_ = false;
    return true;
}

// Goes to a position among the bytes that were read ahead, so that they need not be read again: who
// has looked for a byte-order mark goes back to the beginning. Returns false if it is not there.
bool CFileStream::ReturnInBlock(unsigned long pos) {
    const off_t end = end_ != block_ ? lseek(file_, 0, SEEK_CUR) : -1;
    const unsigned long back = static_cast<unsigned long>(end) - pos;
    if (end < 0 || back > static_cast<unsigned long>(end_ - block_)) {
        return false;
    }
    next_ = end_ - back;
    return true;
}

bool CFileStream::InternalGetPos(unsigned long& pos) {
    pos = 0;
    if (file_ < 0) {
        return false;
    }
    const off_t at = lseek(file_, 0, SEEK_CUR);
    if (at < 0) {
        return SetError(Failure);
    }
    pos = static_cast<unsigned long>(at - (end_ - next_)) + Pending();
    return true;
}

bool CFileStream::InternalSetLength(unsigned long length) {
    if (file_ < 0) {
        return false;
    }
    // Bytes that were read ahead may go away with the file's end.
    GiveBack();
    return Store() && ftruncate(file_, static_cast<off_t>(length)) == 0;
}

bool CFileStream::InternalGetLength(unsigned long& length) {
    struct stat status = {};
    if (file_ < 0 || !Store() || fstat(file_, &status) != 0) {
        return false;
    }
    length = static_cast<unsigned long>(status.st_size);
    return true;
}

}  // namespace Tova
