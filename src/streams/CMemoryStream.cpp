#include "streams/CMemoryStream.h"

namespace Tova {

CMemoryStream::CMemoryStream(unsigned flags, std::string& bytes) : CStream(flags), bytes_(bytes) {
    SetState(State::Open);
}

bool CMemoryStream::InternalRead(unsigned long count, void* buffer, unsigned long* done) {
    Settle();
    const std::size_t got = bytes_.copy(static_cast<char*>(buffer), count, pos_);
    pos_ += got;
    atEnd_ = atEnd_ || got < count;
    if (done != nullptr) {
        *done = got;
    }
    return got > 0;
}

bool CMemoryStream::InternalWrite(unsigned long count, const void* buffer, unsigned long* done) {
    Settle();
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
    Settle();
    pos_ = pos;
    atEnd_ = false;
    return true;
}

bool CMemoryStream::InternalGetPos(unsigned long& pos) {
    Settle();
    pos = pos_;
    return true;
}

bool CMemoryStream::InternalGetLength(unsigned long& length) {
    length = bytes_.size();
    return true;
}

CStream::Ahead CMemoryStream::InternalFill() {
    Settle();
    if (pos_ == bytes_.size()) {
        atEnd_ = true;
        return Ahead::AtEnd;
    }
    next_ = reinterpret_cast<const unsigned char*>(bytes_.data()) + pos_;
    end_ = next_ + (bytes_.size() - pos_);
    return Ahead::Filled;
}

// Gives back the bytes that were read ahead.
void CMemoryStream::Settle() {
    if (next_ != nullptr) {
        pos_ = static_cast<std::size_t>(reinterpret_cast<const char*>(next_) - bytes_.data());
        next_ = nullptr;
        end_ = nullptr;
    }
}

}  // namespace Tova
