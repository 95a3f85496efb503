// A memory stream that a test can make difficult.
#pragma once

#include "streams/CMemoryStream.h"

#include <algorithm>
#include <string>

namespace tvtest {

struct StoredBytes {
    std::string bytes;
};

// Owns its bytes. As it is made, it can only be read byte by byte.
class MemoryStream : public StoredBytes, public Tova::CMemoryStream {
public:
    explicit MemoryStream(unsigned flags, const std::string& stored = "")
        : StoredBytes{stored}, CMemoryStream(flags, StoredBytes::bytes) {}

    bool AtEOF() override { return CMemoryStream::AtEOF() && !SetEOF(); }
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override {
        return Pos() == failAt ? SetError(Tova::ErrAccessDenied)
                               : CMemoryStream::InternalRead(count, buffer, done);
    }
    bool InternalSetPos(unsigned long to) override {
        return seekable && CMemoryStream::InternalSetPos(to);
    }
    unsigned long Pos() {
        unsigned long pos = 0;
        InternalGetPos(pos);
        return pos;
    }

    unsigned long block = 0;  // how many bytes are read ahead; 0: none
    unsigned long failAt = std::string::npos;
    bool seekable = true;

protected:
    Ahead InternalFill() override {
        if (block == 0) {
            return Ahead::NotOffered;
        }
        const Ahead ahead = CMemoryStream::InternalFill();
        end_ = next_ + std::min(block, static_cast<unsigned long>(end_ - next_));
        return ahead;
    }
};

}  // namespace tvtest
