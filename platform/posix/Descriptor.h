// The owner of a file descriptor. One thread at a time may use it.
#pragma once

#include <cerrno>
#include <unistd.h>
#include <utility>

namespace tvposix {

class Descriptor {
public:
    // Takes over `number`, the result of open() and its like. A negative number means no
    // descriptor.
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() { Close(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    explicit operator bool() const { return number_ >= 0; }
    int Get() const { return number_; }
    // Returns 0 or the error number. The descriptor is gone in both cases.
    int Close() {
        const int number = std::exchange(number_, -1);
        return number < 0 || close(number) == 0 ? 0 : errno;
    }

private:
    int number_;
};

}  // namespace tvposix
