#include "registry/RegText.h"

#include "registry/RegNames.h"
#include "streams/CStream.h"
#include "text/Ch.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Tova {

namespace {

constexpr std::size_t cBlockSize = std::size_t{16} * 1024;

}  // namespace

// Reads a carriage return again, or a character that was taken back, so that the stream knows about
// it as if it had read each character itself.
RegText::~RegText() {
    if (block_ == nullptr || (at_ == end_ && !mayHaveMore_)) {
        return;
    }
    stream_.SetPos(start_ + at_ - (afterReturn_ ? 1 : 0));
    if (afterReturn_ || tookBack_) {
        int eof = 0;
        const char c = stream_.ReadChar(eof);
        stream_.SetPushedBack(tookBack_ ? c : 0);
    }
}

void RegText::UseBlocks() {
    if (block_ == nullptr && stream_.GetState() == CStream::State::Open &&
        stream_.ReadsPlainBytes() && stream_.GetPos(start_) && stream_.SetPos(start_)) {
        block_ = std::make_unique_for_overwrite<char[]>(cBlockSize);
        size_ = cBlockSize;
        translate_ = (stream_.GetFlags() & CStream::cTranslate) != 0;
    }
}

bool RegText::AtEOF() {
    return block_ == nullptr && stream_.AtEOF();
}

void RegText::Restart() {
    next_ = {};
    if (block_ == nullptr || start_ != 0) {
        if (!stream_.SetPos(0)) {
            return;
        }
        start_ = 0;
        end_ = 0;
        mayHaveMore_ = true;
    }
    at_ = 0;
    FindFirstEnds();
    afterReturn_ = false;
}

std::size_t RegText::FindByte(char b, std::size_t from) const {
    const void* found = from < end_ ? std::memchr(block_.get() + from, b, end_ - from) : nullptr;
    return found == nullptr
               ? end_
               : static_cast<std::size_t>(static_cast<const char*>(found) - block_.get());
}

void RegText::FindFirstEnds() {
    lineFeed_ = FindByte('\n', 0);
    return_ = translate_ ? FindByte('\r', 0) : end_;
}

// Moves what was not read yet to the front of the block, and reads more behind it. Returns false at
// the end of the stream.
bool RegText::Fill() {
    if (!mayHaveMore_) {
        return false;
    }
    const std::size_t kept = end_ - at_;
    if (kept == size_) {
        auto larger = std::make_unique_for_overwrite<char[]>(size_ * 2);
        std::memcpy(larger.get(), block_.get(), kept);
        block_ = std::move(larger);
        size_ *= 2;
    } else {
        std::memmove(block_.get(), block_.get() + at_, kept);
    }
    start_ += at_;
    at_ = 0;
    unsigned long got = 0;
    stream_.Read(size_ - kept, block_.get() + kept, &got);
    end_ = kept + got;
    mayHaveMore_ = got > 0;
    FindFirstEnds();
    return mayHaveMore_;
}

bool RegText::ReadByte(char& b) {
    if (block_ == nullptr) {
        int eof = 0;
        b = stream_.ReadChar(eof);
        return eof == 0;
    }
    do {
        if (at_ == end_ && !Fill()) {
            return false;
        }
        b = block_[at_++];
    } while (b == '\n' && std::exchange(afterReturn_, false));
    tookBack_ = false;
    afterReturn_ = translate_ && b == '\r';
    b = afterReturn_ ? '\n' : b;
    return true;
}

bool RegText::ReadAnyChar(signed char& c) {
    char b = 0;
    if (!ReadByte(b)) {
        return false;
    }
    c = static_cast<signed char>(b);
    last_ = next_;
    next_ = c == '\n' ? RegPosition{next_.line + 1, 1} : RegPosition{next_.line, next_.column + 1};
    return true;
}

void RegText::PushBack(signed char c) {
    if (block_ == nullptr) {
        stream_.SetPushedBack(c);
    }
    if (c > 0) {
        next_ = last_;
        if (block_ != nullptr) {
            --at_;
            afterReturn_ = false;
            tookBack_ = true;
        }
    }
}

void RegText::SkipBlanks() {
    std::size_t at = at_;
    for (; at < end_; ++at) {
        const char b = block_[at];
        if (b == '\n') {
            if (!std::exchange(afterReturn_, false)) {
                next_ = {next_.line + 1, 1};
            }
        } else if (b == ' ' || b == '\t') {
            afterReturn_ = false;
            ++next_.column;
        } else {
            break;
        }
    }
    tookBack_ = tookBack_ && at == at_;
    at_ = at;
}

// A name that ended counts as one whose next character was read and taken back.
std::size_t RegText::ReadNameRun(char* to, std::size_t most, bool& ended) {
    const char* from = block_.get() + at_;
    most = std::min(most, end_ - at_);
    std::size_t count = 0;
    while (count < most && RegNames::IsNameByte(from[count]) &&
           !(from[count] == '\r' && translate_)) {
        to[count] = from[count];
        ++count;
    }
    at_ += count;
    next_.column += static_cast<long>(count);
    ended = count<most&& static_cast<signed char>(from[count])> 0;
    tookBack_ = ended || (tookBack_ && count == 0);
    return count;
}

// Most lines are such lines. They take a quarter fewer instructions than their tokens would.
bool RegText::ReadValueLine(std::size_t most, std::string_view& name, std::string_view& value) {
    SkipBlanks();
    if (at_ == end_ || !Ch::IsAlpha(block_[at_])) {
        return false;
    }
    const std::size_t stop = FindLineEnd(at_);
    std::size_t equals = at_ + 1;
    while (equals < stop && RegNames::IsNameByte(block_[equals])) {
        ++equals;
    }
    if (stop == end_ || equals == stop || block_[equals] != '=' || equals - at_ > most) {
        return false;
    }
    name = {block_.get() + at_, equals - at_};
    value = {block_.get() + equals + 1, stop - equals - 1};
    last_ = next_;
    EndLine(stop);
    return true;
}

// Returns the place of the line end, or end_.
std::size_t RegText::FindLineEnd(std::size_t from) {
    if (lineFeed_ < from) {
        lineFeed_ = FindByte('\n', from);
    }
    if (return_ < from) {
        return_ = FindByte('\r', from);
    }
    return std::min(lineFeed_, return_);
}

// Goes behind the line end at `stop`.
void RegText::EndLine(std::size_t stop) {
    at_ = stop + 1;
    afterReturn_ = translate_ && block_[stop] == '\r';
    tookBack_ = false;
    next_ = {next_.line + 1, 1};
}

bool RegText::ReadLine(std::string_view& line) {
    bool ended = false;
    if (block_ == nullptr) {
        ended = stream_.ReadToDelim(line_, '\n', -1, nullptr);
        line = {line_.CStr(), static_cast<std::size_t>(line_.Length())};
        next_.line += ended ? 1 : 0;
        next_.column = ended ? 1 : next_.column + static_cast<long>(line.size());
        return ended;
    }
    if (std::exchange(afterReturn_, false) && (at_ < end_ || Fill()) && block_[at_] == '\n') {
        ++at_;
    }
    std::size_t stop = FindLineEnd(at_);
    while (stop == end_) {
        const std::size_t searched = end_ - at_;
        if (!Fill()) {
            line = {block_.get() + at_, searched};
            at_ = end_;
            tookBack_ = false;
            next_.column += static_cast<long>(searched);
            return false;
        }
        stop = FindLineEnd(at_ + searched);
    }
    line = {block_.get() + at_, stop - at_};
    EndLine(stop);
    return true;
}

}  // namespace Tova
