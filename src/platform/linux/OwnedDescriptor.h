#pragma once

#include <unistd.h>

#include <utility>

namespace lumivane {

/// A file descriptor that closes itself; -1 for none.
class OwnedDescriptor {
public:
    OwnedDescriptor() = default;

    explicit OwnedDescriptor(int descriptor)
        : m_descriptor(descriptor) {}

    ~OwnedDescriptor() { reset(); }

    OwnedDescriptor(OwnedDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept {
        if (this != &other) {
            reset();
            m_descriptor = std::exchange(other.m_descriptor, -1);
        }
        return *this;
    }

    explicit operator bool() const { return m_descriptor >= 0; }

    int get() const { return m_descriptor; }

    /// From now on the caller's.
    int take() { return std::exchange(m_descriptor, -1); }

    void reset() {
        if (m_descriptor >= 0) {
            ::close(std::exchange(m_descriptor, -1));
        }
    }

private:
    int m_descriptor = -1;
};

} // namespace lumivane
