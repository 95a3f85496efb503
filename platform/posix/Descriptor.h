// The owner of a file descriptor. One thread at a time may use it.
#pragma once

#include "posix/CancellationGuard.h"

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace tvposix {

class Descriptor {
public:
    Descriptor() = default;
    // Takes over `number`, the result of open() and its like. A negative number means no
    // descriptor. The error number of the call stays in errno.
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Descriptor() {
        if (number_ >= 0) {
            const CancellationGuard guard;
            close(number_);
        }
    }

    explicit operator bool() const { return number_ >= 0; }
    int Get() const { return number_; }

private:
    int number_ = -1;
};

}  // namespace tvposix
