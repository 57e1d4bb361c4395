#pragma once
// Owns a file descriptor of the system. Only for the sources of the platform folder.

#include <unistd.h>

#include <utility>

namespace zr {

class Descriptor {
public:
    Descriptor() = default;
    // Takes over _fd; a negative one is none.
    explicit Descriptor(int _fd) : fd(_fd) {}
    Descriptor(Descriptor&& _other) noexcept : fd(std::exchange(_other.fd, -1)) {}
    Descriptor& operator=(Descriptor&& _other) noexcept {
        if (this != &_other) Reset(std::exchange(_other.fd, -1));
        return *this;
    }
    ~Descriptor() { Reset(); }

    void Reset(int _fd = -1) {
        if (fd >= 0) close(fd);
        fd = _fd;
    }
    int Get() const { return fd; }
    explicit operator bool() const { return fd >= 0; }

private:
    int fd = -1;
};

}  // namespace zr
