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
    // May change `character` (0 to 255, or a wide character if it came as one) while reading. May
    // drop it while writing, by setting it to -1. Returns false to refuse it, which fails the
    // stream.
    virtual bool Filter(int& character, CStream& stream) = 0;
};

class CStream {
public:
    // The bits of the flag word. A concrete stream may use the others.
    static constexpr unsigned cThrowOnError = 0x1;    // SetError throws its status
    static constexpr unsigned cThrowAtEnd = 0x2;      // SetEOF throws ErrEndOfStream
    static constexpr unsigned cTranslate = 0x4;       // translate line ends
    static constexpr unsigned cCheckValue = 0x8;      // keep the check value
    static constexpr unsigned cScramble = 0x20;       // scramble the stored bytes
    static constexpr unsigned cCountLines = 0x40;     // count line feeds
    static constexpr unsigned cBigEndian = 0x80;      // UTF-16 is big-endian, else little-endian
    static constexpr unsigned cNoHeader = 0x400;      // never look for a byte-order mark
    static constexpr unsigned cNoHeaderToo = 0x1000;  // never look for one either
    enum class State : std::int32_t { NotOpen, Open, Closed, Failed };
    // Says what a line feed becomes when it is written with cTranslate. Writing it fails for a
    // value without a name.
    enum class LineEnd : std::int32_t { CrLf, Cr, Lf };
    // Deliberate: only Raw can be read. With the others, every operation that reads characters is
    // at the end.
    enum class Encoding : std::int32_t { Raw, Utf8, Utf16 };
    enum class ByteOrder : std::int32_t { BigEndian, LittleEndian };

    explicit CStream(unsigned flags) : flags_(flags) {}
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;
    virtual ~CStream() = default;

    // Returns true at the end. Here that means: position and length are known and equal.
    virtual bool AtEOF();
    virtual bool Flush() { return true; }

    // The raw operations work on stored bytes, with positions and lengths in bytes. Each returns
    // false if it fails. `done` may be null; it receives how many bytes were moved, also after a
    // failure. Reading at the end moves none and returns false.
    // This base class has none of them.
    virtual bool InternalRead(unsigned long /*count*/, void* /*buffer*/, unsigned long* /*done*/) {
        return false;
    }
    virtual bool InternalWrite(unsigned long /*count*/, const void* /*buffer*/,
                               unsigned long* /*done*/) {
        return false;
    }
    virtual bool InternalSetPos(unsigned long /*pos*/) { return false; }
    virtual bool InternalGetPos(unsigned long& /*pos*/) { return false; }
    virtual bool InternalSetLength(unsigned long /*length*/) { return false; }
    virtual bool InternalGetLength(unsigned long& /*length*/) { return false; }

    // The bulk operations. `done` may be null. Read returns false only if the stream has failed;
    // `done` tells how much was read. With cScramble they share GetTempBuffer, so two threads must
    // not use them at once. Deliberate: they add the stored bytes to the check value, while the
    // operations on single bytes and characters add the plain bytes. Without cScramble there is no
    // difference.
    bool Read(unsigned long count, void* buffer, unsigned long* done);
    bool Write(unsigned long count, const void* buffer, unsigned long* done);

    // These read single bytes and characters. `eof` becomes 0. At the end, and if the raw operation
    // fails, it becomes -1 and the result is 0.
    unsigned char ReadRawByte(int& eof);
    char ReadRawChar(int& eof);
    // Returns a pushed-back character first. With cTranslate it reads every carriage return, with
    // or without a line feed, as one line feed. Returns 0, with `eof` 0, if the filter refuses.
    char ReadChar(int& eof);
    // Stores the characters up to `delimiter` in `out` and their number in `count`, which may be
    // null. Consumes the delimiter and does not store it. Returns true if it finds the delimiter or
    // has read `maxLength` characters (0 or less means no limit), and false at the end. A byte of
    // 0x80 or more equals only a negative delimiter. Deliberate: with delimiter 0 the end counts as
    // a delimiter; the configuration file relies on it.
    bool ReadToDelim(CString& out, int delimiter, int maxLength, int* count);

    // Recognises and skips a byte-order mark, and sets the encoding. Returns false and restores the
    // position if there is none. Returns false without reading after a failure and with cNoHeader,
    // cNoHeaderToo, cCountLines, cScramble or cCheckValue. It does not recognise a UTF-16 mark that
    // has nothing behind it.
    bool ReadUnicodeHeader();
    void SetUTF16ByteOrder(ByteOrder order);

