// A stream over bytes in memory, for files that are read and written as a whole. One thread at a
// time may use a stream and its bytes.
#pragma once

#include "streams/CStream.h"

#include <string>

namespace Tova {

// Reads and writes at one position, as a file of the C library does. Writing overwrites what is
// there and extends the bytes at their end.
class CMemoryStream : public CStream {
public:
    // Starts at the first byte. Borrows `bytes`, which must outlive the stream.
    CMemoryStream(unsigned flags, std::string& bytes);

    // Returns true once a read has met the end, until the position is set.
    bool AtEOF() override { return atEnd_; }
    bool InternalRead(unsigned long count, void* buffer, unsigned long* done) override;
    bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done) override;
    // Refuses a position behind the last byte.
    bool InternalSetPos(unsigned long pos) override;
    bool InternalGetPos(unsigned long& pos) override;
    bool InternalGetLength(unsigned long& length) override;

protected:
    // Offers all the rest of the bytes.
    Ahead InternalFill() override;

private:
    void Settle();

    std::string& bytes_;
    // Does not count while bytes are read ahead: the position is that of next_ then.
    std::size_t pos_ = 0;
    bool atEnd_ = false;
};

}  // namespace Tova
