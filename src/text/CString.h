// The 8-bit string of the class library: growable, NUL-terminated, owned by value. One thread at a
// time may use a string. A string that was never written to owns nothing: it points at one shared
// empty buffer. The capacity grows in steps of 100 bytes and never shrinks. The memory behind it
// grows in larger steps, so that a text which is built by small appends is copied a few times only.
#pragma once

#include "text/URI.h"

#include <cstddef>
#include <cstring>
#include <memory>
#include <string>

struct __CFString;

namespace Tova {

// Positions and counts are in characters (bytes here). Only allocation fails: a lack of memory, or
// a size beyond the range of int, throws std::bad_alloc. After that the string may only be
// destroyed. The operations do not check for a null text, or for a negative position or count,
// unless a comment gives it a meaning.
template <class T>
class TBaseString {
public:
    TBaseString() = default;
    explicit TBaseString(const T* s) { Copy(s); }
    TBaseString(const TBaseString& other) { Copy(other); }
    TBaseString& operator=(const TBaseString& other) {
        if (this != &other) {
            Copy(other);
        }
        return *this;
    }
    TBaseString& operator=(const T* s) {
        Copy(s);
        return *this;
    }
    ~TBaseString() {
        if (buffer_ != SharedEmpty()) {
            delete[] buffer_;
        }
    }

    // Returns the characters with their NUL, valid until an operation changes the string.
    const T* CStr() const { return buffer_; }
    int Length() const { return length_; }
    int Capacity() const { return capacity_; }
    bool IsEmpty() const { return length_ == 0; }
    bool IsLocked() const { return locked_; }
    // Empties the string and keeps its buffer.
    void Clear() {
        length_ = 0;
        if (buffer_ != SharedEmpty()) {
            buffer_[0] = T();
        }
    }

    // Makes room for at least n bytes, the NUL included.
    void Alloc(int n);
    // Returns the writable buffer of at least n bytes. The caller leaves a NUL-terminated text of
    // at most n - 1 characters in it and calls Unlock.
    T* Lock(int n);
    // Ends Lock. The length becomes that of the text up to its NUL.
    void Unlock() {
        locked_ = false;
        length_ = static_cast<int>(std::char_traits<T>::length(buffer_));
    }

    // Replaces the contents; a null s empties the string. `s` may lie in the string's own buffer.
    void Copy(const T* s);
    void Copy(const TBaseString& s);
    // Appends the first `count` characters of s, or all of s if the count is negative or larger.
    // `s` may lie in the string's own buffer.
    void Append(const T* s, int count = -1) {
        // What fits is appended here, because a call would cost more than the work. A text that is
        // much longer than `count` is not measured.
        const std::size_t k =
            count < 0 ? std::strlen(s) : strnlen(s, static_cast<std::size_t>(count));
        if (static_cast<std::size_t>(length_) + k < static_cast<std::size_t>(capacity_)) {
            std::memcpy(buffer_ + length_, s, k);
            length_ += static_cast<int>(k);
            buffer_[length_] = T();
        } else {
            AppendGrowing(s, k);
        }
    }
    // Appends c `count` times.
    // Deliberate: zero times still makes the buffer private.
    void Append(T c, int count) {
        if (count == 1 && length_ + 1 < capacity_) {
            T* end = buffer_ + length_++;
            end[0] = c;
            end[1] = T();
        } else {
            AppendRepeated(c, count);
        }
    }
    // Appends `count` (0 or more) characters of any value, NULs included, that the caller writes to
    // the place which is returned. A NUL stands behind them already.
    T* Extend(int count);
    // Becomes the text of `length` characters that `memory` begins with, which hold no NUL. Takes
    // the memory, of `room` characters, over if that is as much as the capacity needs. The capacity
    // grows as by Copy.
    void Adopt(std::unique_ptr<T[]> memory, std::size_t room, std::size_t length);
    // Inserts s before `pos` (0 to the length, or -1 for the end). `count` and `s` are as for
    // Append.
    void Insert(const T* s, int pos, int count = -1);
    // Removes `count` characters from `pos`. A count of -1 or beyond the end removes the whole
    // rest.
    void Delete(int pos, int count);
    // Replaces the contents by `count` characters of s from `start`. A count of -1 or beyond the
    // end takes the whole rest; a start beyond the end takes nothing. `s` may lie in the string's
    // own buffer. A null s with a negative start changes nothing.
    void MidOf(const T* s, int start, int count);
    // Replaces the contents by the last `count` characters of s, or all of s if it is shorter. `s`
    // may lie in the string's own buffer.
    void RightOf(const T* s, int count);

