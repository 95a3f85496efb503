#include "tvtool/base/MemoryStream.h"

#include <algorithm>
#include <cstring>

namespace tvtool {

MemoryStream::MemoryStream(unsigned flags, std::string& bytes) : CStream(flags), bytes_(bytes) {
    SetState(State::Open);
}

bool MemoryStream::InternalRead(unsigned long count, void* buffer, unsigned long* done) {
    const std::size_t got = std::min<std::size_t>(count, bytes_.size() - pos_);
    std::memcpy(buffer, bytes_.data() + pos_, got);
    pos_ += got;
    atEnd_ = atEnd_ || got < count;
    if (done != nullptr) {
        *done = got;
    }
    return got > 0;
}

bool MemoryStream::InternalWrite(unsigned long count, const void* buffer, unsigned long* done) {
    bytes_.append(static_cast<const char*>(buffer), count);
    if (done != nullptr) {
        *done = count;
    }
    return true;
}

bool MemoryStream::InternalGetPos(unsigned long& pos) {
    pos = pos_;
    return true;
}

bool MemoryStream::InternalSetPos(unsigned long pos) {
    if (pos > bytes_.size()) {
        return false;
    }
    pos_ = pos;
    atEnd_ = false;
    return true;
}

Tova::CStream::RunEnd MemoryStream::InternalReadRun(const unsigned char (&stop)[2],
                                                    unsigned long count, unsigned char* buffer,
                                                    unsigned long& done) {
    const char* from = bytes_.data() + pos_;
    const std::size_t most = std::min<std::size_t>(count, bytes_.size() - pos_);
    const char* const end = std::find_if(from, from + most, [&stop](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte == stop[0] || byte == stop[1];
    });
    const bool isStopped = end != from + most;
    done = static_cast<std::size_t>(end - from) + (isStopped ? 1 : 0);
    std::memcpy(buffer, from, done);
    pos_ += done;
    if (!isStopped && most < count) {
        atEnd_ = true;
        return RunEnd::AtEnd;
    }
    return RunEnd::Complete;
}

}  // namespace tvtool
