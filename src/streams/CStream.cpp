#include "streams/CStream.h"

#include "streams/Scrambling.h"
#include "streams/ScratchBuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Tova {

namespace {

// Returns how many bytes there are up to the first that equals `a` or `b`, which is included, and
// at most `count`.
int lengthOfRun(const unsigned char* bytes, int count, unsigned char a, unsigned char b) {
    const auto upTo = [bytes](unsigned char stop, int most) {
        const void* at = std::memchr(bytes, stop, static_cast<std::size_t>(most));
        return at != nullptr ? static_cast<int>(static_cast<const unsigned char*>(at) - bytes) + 1
                             : most;
    };
    const int length = upTo(a, count);
    return a == b ? length : upTo(b, length);
}

}  // namespace

bool CStream::AtEOF() {
    unsigned long pos = 0;
    unsigned long length = 0;
    return InternalGetPos(pos) && InternalGetLength(length) && pos == length;
}

bool CStream::Read(unsigned long count, void* buffer, unsigned long* done) {
    auto* plain = static_cast<unsigned char*>(buffer);
    unsigned char* stored = Has(cScramble) ? GetTempBuffer(count) : plain;
    unsigned long got = 0;
    const bool read = InternalRead(count, stored, &got);
    if (Has(cCheckValue)) {
        checkValue_ += SumBytes(stored, got);
    }
    if (read && Has(cScramble)) {
        Unscramble(stored, plain, got);
    }
    if (done != nullptr) {
        *done = got;
    }
    return state_ != State::Failed;
}

unsigned char CStream::ReadRawByte(int& eof) {
    unsigned char b = 0;
    eof = 0;
    if (next_ != end_ || InternalFill() == Ahead::Filled) {
        b = *next_++;
    } else if (!InternalRead(1, &b, nullptr)) {
        eof = -1;
        return 0;
    }
    return Decode(b);
}

// Returns a stored byte in its plain form, and sums it.
unsigned char CStream::Decode(unsigned char stored) {
    const unsigned char b = Has(cScramble) ? Unscramble(stored) : stored;
    checkValue_ += Has(cCheckValue) ? b : 0U;
    return b;
}

char CStream::ReadRawChar(int& eof) {
    if (encoding_ != Encoding::Raw) {
        eof = -1;
        return 0;
    }
    return static_cast<char>(ReadRawByte(eof));
}

// Returns true for the line feed of a pair whose carriage return was already read as a line feed.
bool CStream::CompletesPair(char c) {
    if (c != '\n' || !lastWasReturn_) {
        return false;
    }
    lastWasReturn_ = false;
    return true;
}

// Translates and counts the line ends of one character. `fresh` means that it was not pushed back.
char CStream::Fold(char c, bool fresh) {
    if (Has(cTranslate)) {
        if (fresh) {
            lastWasReturn_ = c == '\r';
        }
        if (c == '\r') {
            c = '\n';
        }
    }
    if (c == '\n' && Has(cCountLines)) {
        ++lineCount_;
    }
    return c;
}

char CStream::ReadChar(int& eof) {
    eof = 0;
    const bool fresh = pushedBack_ <= 0;
    char c = 0;
    if (fresh) {
        c = ReadRawChar(eof);
        if (CompletesPair(c)) {
            c = ReadRawChar(eof);
        }
    } else {
        c = static_cast<char>(std::exchange(pushedBack_, -1));
    }
    if (eof == -1) {
        return 0;
    }
    c = Fold(c, fresh);
    if (readFilter_ != nullptr) {
        int character = static_cast<unsigned char>(c);
        if (!readFilter_->Filter(character, *this)) {
            SetError(Failure);
            return 0;
        }
        c = static_cast<char>(character);
    }
    return c;
}

struct CStream::DelimRead {
    bool Matches(char c) const { return static_cast<signed char>(c) == delimiter; }
    bool IsFull() const { return maxLength > 0 && count >= maxLength; }

    CString& out;
    const int delimiter;
    const int maxLength;
    int count = 0;
};

bool CStream::ReadToDelim(CString& out, int delimiter, int maxLength, int* count) {
    out.Clear();
    DelimRead read{out, delimiter, maxLength};
    Step step = Step::More;
    while (step == Step::More) {
        step = ReadRun(read);
        if (step == Step::NotOffered) {
            step = ReadOne(read);
        }
    }
    if (count != nullptr) {
        *count = read.count;
    }
    return step == Step::Found;
}

CStream::Step CStream::ReadOne(DelimRead& read) {
    int eof = 0;
    const char c = ReadChar(eof);
    // Deliberate: stands before the test for the end, because with delimiter 0 the end is one too.
    if (read.Matches(c)) {
        return Step::Found;
    }
    if (eof == -1) {
        return Step::Ended;
    }
    read.out.Append(c, 1);
    ++read.count;
    return read.IsFull() ? Step::Found : Step::More;
}