    // Returns the index of the first c at or after `start`, or -1.
    // Deliberate: for a NUL the case-sensitive search finds the terminator, the other finds
    // `start`.
    int Find(T c, int start, bool caseSensitive) const;
    // Returns how many c stand from `start` to `end`, both included. An `end` of -1 gives 0.
    int Count(T c, int start, int end, bool caseSensitive) const;

    void TrimLeft();
    // Deliberate: never removes the first character, so that three blanks become one. Callers rely
    // on it.
    void TrimRight();
    void ToUpper();

    // Replaces the contents by `s` in `encoding`; kCFStringEncodingInvalidId means the system
    // encoding. Returns false and leaves the contents unchanged if `s` is null, the encoding
    // cannot hold it, or it holds U+0000.
    bool CopyFromCFString(const __CFString* s, unsigned int encoding);
    // Returns a new platform string, which the caller releases. Returns null if the bytes are not
    // valid in `encoding`, which is as above.
    const __CFString* CreateCFString(unsigned int encoding) const;

    // Replaces the contents by `source`, escaped for a URI. `component` has no effect. The source
    // of this and of the next two may lie in the string's own buffer.
    void ToURIEscapedString(const T* source, Ch::URIComponent component, Ch::URIEncodeLevel level,
                            Ch::URIFormat format);
    // Replaces each character of `from` by the one at the same place in `to`. Keeps other
    // characters that are legal (only unreserved ones if `strict`), and escapes the rest. With
    // `keepEscapes` it copies each "%" and the two bytes behind it. Deliberate: a byte of 0x80 or
    // more that has to be escaped ends the result after its "%", and a source in the string's own
    // buffer loses `keepEscapes`. Callers rely on both.
    void TranslateToURIString(const T* source, bool strict, const T* from, const T* to,
                              bool keepEscapes);
    // Normalises the escapes of a whole address through the platform, then escapes the rest. The
    // result is empty if `source` is not valid in the system encoding or has a malformed escape.
    void TranslateToMacURIString(const T* source);

    friend bool operator==(const TBaseString& a, const TBaseString& b) {
        return a.length_ == b.length_ &&
               std::char_traits<T>::compare(a.buffer_, b.buffer_,
                                            static_cast<std::size_t>(a.length_)) == 0;
    }

    static constexpr T cEmptyStr[4] = {};

private:
    // Returns the count as int. Throws std::bad_alloc if it and a NUL exceed the range of a buffer.
    static int CheckedSize(std::size_t count);
    // Returns true if s points into the private buffer.
    bool Owns(const T* s) const;
    void AppendRepeated(T c, int count);
    void AppendGrowing(const T* s, std::size_t count);
    // Exchanges everything except the lock mark.
    void Swap(TBaseString& other);

    // No operation writes to it: each makes the buffer private first.
    static constexpr T* SharedEmpty() { return const_cast<T*>(cEmptyStr); }

    bool locked_ = false;
    int capacity_ = 0;
    int length_ = 0;
    T* buffer_ = SharedEmpty();
};

using CString = TBaseString<char>;

// These members exist for the 8-bit string alone.
template <>
bool CString::CopyFromCFString(const __CFString* s, unsigned int encoding);
template <>
const __CFString* CString::CreateCFString(unsigned int encoding) const;
template <>
void CString::ToURIEscapedString(const char* source, Ch::URIComponent component,
                                 Ch::URIEncodeLevel level, Ch::URIFormat format);
template <>
void CString::TranslateToURIString(const char* source, bool strict, const char* from,
                                   const char* to, bool keepEscapes);
template <>
void CString::TranslateToMacURIString(const char* source);

extern template class TBaseString<char>;

}  // namespace Tova
