// A stream over bytes in memory, for files that are read and written as a whole.
#pragma once

#include "streams/CStream.h"

#include <string>

namespace tvtool {

// Reads from the start of `bytes` (borrowed) or appends to them. Like a file of the C library, it
// is at its end once a read has met it.
class MemoryStream : public Tova::CStream {
public:
    MemoryStream(unsigned flags, std::string& bytes);

    bool AtEOF() override { return atEnd_; }
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override;
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done) override;
    bool InternalGetPos(unsigned long& pos) override;
    bool InternalSetPos(unsigned long pos) override;

protected:
    RunEnd InternalReadRun(const unsigned char (&stop)[2], unsigned long count,
                           unsigned char* buffer, unsigned long& done) override;

private:
    std::string& bytes_;
    std::size_t pos_ = 0;
    bool atEnd_ = false;
};

}  // namespace tvtool
