// The input of one run, read from the front.
#ifndef FUZZ_BYTES_H
#define FUZZ_BYTES_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace fuzz {

/// Zeros follow the end, so that every input is a complete one.
class Bytes {
public:
    Bytes() = default;
    Bytes(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    bool Empty() const { return m_left == 0; }
    std::size_t Left() const { return m_left; }
    const std::uint8_t* Data() const { return m_data; }

    std::uint8_t U8()
    {
        std::uint8_t byte = 0;
        Take(&byte, 1);
        return byte;
    }
    std::uint16_t U16()
    {
        const std::uint8_t low = U8();
        return static_cast<std::uint16_t>(low | U8() << 8);
    }
    std::uint32_t U32()
    {
        const std::uint16_t low = U16();
        return low | static_cast<std::uint32_t>(U16()) << 16;
    }

    /// Fills `target`; the bytes that came from the input.
    std::size_t Take(std::uint8_t* target, std::size_t size)
    {
        const std::size_t taken = std::min(size, m_left);
        if (taken != 0)
            std::memcpy(target, m_data, taken);
        if (size > taken)
            std::memset(target + taken, 0, size - taken);
        Skip(taken);
        return taken;
    }
    void Skip(std::size_t size)
    {
        m_data += size;
        m_left -= size;
    }

private:
    const std::uint8_t* m_data = nullptr;
    std::size_t m_left = 0;
};

}  // namespace fuzz

#endif
