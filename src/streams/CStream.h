// A stream of bytes and characters. A concrete stream supplies the raw operations; this base adds
// scrambling, a check value, line ends, line counting, indentation, Unicode output and errors as
// statuses or as exceptions. One thread at a time may use a stream.
#pragma once

#include "text/CString.h"
#include "text/RStatus.h"

#include <cstdarg>
#include <cstdint>

namespace Tova {

class CStream;

// Sees every character of a stream that it is set on.
class IStreamFilter {
public:
    virtual ~IStreamFilter() = default;
    // May change `character` (0 to 255, or a wide character when it came as one) while reading, and
    // drop it by setting -1 while writing. False refuses it, which is an error of the stream.
    virtual bool Filter(int& character, CStream& stream) = 0;
};

class CStream {
public:
    // Flags. A concrete stream may use the other bits.
    static constexpr unsigned cThrowOnError = 0x1;  // SetError throws its status
    static constexpr unsigned cThrowAtEnd = 0x2;    // SetEOF throws ErrEndOfStream
    static constexpr unsigned cTranslate = 0x4;     // line ends
    static constexpr unsigned cCheckValue = 0x8;    // keep the check value
    static constexpr unsigned cScramble = 0x20;     // what passes the raw operations
    static constexpr unsigned cCountLines = 0x40;
    static constexpr unsigned cBigEndian = 0x80;      // UTF-16; otherwise little-endian
    static constexpr unsigned cNoHeader = 0x400;      // never look for a byte-order mark
    static constexpr unsigned cNoHeaderToo = 0x1000;  // likewise
    enum class State : std::int32_t { NotOpen, Open, Closed, Failed };
    // What a line feed becomes when it is written with cTranslate. Writing it fails for any value
    // without a name.
    enum class LineEnd : std::int32_t { CrLf, Cr, Lf };
    // Only Raw can be read: the others are at their end for every operation on characters.
    enum class Encoding : std::int32_t { Raw, Utf8, Utf16 };
    enum class ByteOrder : std::int32_t { BigEndian, LittleEndian };

    explicit CStream(unsigned flags);
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;
    virtual ~CStream() = default;

    // True at the end; here: when position and length are known and equal.
    virtual bool AtEOF();
    virtual bool Flush();

    // The raw operations: stored bytes, positions and lengths in bytes. Each returns false when it
    // failed; `done`, where it is not null, receives how many bytes were moved, also then. Reading
    // at the end moves none and is false.
    virtual bool InternalRead(unsigned long count, void* buffer, unsigned long* done);
    virtual bool InternalWrite(unsigned long count, const void* buffer, unsigned long* done);
    virtual bool InternalSetPos(unsigned long pos);
    virtual bool InternalGetPos(unsigned long& pos);
    virtual bool InternalSetLength(unsigned long length);
    virtual bool InternalGetLength(unsigned long& length);

    // Bulk operations add the stored bytes to the check value, where those on single bytes and
    // characters add the plain ones; without cScramble that is the same. With it they share
    // GetTempBuffer, and so must not run on two threads at once. `done` may be null. Read is false
    // only when the stream has failed: what was read, `done` says.
    bool Read(unsigned long count, void* buffer, unsigned long* done);
    bool Write(unsigned long count, const void* buffer, unsigned long* done);

    // Reading single bytes and characters: `eof` becomes 0, or -1 (with 0 as the result) at the end
    // and when the raw operation fails.
    unsigned char ReadRawByte(int& eof);
    char ReadRawChar(int& eof);
    // A pushed-back character comes first. With cTranslate every carriage return, with or without a
    // line feed, is read as one line feed. What the filter refuses is 0, with `eof` 0.
    char ReadChar(int& eof);
    // Puts the characters up to `delimiter`, which is consumed and not stored, into `out` and their
    // number into `count` (which may be null). True when the delimiter was found or `maxLength`
    // characters were read (0 or less: no limit), false at the end. With delimiter 0 the end counts
    // as one. A byte of 0x80 or more equals only a negative delimiter.
    bool ReadToDelim(CString& out, int delimiter, int maxLength, int* count);

    // Recognises and skips a byte-order mark, setting the encoding; otherwise puts the position
    // back. False without reading with cNoHeader, cNoHeaderToo, cCountLines, cScramble, cCheckValue
    // or after a failure. A UTF-16 mark with nothing behind it is not recognised.
    bool ReadUnicodeHeader();
    void SetUTF16ByteOrder(ByteOrder order);

