// The text of a registry file, as the parser takes it from a stream. One thread at a time may use
// it.
#pragma once

#include "text/CString.h"

#include <cstddef>
#include <memory>
#include <string_view>

namespace Tova {

class CStream;

// A place in the text. Line and column count from 1; the column counts bytes. With line-end
// translation LF, CR LF and CR each end a line.
struct RegPosition {
    long line = 1;
    long column = 1;
};

// Gives what CStream::ReadChar and ReadToDelim give. Its operations throw what the stream throws.
class RegText {
public:
    // The stream must outlive the text.
    explicit RegText(CStream& stream) : stream_(stream) {}
    // Leaves the stream behind the character that was read last.
    ~RegText();
    RegText(const RegText&) = delete;
    RegText& operator=(const RegText&) = delete;

    // From now on reads the stream in blocks, if its bytes need no treatment and it has a position.
    // This takes a third of the time of reading by character.
    void UseBlocks();
    // Returns true if the stream says that it is at its end. Blocks tell that by reading.
    bool AtEOF();
    // Goes back to byte 0 of the stream. If that fails, reading goes on where it is.
    void Restart();

    bool ReadChar(signed char& c) {
        if (at_ == end_ || block_[at_] == '\n' || block_[at_] == '\r') {
            return ReadAnyChar(c);
        }
        c = static_cast<signed char>(block_[at_++]);
        afterReturn_ = false;
        tookBack_ = false;
        last_ = next_;
        ++next_.column;
        return true;
    }
    // Takes back the last character. A stream keeps none of 0 or less, so it is lost then.
    void PushBack(signed char c);
    // Passes over tabs, line feeds and blanks. There may be more of them.
    void SkipBlanks();
    // Moves characters that a name may hold to `to`, at most `most`, and returns how many. There
    // may be more of them, unless `ended` becomes true. Both need blocks.
    std::size_t ReadNameRun(char* to, std::size_t most, bool& ended);
    // Reads white space, a name of at most `most` characters, "=" and the rest of the line, if all
    // of that stands in the block. Last() is then the place of the name. Otherwise reads no more
    // than white space and returns false. The views are valid until something is read.
    bool ReadValueLine(std::size_t most, std::string_view& name, std::string_view& value);
    // Reads the rest of the line and its end. The view is valid until something is read. Returns
    // false if the text ended before the line.
    bool ReadLine(std::string_view& line);

    // Return the place of the next character, and of the one that was read last.
    const RegPosition& Next() const { return next_; }
    const RegPosition& Last() const { return last_; }

private:
    bool Fill();
    bool ReadAnyChar(signed char& c);
    bool ReadByte(char& b);
    std::size_t FindByte(char b, std::size_t from) const;
    void FindFirstEnds();
    std::size_t FindLineEnd(std::size_t from);
    void EndLine(std::size_t stop);

    CStream& stream_;
    RegPosition next_;
    RegPosition last_;
    CString line_;  // of a text without blocks

    // The block is null if the stream is read by character. Between at_ and end_ stand the bytes
    // that were not read yet; places are counted from the front of the block.
    std::unique_ptr<char[]> block_;
    std::size_t size_ = 0;
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    unsigned long start_ = 0;  // the position of the block in the stream
    bool translate_ = false;
    bool mayHaveMore_ = true;
    bool afterReturn_ = false;  // a line feed that follows belongs to the carriage return before
    bool tookBack_ = false;     // the next character was read before
    // The next line feed or end_, and with line-end translation the next carriage return or end_,
    // unless they are before at_. If they were looked for again and again, a long text of one line
    // would take time by the square of its length.
    std::size_t lineFeed_ = 0;
    std::size_t return_ = 0;
};

}  // namespace Tova
