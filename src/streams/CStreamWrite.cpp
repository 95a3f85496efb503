// The writing half of CStream.
#include "streams/CStream.h"

#include "streams/Scrambling.h"
#include "streams/ScratchBuffer.h"
#include "text/Ch.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <cstring>

namespace Tova {

bool CStream::Write(unsigned long count, const void* buffer, unsigned long* done) {
    const auto* stored = static_cast<const unsigned char*>(buffer);
    if (Has(cScramble)) {
        unsigned char* scratch = GetTempBuffer(count);
        Scramble(stored, scratch, count);
        stored = scratch;
    }
    if (Has(cCheckValue)) {
        checkValue_ += SumBytes(stored, count);
    }
    return InternalWrite(count, stored, done);
}

bool CStream::WriteRawByte(unsigned char b) {
    if (Has(cCheckValue)) {
        checkValue_ += b;
    }
    if (Has(cScramble)) {
        b = Scramble(b);
    }
    if (to_ != limit_) {
        *to_++ = b;
        return true;
    }
    return InternalWrite(1, &b, nullptr);
}

bool CStream::WriteRawChar(char c) {
    return encoding_ == Encoding::Raw ? WriteRawByte(static_cast<unsigned char>(c))
                                      : WriteRawWChar(static_cast<signed char>(c));
}

bool CStream::WriteRawWChar(wchar_t w) {
    const auto value = std::bit_cast<std::uint32_t>(w);
    const auto low = [value](int shift, unsigned mask = 0xFF) {
        return static_cast<unsigned char>(value >> shift & mask);
    };
    const auto trail = [low](int shift) {
        return static_cast<unsigned char>(0x80 | low(shift, 0x3F));
    };
    switch (encoding_) {
    case Encoding::Raw:
        return false;
    case Encoding::Utf16:
        return Has(cBigEndian) ? WriteRawByte(low(8)) && WriteRawByte(low(0))
                               : WriteRawByte(low(0)) && WriteRawByte(low(8));
    case Encoding::Utf8:
        break;
    }
    // A plain character of 0x80 or more arrives as a negative value and becomes one byte again.
    if (value <= 0x7F || value > 0x7FFFFFFF) {
        return WriteRawByte(low(0));
    }
    if (value <= 0x7FF) {
        return WriteRawByte(static_cast<unsigned char>(0xC0 | low(6))) && WriteRawByte(trail(0));
    }
    return WriteRawByte(static_cast<unsigned char>(0xE0 | low(12))) && WriteRawByte(trail(6)) &&
           WriteRawByte(trail(0));
}

template <class C>
bool CStream::WriteTranslated(C c, int character, bool (CStream::*writeRaw)(C)) {
    if (writeFilter_ != nullptr) {
        if (!writeFilter_->Filter(character, *this)) {
            return SetError(Failure);
        }
        if (character == -1) {
            return true;
        }
    }
    if (atLineStart_ && indentLevel_ >= 1 && !DoIndent()) {
        return false;
    }
    atLineStart_ = c == '\n';
    if (!atLineStart_) {
        return (this->*writeRaw)(c);
    }
    if (Has(cCountLines)) {
        ++lineCount_;
    }
    switch (Has(cTranslate) ? lineEnd_ : LineEnd::Lf) {
    case LineEnd::CrLf:
        return (this->*writeRaw)('\r') && (this->*writeRaw)('\n');
    case LineEnd::Cr:
        return (this->*writeRaw)('\r');
    case LineEnd::Lf:
        return (this->*writeRaw)('\n');
    }
    return false;
}

bool CStream::WriteChar(char c) {
    return encoding_ == Encoding::Raw
               ? WriteTranslated(c, static_cast<unsigned char>(c), &CStream::WriteRawChar)
               : WriteWChar(Ch::ToWChar(c));
}

bool CStream::WriteWChar(wchar_t w) {
    return WriteTranslated(w, static_cast<int>(w), &CStream::WriteRawWChar);
}

bool CStream::WriteString(const char* s, int length) {
    const std::size_t count = length < 0 ? std::strlen(s) : static_cast<std::size_t>(length);
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): only the characters are searched
    const auto hasLineEnd = [&] { return std::memchr(s, '\n', count) != nullptr; };
    if (encoding_ == Encoding::Raw && writeFilter_ == nullptr && indentLevel_ < 1 &&
        !Has(cThrowOnError) && !(Has(cTranslate) && hasLineEnd())) {
        return WriteRun(s, count);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!WriteChar(s[i])) {
            return false;
        }
    }
    return true;
}

// Does WriteChar for characters that are stored as they are, a block at a time.
bool CStream::WriteRun(const char* s, std::size_t count) {
    const auto* plain = reinterpret_cast<const unsigned char*>(s);
    bool written = true;
    while (written && count > 0) {
        // What does not fit goes through a block of this function's own.
        unsigned char aside[256];
        const bool fits = to_ != limit_;
        unsigned char* stored = fits ? to_ : aside;
        std::size_t n =
            std::min(count, fits ? static_cast<std::size_t>(limit_ - to_) : sizeof aside);
        std::uint32_t sum = 0;
        if (Has(cScramble)) {
            sum = Scramble(plain, stored, n);
        } else {
            std::memcpy(stored, plain, n);
            sum = Has(cCheckValue) ? SumBytes(plain, n) : 0;
        }
        unsigned long done = 0;
        if (fits) {
            to_ += n;
        } else {
            written = InternalWrite(n, stored, &done);
        }
        if (!written) {
            // A byte that could not be written counts as well, as it does singly.
            n = std::min<std::size_t>(done + 1, n);
            sum = SumBytes(plain, n);
        }
        checkValue_ += Has(cCheckValue) ? sum : 0;
        if (Has(cCountLines)) {
            lineCount_ += static_cast<std::uint32_t>(std::count(plain, plain + n, '\n'));
        }
        plain += n;
        count -= n;
        atLineStart_ = plain[-1] == '\n';
    }
    return written;
}

bool CStream::Format(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const bool written = VFormat(format, arguments);
    va_end(arguments);
    return written;
}

bool CStream::VFormat(const char* format, va_list arguments) {
    char text[2000];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    return length >= 0 && length < static_cast<int>(sizeof text) && WriteString(text, -1);
}

bool CStream::DoIndent() {
    const char filler = indentWidth_ > 0 ? ' ' : '\t';
    const int perStep = indentWidth_ > 0 ? indentWidth_ : 1;
    for (int step = 0; step < indentLevel_; ++step) {
        for (int i = 0; i < perStep; ++i) {
            if (!WriteRawChar(filler)) {
                return false;
            }
        }
    }
    return true;
}

}  // namespace Tova