    // Writing single bytes and characters. Nothing marks the stream as failed but the raw operation
    // itself.
    bool WriteRawByte(unsigned char b);
    // In the stream's encoding; only ASCII is meaningful in a Unicode one.
    bool WriteRawChar(char c);
    // False for a raw stream. Beyond the Basic Multilingual Plane the result is not valid text.
    bool WriteRawWChar(wchar_t w);
    // With the filter, indentation (also of an empty line), line ends and counting.
    bool WriteChar(char c);
    bool WriteWChar(wchar_t w);
    // `length` characters; all of `s` when it is negative. Stops at the first that fails.
    bool WriteString(const char* s, int length);
    // printf-style, up to 1,999 characters; a longer result writes nothing and is false.
    bool Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    bool VFormat(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    // The indentation of one line.
    bool DoIndent();

    // Marks the stream as failed; throws `status` with cThrowOnError, else returns false.
    bool SetError(RStatus status);
    // Throws ErrEndOfStream with cThrowAtEnd, else returns false.
    bool SetEOF();

    // Moves to a byte position and forgets what belongs to the old one: a pushed-back character and
    // a carriage return whose line feed may follow.
    bool SetPos(unsigned long pos);
    // The position of the raw operations, a pushed-back character notwithstanding.
    bool GetPos(unsigned long& pos) { return InternalGetPos(pos); }
    // False when the length is unknown.
    bool SetPosToEnd();

    unsigned GetFlags() const { return flags_; }
    State GetState() const { return state_; }
    Encoding GetEncoding() const { return encoding_; }
    void SetEncoding(Encoding encoding) { encoding_ = encoding; }
    void SetLineEnd(LineEnd lineEnd) { lineEnd_ = lineEnd; }
    // `width` spaces for each of `level` steps; a tab each for a width of 0 or less.
    void SetIndent(int level, int width) {
        indentLevel_ = level;
        indentWidth_ = width;
    }
    // Line feeds read and written, with cCountLines.
    std::uint32_t GetLineCount() const { return lineCount_; }
    // The sum of the bytes read and written, with cCheckValue.
    std::uint32_t GetCheckValue() const { return checkValue_; }
    // The next character that ReadChar gives, once; none for a value of 0 or less.
    void SetPushedBack(std::int32_t character) { pushedBack_ = character; }
    // Not owned; null removes the filter.
    void SetReadFilter(IStreamFilter* filter) { readFilter_ = filter; }
    void SetWriteFilter(IStreamFilter* filter) { writeFilter_ = filter; }

protected:
    // How InternalReadRun ended.
    enum class RunEnd {
        NotOffered,  // nothing was read: the caller reads byte by byte
        Complete,    // a stop byte was read, or `count` bytes were
        AtEnd,       // a further InternalRead would have found the end
        Failed,      // a further InternalRead would have failed with `Failure`
    };
    // Reads stored bytes, one after another just as InternalRead(1) would, until one equals a
    // `stop` byte (which is then the last in `buffer`) or there are `count` of them, and puts their
    // number into `done`. Leaves position and end-of-file indicator where InternalRead(1) would,
    // but reports nothing: no SetError, no exception. A stream that can do this faster than byte by
    // byte overrides it.
    virtual RunEnd InternalReadRun(const unsigned char (&stop)[2], unsigned long count,
                                   unsigned char* buffer, unsigned long& done);

    void SetFlags(unsigned flags) { flags_ = flags; }
    void SetState(State state) { state_ = state; }

private:
    bool Has(unsigned flag) const { return (flags_ & flag) != 0; }
    bool CompletesPair(char c);
    char Fold(char c, bool fresh);
    // ReadToDelim, in steps.
    enum class Step { NotOffered, More, Found, Ended };
    struct DelimRead;
    Step ReadOne(DelimRead& read);
    Step ReadRun(DelimRead& read);
    Step TakeRun(DelimRead& read, char* run, unsigned long count);
    template <class C>
    bool WriteTranslated(C c, int character, bool (CStream::*writeRaw)(C));

    std::uint32_t flags_;
    State state_ = State::NotOpen;
    LineEnd lineEnd_ = LineEnd::Cr;
    Encoding encoding_ = Encoding::Raw;
    std::int32_t pushedBack_ = -1;
    std::uint32_t lineCount_ = 0;
    std::uint32_t checkValue_ = 0;
    std::int32_t indentLevel_ = 0;
    std::int32_t indentWidth_ = 0;
    bool atLineStart_ = true;
    bool lastWasReturn_ = false;
    IStreamFilter* readFilter_ = nullptr;
    IStreamFilter* writeFilter_ = nullptr;
};

}  // namespace Tova
