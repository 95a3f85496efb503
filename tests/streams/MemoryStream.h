// A stream over bytes in memory, with an end-of-file indicator like the C library's.
#pragma once

#include "streams/CStream.h"

#include <string>

namespace tvtest {

class MemoryStream : public Tova::CStream {
public:
    explicit MemoryStream(unsigned flags, const std::string& stored = "")
        : CStream(flags), bytes(stored) {
        SetState(State::Open);
    }

    bool AtEOF() override { return atEnd; }
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override {
        const unsigned long got = bytes.copy(static_cast<char*>(buffer), count, pos);
        pos += got;
        atEnd = atEnd || got < count;
        if (done != nullptr) {
            *done = got;
        }
        return got > 0;
    }
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long*) override {
        bytes.replace(pos, count, static_cast<const char*>(buffer), count);
        pos += count;
        return true;
    }
    bool InternalSetPos(unsigned long to) override {
        pos = to;
        atEnd = false;
        return true;
    }
    bool InternalGetPos(unsigned long& at) override {
        at = pos;
        return true;
    }

    std::string bytes;
    unsigned long pos = 0;
    bool atEnd = false;
};

}  // namespace tvtest