// Does ReadOne for as many characters as the stream has read ahead. Line ends must be looked at
// singly, unless they end the run.
CStream::Step CStream::ReadRun(DelimRead& read) {
    if (encoding_ != Encoding::Raw || pushedBack_ > 0 || readFilter_ != nullptr ||
        (Has(cTranslate | cCountLines) && read.delimiter != '\n')) {
        return Step::NotOffered;
    }
    const Ahead ahead = next_ != end_ ? Ahead::Filled : InternalFill();
    if (ahead == Ahead::NotOffered) {
        return Step::NotOffered;
    }
    if (ahead != Ahead::Filled) {
        if (ahead == Ahead::Failed) {
            SetError(Failure);
        }
        return read.delimiter == 0 ? Step::Found : Step::Ended;
    }
    // The bound keeps the search for a byte that does not occur from reading the rest each time.
    constexpr std::ptrdiff_t cLongestRun = 1024;
    std::ptrdiff_t most = std::min(end_ - next_, cLongestRun);
    if (read.maxLength > 0) {
        most = std::min<std::ptrdiff_t>(most, read.maxLength - read.count);
    }
    const auto delimiter = static_cast<unsigned char>(read.delimiter);
    // A carriage return may become the line feed that is looked for.
    const unsigned char other = read.delimiter == '\n' && Has(cTranslate) ? '\r' : delimiter;
    const bool scrambled = Has(cScramble);
    const unsigned char stops[] = {scrambled ? Scramble(delimiter) : delimiter,
                                   scrambled ? Scramble(other) : other};
    const int count = lengthOfRun(next_, static_cast<int>(most), stops[0], stops[1]);
    const unsigned char last = next_[count - 1];
    return TakeRun(read, count, last == stops[0] || last == stops[1]);
}

// Takes over bytes that were read ahead. `stopped` says that the last one may be the delimiter.
CStream::Step CStream::TakeRun(DelimRead& read, int count, bool stopped) {
    if (const int body = stopped ? count - 1 : count; body > 0) {
        TakeBytes(read.out.Extend(body), body);
        read.count += body;
        lastWasReturn_ = lastWasReturn_ && !Has(cTranslate);
    }
    if (stopped) {
        char last = static_cast<char>(Decode(*next_++));
        if (CompletesPair(last)) {
            return Step::More;
        }
        last = Fold(last, true);
        if (read.Matches(last)) {
            return Step::Found;
        }
        read.out.Append(last, 1);
        ++read.count;
    }
    return read.IsFull() ? Step::Found : Step::More;
}

// Takes bytes that were read ahead, puts them to `to` in their plain form, and sums them.
void CStream::TakeBytes(char* to, int count) {
    auto* plain = reinterpret_cast<unsigned char*>(to);
    const auto size = static_cast<std::size_t>(count);
    std::uint32_t sum = 0;
    if (Has(cScramble)) {
        sum = Unscramble(next_, plain, size);
    } else {
        std::memcpy(plain, next_, size);
        sum = Has(cCheckValue) ? SumBytes(plain, size) : 0;
    }
    checkValue_ += Has(cCheckValue) ? sum : 0;
    next_ += count;
}

bool CStream::ReadUnicodeHeader() {
    unsigned long start = 0;
    if (Has(cNoHeader | cNoHeaderToo | cCountLines | cScramble | cCheckValue) ||
        state_ == State::Failed || !InternalGetPos(start)) {
        return false;
    }
    // Most files begin with a byte that no mark has. Then nothing is read and set back.
    if ((next_ != end_ || InternalFill() == Ahead::Filled) && *next_ < 0xEF) {
        return false;
    }
    int eof = 0;
    const unsigned char first = ReadRawByte(eof);
    if (eof == -1) {
        return false;
    }
    const unsigned char second = ReadRawByte(eof);
    const unsigned char third = eof == -1 ? static_cast<unsigned char>(0) : ReadRawByte(eof);
    if (eof == -1) {
        InternalSetPos(start);
        return false;
    }
    if (first == 0xEF && second == 0xBB && third == 0xBF) {
        encoding_ = Encoding::Utf8;
        return true;
    }
    const bool bigEndian = first == 0xFE && second == 0xFF;
    if (!bigEndian && !(first == 0xFF && second == 0xFE)) {
        InternalSetPos(start);
        return false;
    }
    encoding_ = Encoding::Utf16;
    SetUTF16ByteOrder(bigEndian ? ByteOrder::BigEndian : ByteOrder::LittleEndian);
    InternalSetPos(start + 2);
    return true;
}

void CStream::SetUTF16ByteOrder(ByteOrder order) {
    flags_ = order == ByteOrder::BigEndian ? flags_ | cBigEndian : flags_ & ~cBigEndian;
}

bool CStream::SetError(RStatus status) {
    state_ = State::Failed;
    if (Has(cThrowOnError)) {
        throw status;
    }
    return false;
}

bool CStream::SetEOF() {
    if (Has(cThrowAtEnd)) {
        throw ErrEndOfStream;
    }
    return false;
}

bool CStream::SetPos(unsigned long pos) {
    if (!InternalSetPos(pos)) {
        return false;
    }
    pushedBack_ = -1;
    lastWasReturn_ = false;
    return true;
}

bool CStream::SetPosToEnd() {
    unsigned long length = 0;
    return InternalGetLength(length) && InternalSetPos(length);
}

}  // namespace Tova