    // These write single bytes and characters. Only the raw operation itself marks the stream as
    // failed.
    bool WriteRawByte(unsigned char b);
    // Writes c in the stream's encoding. In a Unicode one only ASCII is meaningful.
    bool WriteRawChar(char c);
    // Returns false for a raw stream. A character beyond the Basic Multilingual Plane gives text
    // that is not valid.
    bool WriteRawWChar(wchar_t w);
    // These apply the filter, the indentation (also of an empty line), line ends and counting.
    bool WriteChar(char c);
    bool WriteWChar(wchar_t w);
    // Writes `length` characters, or all of `s` if it is negative. Stops at the first that fails.
    bool WriteString(const char* s, int length);
    // Writes a printf-style text of up to 1,999 characters. Writes nothing and returns false if the
    // text is longer.
    bool Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
    bool VFormat(const char* format, va_list arguments) __attribute__((format(printf, 2, 0)));
    // Writes the indentation of one line.
    bool DoIndent();

    // Marks the stream as failed. Throws `status` with cThrowOnError, else returns false.
    bool SetError(RStatus status);
    // Throws ErrEndOfStream with cThrowAtEnd, else returns false.
    bool SetEOF();

    // Moves to a byte position. Forgets the pushed-back character, and the carriage return whose
    // line feed may follow, because they belong to the old position.
    bool SetPos(unsigned long pos);
    // Stores the position of the raw operations. A pushed-back character does not change it.
    bool GetPos(unsigned long& pos) { return InternalGetPos(pos); }
    // Returns false if the length is unknown. Keeps what SetPos forgets.
    bool SetPosToEnd();

    unsigned GetFlags() const { return flags_; }
    State GetState() const { return state_; }
    Encoding GetEncoding() const { return encoding_; }
    void SetEncoding(Encoding encoding) { encoding_ = encoding; }
    void SetLineEnd(LineEnd lineEnd) { lineEnd_ = lineEnd; }
    // Sets `level` steps of `width` spaces each. A width of 0 or less means one tab for each step.
    void SetIndent(int level, int width) {
        indentLevel_ = level;
        indentWidth_ = width;
    }
    // Returns the number of line feeds read and written, with cCountLines.
    std::uint32_t GetLineCount() const { return lineCount_; }
    // Returns the sum of the bytes read and written, with cCheckValue.
    std::uint32_t GetCheckValue() const { return checkValue_; }
    // Returns true if ReadChar would give the stored bytes, line ends aside, and nothing is counted
    // or thrown on the way. A caller may then read blocks of them instead.
    bool ReadsPlainBytes() const {
        return encoding_ == Encoding::Raw && pushedBack_ <= 0 && !lastWasReturn_ &&
               readFilter_ == nullptr &&
               !Has(cScramble | cCheckValue | cCountLines | cThrowOnError | cThrowAtEnd);
    }
    // Sets the character that ReadChar returns next, once. A value of 0 or less means none.
    void SetPushedBack(std::int32_t character) { pushedBack_ = character; }
    // Borrows the filter; null removes it.
    void SetReadFilter(IStreamFilter* filter) { readFilter_ = filter; }
    void SetWriteFilter(IStreamFilter* filter) { writeFilter_ = filter; }

protected:
    enum class Ahead {
        NotOffered,  // the stream is read byte by byte
        Filled,      // next_ points at a byte
        AtEnd,       // a further InternalRead would find the end
        Failed,      // a further InternalRead would fail with `Failure`
    };
    // Called when next_ has reached end_. Reads ahead as far as it can without a wait, and for one
    // byte with a wait. Marks the end as InternalRead(1) would, but calls no SetError and throws
    // nothing. A stream overrides it if it is faster than byte by byte.
    virtual Ahead InternalFill() { return Ahead::NotOffered; }

    // The stored bytes that were read ahead. They are not yet read for a caller: the other raw
    // operations of a stream that sets these must take them into account.
    const unsigned char* next_ = nullptr;
    const unsigned char* end_ = nullptr;

    // The place for stored bytes that are written later. It is empty unless InternalWrite offers
    // it, and then the other raw operations must take the bytes before to_ into account.
    unsigned char* to_ = nullptr;
    unsigned char* limit_ = nullptr;

    void SetFlags(unsigned flags) { flags_ = flags; }
    void SetState(State state) { state_ = state; }

private:
    bool Has(unsigned flag) const { return (flags_ & flag) != 0; }
    bool CompletesPair(char c);
    char Fold(char c, bool fresh);
    // The steps of ReadToDelim.
    enum class Step { NotOffered, More, Found, Ended };
    struct DelimRead;
    Step ReadOne(DelimRead& read);
    Step ReadRun(DelimRead& read);
    Step TakeRun(DelimRead& read, int count, bool stopped);
    void TakeBytes(char* to, int count);
    unsigned char Decode(unsigned char stored);
    bool WriteRun(const char* s, std::size_t count);
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
