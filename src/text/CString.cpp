#include "text/CString.h"

#include "text/Ch.h"
#include "text/Str.h"

#include <CoreFoundation/CoreFoundation.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cstring>
#include <functional>
#include <new>
#include <utility>

namespace Tova {

namespace {

constexpr int cStep = 100;
constexpr int cLargest = INT_MAX / cStep * cStep;

CFStringEncoding orSystemEncoding(unsigned int encoding) {
    return encoding == kCFStringEncodingInvalidId ? CFStringGetSystemEncoding() : encoding;
}

std::size_t bytes(int count) {
    return static_cast<std::size_t>(count);
}

// Returns the least capacity for `n` characters, the NUL among them.
int capacityFor(int n) {
    return (n - 1) / cStep * cStep + cStep;
}

// Returns how much memory stands behind a capacity: the next power of two, so that a text which is
// built by small appends is copied about once.
std::size_t roomFor(int capacity) {
    return std::bit_ceil(bytes(capacity));
}

}  // namespace

template <class T>
int TBaseString<T>::CheckedSize(std::size_t count) {
    if (count >= static_cast<std::size_t>(cLargest)) {
        throw std::bad_alloc();
    }
    return static_cast<int>(count);
}

template <class T>
bool TBaseString<T>::Owns(const T* s) const {
    const std::less<const T*> before;
    return !before(s, buffer_) && before(s, buffer_ + capacity_);
}

template <class T>
void TBaseString<T>::Swap(TBaseString& other) {
    std::swap(capacity_, other.capacity_);
    std::swap(length_, other.length_);
    std::swap(buffer_, other.buffer_);
}

template <class T>
void TBaseString<T>::Alloc(int n) {
    if (capacity_ >= n) {
        return;
    }
    if (n > cLargest) {
        throw std::bad_alloc();
    }
    const int former = std::exchange(capacity_, capacityFor(n));
    const std::size_t room = roomFor(capacity_);
    if (former != 0 && roomFor(former) == room) {
        return;
    }
    T* grown = new T[room];
    std::memcpy(grown, buffer_, bytes(length_) + 1);
    if (buffer_ != SharedEmpty()) {
        delete[] buffer_;
    }
    buffer_ = grown;
}

template <class T>
T* TBaseString<T>::Lock(int n) {
    if (n >= 1) {
        Alloc(n);
    } else if (buffer_ == SharedEmpty()) {
        Alloc(1);
    }
    locked_ = true;
    return buffer_;
}

template <class T>
void TBaseString<T>::Copy(const T* s) {
    if (s == buffer_) {
        return;
    }
    Clear();
    if (s == nullptr || *s == T()) {
        return;
    }
    // A text in this very buffer is shorter than the capacity, so that Alloc leaves it where it is.
    const int n = CheckedSize(std::strlen(s));
    Alloc(n + 1);
    length_ = n;
    std::memmove(buffer_, s, bytes(n) + 1);
}

template <class T>
void TBaseString<T>::Copy(const TBaseString& s) {
    if (s.length_ <= 0) {
        Clear();
        return;
    }
    Alloc(s.length_ + 1);
    length_ = s.length_;
    std::memmove(buffer_, s.buffer_, bytes(length_) + 1);
}

template <class T>
void TBaseString<T>::Adopt(std::unique_ptr<T[]> memory, std::size_t room, std::size_t length) {
    const int n = CheckedSize(length);
    const int capacity = std::max(capacity_, capacityFor(n + 1));
    if (room < roomFor(capacity)) {
        Clear();  // so that nothing is copied if the buffer has to grow
        std::memcpy(Extend(n), memory.get(), length);
        return;
    }
    if (buffer_ != SharedEmpty()) {
        delete[] buffer_;
    }
    buffer_ = memory.release();
    buffer_[n] = T();
    capacity_ = capacity;
    length_ = n;
}

template <class T>
T* TBaseString<T>::Extend(int count) {
    const int newLength = CheckedSize(bytes(length_) + bytes(count));
    if (newLength >= capacity_) {
        Alloc(newLength + 1);
    }
    T* end = buffer_ + length_;
    end[count] = T();
    length_ = newLength;
    return end;
}

template <class T>
void TBaseString<T>::AppendGrowing(const T* s, std::size_t count) {
    if (bytes(length_) + count == 0) {
        return;
    }
    const std::ptrdiff_t offset = Owns(s) ? s - buffer_ : -1;
    T* end = Extend(CheckedSize(count));
    std::memcpy(end, offset < 0 ? s : buffer_ + offset, count);
}

template <class T>
void TBaseString<T>::AppendRepeated(T c, int count) {
    std::memset(Extend(count), static_cast<unsigned char>(c), bytes(count));
}

template <class T>
void TBaseString<T>::Insert(const T* s, int pos, int count) {
    if (Owns(s)) {
        const TBaseString aside(s);
        Insert(aside.buffer_, pos, count);
        return;
    }
    if (pos == -1) {
        pos = length_;
    }
    int k = CheckedSize(std::strlen(s));
    if (count >= 0 && count < k) {
        k = count;
    }
    Alloc(CheckedSize(bytes(length_) + bytes(k)) + 1);
    T* at = buffer_ + pos;
    std::memmove(at + k, at, std::strlen(at) + 1);
    std::memcpy(at, s, bytes(k));
    length_ += k;
}

template <class T>
void TBaseString<T>::Delete(int pos, int count) {
    if (pos >= length_) {
        return;
    }
    const int rest = length_ - pos;
    const int k = count == -1 || count > rest ? rest : count;
    std::memmove(buffer_ + pos, buffer_ + pos + k, bytes(rest - k) + 1);
    length_ -= k;
}

template <class T>
void TBaseString<T>::MidOf(const T* s, int start, int count) {
    if (s == nullptr && start < 0) {
        return;
    }
    const int n = CheckedSize(std::strlen(s));
    start = std::min(start, n);
    const int rest = n - start;
    const int k = count == -1 || count > rest ? rest : count;
    // A part of this very buffer is shorter than the capacity, so that Alloc leaves it in place.
    Alloc(k + 1);
    std::memmove(buffer_, s + start, bytes(k));
    buffer_[k] = T();
    length_ = k;
}

template <class T>
void TBaseString<T>::RightOf(const T* s, int count) {
    const int n = CheckedSize(std::strlen(s));
    if (n <= count) {
        Copy(s);
    } else {
        MidOf(s, n - count, count);
    }
}

template <class T>
int TBaseString<T>::Find(T c, int start, bool caseSensitive) const {
    if (start > length_) {
        return -1;
    }
    const T* at = buffer_ + start;
    if (caseSensitive) {
        at = std::strchr(at, c);
    } else if (c != T()) {
        const T folded = Ch::ToLower(c);
        while (*at != T() && Ch::ToLower(*at) != folded) {
            ++at;
        }
        at = *at != T() ? at : nullptr;
    }
    return at != nullptr ? static_cast<int>(at - buffer_) : -1;
}

template <class T>
int TBaseString<T>::Count(T c, int start, int end, bool caseSensitive) const {
    if (length_ == 0) {
        return 0;
    }
    int count = 0;
    for (int at = Find(c, start, caseSensitive); at >= 0 && at <= end;
         at = Find(c, at + 1, caseSensitive)) {
        ++count;
    }
    return count;
}

template <class T>
void TBaseString<T>::TrimLeft() {
    int white = 0;
    while (white < length_ && Ch::IsWhite(buffer_[white])) {
        ++white;
    }
    if (white > 0) {
        Delete(0, white);
    }
}

template <class T>
void TBaseString<T>::TrimRight() {
    int end = length_;
    while (end > 1 && Ch::IsWhite(buffer_[end - 1])) {
        --end;
    }
    if (end != length_) {
        Delete(end, -1);
    }
}

template <class T>
void TBaseString<T>::ToUpper() {
    Str::ToUpper(Lock(0));
    Unlock();
}

template <>
bool CString::CopyFromCFString(const __CFString* s, unsigned int encoding) {
    if (s == nullptr) {
        return false;
    }
    encoding = orSystemEncoding(encoding);
    const CFIndex room = CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), encoding);
    if (room < 0) {
        return false;
    }
    const int size = CheckedSize(static_cast<std::size_t>(room)) + 1;
    // Converts into another string, because a failing conversion would spoil the contents.
    TBaseString converted;
    converted.Alloc(std::max(size, capacity_));
    if (CFStringGetCString(s, converted.Lock(0), size, encoding) == 0) {
        return false;
    }
    converted.Unlock();
    Swap(converted);
    return true;
}

template <>
const __CFString* CString::CreateCFString(unsigned int encoding) const {
    return CFStringCreateWithCString(kCFAllocatorDefault, buffer_, orSystemEncoding(encoding));
}

template class TBaseString<char>;

}  // namespace Tova
