// The 8-bit string of the class library: growable, NUL-terminated, owned by value. One thread at a
// time may use a string. A string that was never written to points at one shared empty buffer and
// owns nothing; capacity grows in steps of 100 bytes and never shrinks.
#pragma once

#include "text/URI.h"

#include <cstddef>
#include <string>

struct __CFString;

namespace Tova {

// Positions and counts are in characters (bytes here); -1 as a count means "to the end" where a
// comment says so. Nothing but allocation fails: out of memory, or a size beyond the range of int,
// is std::bad_alloc, after which the string may only be destroyed. Null is no text except where a
// comment allows it. A null text elsewhere, and a negative position or count other than those
// named, are the caller's mistake and are not checked.
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

    // The characters with their NUL; valid until the next operation that changes the string.
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
    // Hands out the writable buffer of at least n bytes. The caller leaves a NUL-terminated text
    // of at most n - 1 characters in it and calls Unlock.
    T* Lock(int n);
    // Ends Lock: the length is that of the text up to its NUL.
    void Unlock() {
        locked_ = false;
        length_ = static_cast<int>(std::char_traits<T>::length(buffer_));
    }

    // Replaces the contents; null is an empty text. The string's own buffer changes nothing; a text
    // further back in it is what remains.
    void Copy(const T* s);
    void Copy(const TBaseString& s);
    // Appends the first `count` characters of s; all of it for a negative or larger count. `s` may
    // lie in the string's own buffer.
    void Append(const T* s, int count = -1);
    // Appends c `count` times. Zero times still makes the buffer private.
    void Append(T c, int count);
    // Inserts before `pos` (0 to the length; -1: at the end); `count` and `s` as for Append.
    void Insert(const T* s, int pos, int count = -1);
    // Removes `count` characters from `pos`; -1, or more than there are: to the end.
    void Delete(int pos, int count);
    // Replaces the contents by `count` characters of s from `start` (-1, or more than there are: to
    // its end; a start beyond its end: none). `s` may lie in the string's own buffer. A null s with
    // a negative start changes nothing.
    void MidOf(const T* s, int start, int count);
    // Replaces the contents by the last `count` characters of s, or all of it. `s` may lie in the
    // string's own buffer.
    void RightOf(const T* s, int count);

    // The index of the first c at or after `start`, or -1. For c = NUL the case-sensitive search
    // finds the terminator, the other one `start` itself.
    int Find(T c, int start, bool caseSensitive) const;
    // How many c stand from `start` to `end`, both included. An `end` of -1 counts nothing.
    int Count(T c, int start, int end, bool caseSensitive) const;

    void TrimLeft();
    // Never removes the first character, unlike TrimLeft: three blanks become one. Callers rely on
    // the difference.
    void TrimRight();
    void ToUpper();

    // The contents become `s` in `encoding` (kCFStringEncodingInvalidId: the system encoding).
    // False, with the contents unchanged, for null or a text the encoding cannot hold.
    bool CopyFromCFString(const __CFString* s, unsigned int encoding);
    // A new platform string, which the caller releases; null when the bytes are not valid in
    // `encoding` (as above).
    const __CFString* CreateCFString(unsigned int encoding) const;

    // The contents become `source` escaped for a URI; `component` has no effect.
    void ToURIEscapedString(const T* source, Ch::URIComponent component, Ch::URIEncodeLevel level,
                            Ch::URIFormat format);
    // Characters of `from` become those at the same place in `to`; others are kept when legal
    // (`strict`: only unreserved ones) and percent-escaped otherwise. A byte of 0x80 or more that
    // has to be escaped ends the result after its "%", and a source in the string's own buffer
    // loses `keepEscapes`: both are relied on.
    void TranslateToURIString(const T* source, bool strict, const T* from, const T* to,
                              bool keepEscapes);
    // Normalises the escapes of a whole address through the platform, then escapes what is left.
    // The result is empty when `source` is not valid in the system encoding or has a malformed
    // escape.
    void TranslateToMacURIString(const T* source);

    friend bool operator==(const TBaseString& a, const TBaseString& b) {
        return a.length_ == b.length_ &&
               std::char_traits<T>::compare(a.buffer_, b.buffer_,
                                            static_cast<std::size_t>(a.length_)) == 0;
    }

    static constexpr T cEmptyStr[4] = {};

private:
    // A count as int; throws std::bad_alloc where a buffer for it and a NUL would exceed the range.
    static int CheckedSize(std::size_t count);
    // Whether s points into the private buffer.
    bool Owns(const T* s) const;
    // Exchanges everything but the lock mark.
    void Swap(TBaseString& other);

    // Never written to: every operation that writes makes the buffer private first.
    static constexpr T* SharedEmpty() { return const_cast<T*>(cEmptyStr); }

    bool locked_ = false;
    int capacity_ = 0;
    int length_ = 0;
    T* buffer_ = SharedEmpty();
};

using CString = TBaseString<char>;

// What only the 8-bit string has.
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
