#pragma once

#include <unistd.h>
#include <utility>

/// An open file descriptor, closed with its owner.
class Descriptor
{
public:
    explicit Descriptor(int descriptor = -1)
        : m_descriptor(descriptor)
    {
    }
    ~Descriptor() { reset(); }
    Descriptor(Descriptor &&other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        reset(std::exchange(other.m_descriptor, -1));
        return *this;
    }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    /// Gives it away; the caller closes.
    [[nodiscard]] int release() { return std::exchange(m_descriptor, -1); }

private:
    void reset(int descriptor = -1)
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
        m_descriptor = descriptor;
    }

    int m_descriptor;
};
