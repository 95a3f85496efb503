#include "streams/CMemoryStream.h"

#include <algorithm>

namespace Tova {

CMemoryStream::CMemoryStream(unsigned flags, std::string& bytes) : CStream(flags), bytes_(bytes) {
    SetState(State::Open);
}

bool CMemoryStream::InternalRead(unsigned long count, void* buffer, unsigned long* done) {
    const std::size_t got = bytes_.copy(static_cast<char*>(buffer), count, pos_);
    pos_ += got;
    atEnd_ = atEnd_ || got < count;
    if (done != nullptr) {
        *done = got;
    }
    return got > 0;
}

bool CMemoryStream::InternalWrite(unsigned long count, const void* buffer, unsigned long* done) {
    bytes_.replace(pos_, count, static_cast<const char*>(buffer), count);
    pos_ += count;
    if (done != nullptr) {
        *done = count;
    }
    return true;
}

bool CMemoryStream::InternalSetPos(unsigned long pos) {
    if (pos > bytes_.size()) {
        return false;
    }
    pos_ = pos;
    atEnd_ = false;
    return true;
}

bool CMemoryStream::InternalGetPos(unsigned long& pos) {
    pos = pos_;
    return true;
}

CStream::RunEnd CMemoryStream::InternalReadRun(const unsigned char (&stop)[2], unsigned long count,
                                               unsigned char* buffer, unsigned long& done) {
    const std::size_t most = std::min<std::size_t>(count, bytes_.size() - pos_);
    const auto* begin = reinterpret_cast<const unsigned char*>(bytes_.data()) + pos_;
    const auto* end = std::find_first_of(begin, begin + most, std::begin(stop), std::end(stop));
    const bool stopped = end != begin + most;
    done = static_cast<std::size_t>(end - begin) + (stopped ? 1 : 0);
    std::copy_n(begin, done, buffer);
    pos_ += done;
    atEnd_ = atEnd_ || (!stopped && most < count);
    return !stopped && most < count ? RunEnd::AtEnd : RunEnd::Complete;
}

}  // namespace Tova
