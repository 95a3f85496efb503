#include "streams/CFileStream.h"

#include "fs/CLocalFileSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace Tova {

namespace {

// Does fopen for the modes of a stream, with close-on-exec from the start, because another thread
// may be forking. Empties the file last, so a failure leaves its contents. Returns null and sets
// errno on failure.
std::FILE* openFile(const char* path, const char* mode) {
    int how = std::strchr(mode, '+') != nullptr ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY;
    if (mode[0] == 'w') {
        how |= O_CREAT;
    }
    const int descriptor = open(path, how | O_CLOEXEC, 0666);
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* file = fdopen(descriptor, mode);
    // A device and a FIFO have nothing to empty, and the system says EINVAL.
    if (file != nullptr && (mode[0] != 'w' || ftruncate(descriptor, 0) == 0 || errno == EINVAL)) {
        return file;
    }
    const int error = errno;
    file != nullptr ? std::fclose(file) : close(descriptor);
    errno = error;
    return nullptr;
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

// Chooses the family of fopen modes, "r" or "w", for a disposition.
RStatus chooseFamily(const CFSPath& path, unsigned disposition, char& family) {
    const bool exists = disposition != CFileStream::cCreateAlways && LFS.FileExists(path) >= 0;
    family = exists || disposition == CFileStream::cOpenExisting ? 'r' : 'w';
    switch (disposition) {
    case CFileStream::cOpenExisting:
        return exists ? Ok : ErrNotFound;
    case CFileStream::cCreateNew:
        return exists ? ErrAlreadyExists : Ok;
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
        Discard();
    }
}

// Closes the file and drops errors.
void CFileStream::Discard() {
    if (std::FILE* file = std::exchange(file_, nullptr); file != nullptr) {
        std::fclose(file);
    }
}

RStatus CFileStream::Open(const CFSPath& path, unsigned flags, const ILocalFileInfo* info) {
    SetFlags(flags);
    const RStatus status = OpenStatus(path, flags, info);
    if (status < 0) {
        Discard();
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
    return _Open(path, mode, flags, info);
}

RStatus CFileStream::_Open(const CFSPath& path, const char* mode, unsigned,
                           const ILocalFileInfo* info) {
    Discard();
    direction_ = Direction::Neither;
    CString text;
    if (const RStatus status = path.ToUnixPath(text); status < 0) {
        return status;
    }
    file_ = openFile(text.CStr(), mode);
    if (file_ == nullptr) {
        return openError(errno);
    }
    const bool writable = mode[0] != 'r' || mode[1] == '+';
    if (info == nullptr || !writable) {
        return Ok;
    }
    const RStatus status = stamp(path, *info);
    if (status < 0) {
        Discard();
    }
    return status;
}

bool CFileStream::Close() {
    if (file_ == nullptr) {
        return false;
    }
    if (std::fclose(std::exchange(file_, nullptr)) != 0) {
        return SetError(Failure);
    }
    SetState(State::Closed);
    return true;
}

bool CFileStream::AtEOF() {
    if (file_ == nullptr) {
        return true;
    }
    if (std::feof(file_) == 0) {
        return false;
    }
    SetEOF();
    return true;
}

bool CFileStream::Flush() {
    if (file_ == nullptr) {
        return false;
    }
    if (std::fflush(file_) != 0) {
        return SetError(Failure);
    }
    if (direction_ == Direction::Writing) {
        direction_ = Direction::Neither;
    }
    return true;
}

// Makes the file ready for reading or writing. Returns false if there is no file, or if bytes that
// were written before could not be stored.
bool CFileStream::Turn(Direction direction) {
    if (direction_ == Direction::Writing && direction == Direction::Reading && !Flush()) {
        return false;
    }
    if (direction_ == Direction::Reading && direction == Direction::Writing && file_ != nullptr) {
        // A file without a position, such as a FIFO, cannot be positioned and does not need it.
        fseeko(file_, 0, SEEK_CUR);
    }
    direction_ = direction;
    return file_ != nullptr;
}

bool CFileStream::InternalRead(unsigned long count, void* buffer, unsigned long* done) {
    if (done != nullptr) {
        *done = 0;
    }
    if (!Turn(Direction::Reading)) {
        return false;
    }
    unsigned long got = 0;
    if (count == 1) {
        // The everyday case avoids the cost of a general read and of the file's lock.
        if (const int b = getc_unlocked(file_); b != EOF) {
            *static_cast<unsigned char*>(buffer) = static_cast<unsigned char>(b);
            got = 1;
        }
    } else {
        got = std::fread(buffer, 1, count, file_);
    }
    if (done != nullptr) {
        *done = got;
    }
    if (got == count) {
        return true;
    }
    return std::ferror(file_) != 0 ? SetError(Failure) : got > 0;
}

CStream::RunEnd CFileStream::InternalReadRun(const unsigned char (&stop)[2], unsigned long count,
                                             unsigned char* buffer, unsigned long& done) {
    done = 0;
    if (file_ == nullptr || direction_ == Direction::Writing) {
        return RunEnd::NotOffered;
    }
    direction_ = Direction::Reading;
    while (done < count) {
        const int b = getc_unlocked(file_);
        if (b == EOF) {
            return std::ferror(file_) != 0 ? RunEnd::Failed : RunEnd::AtEnd;
        }
        buffer[done++] = static_cast<unsigned char>(b);
        if (b == stop[0] || b == stop[1]) {
            break;
        }
    }
    return RunEnd::Complete;
}

bool CFileStream::InternalWrite(unsigned long count, const void* buffer, unsigned long* done) {
    if (done != nullptr) {
        *done = 0;
    }
    if (!Turn(Direction::Writing)) {
        return false;
    }
    unsigned long written = 0;
    if (count == 1) {
        written = putc_unlocked(*static_cast<const unsigned char*>(buffer), file_) != EOF ? 1 : 0;
    } else {
        written = std::fwrite(buffer, 1, count, file_);
    }
    if (done != nullptr) {
        *done = written;
    }
    return written == count || SetError(Failure);
}

bool CFileStream::InternalSetPos(unsigned long pos) {
    if (file_ == nullptr) {
        return false;
    }
    // A position beyond the range of off_t becomes negative, and the C library refuses it.
    if (fseeko(file_, static_cast<off_t>(pos), SEEK_SET) != 0) {
        return SetError(Failure);
    }
    direction_ = Direction::Neither;
    return true;
}

bool CFileStream::InternalGetPos(unsigned long& pos) {
    pos = 0;
    if (file_ == nullptr) {
        return false;
    }
    const off_t at = ftello(file_);
    if (at < 0) {
        return SetError(Failure);
    }
    pos = static_cast<unsigned long>(at);
    return true;
}

bool CFileStream::InternalSetLength(unsigned long length) {
    // The flush also makes the C library forget bytes that it read ahead and that now go away.
    return file_ != nullptr && std::fflush(file_) == 0 &&
           ftruncate(fileno(file_), static_cast<off_t>(length)) == 0;
}

bool CFileStream::InternalGetLength(unsigned long& length) {
    struct stat status = {};
    if (file_ == nullptr || (direction_ == Direction::Writing && std::fflush(file_) != 0) ||
        fstat(fileno(file_), &status) != 0) {
        return false;
    }
    length = static_cast<unsigned long>(status.st_size);
    return true;
}

}  // namespace Tova
