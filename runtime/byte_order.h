// Little-endian fields of wire formats, read and written byte by byte: the
// buffers they lie in are aligned to nothing.
#ifndef TORVIK_RUNTIME_BYTE_ORDER_H
#define TORVIK_RUNTIME_BYTE_ORDER_H

#include <cstdint>

inline std::uint16_t ReadLe16(const unsigned char* bytes)
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}

inline std::uint32_t ReadLe32(const unsigned char* bytes)
{
    return static_cast<std::uint32_t>(ReadLe16(bytes)) |
           static_cast<std::uint32_t>(ReadLe16(bytes + 2)) << 16;
}

constexpr unsigned char ByteOf(std::uint32_t value, unsigned index)
{
    return static_cast<unsigned char>(value >> (8 * index) & 0xFF);
}

inline void WriteLe16(unsigned char* bytes, std::uint16_t value)
{
    bytes[0] = ByteOf(value, 0);
    bytes[1] = ByteOf(value, 1);
}

inline void WriteLe32(unsigned char* bytes, std::uint32_t value)
{
    for (unsigned i = 0; i < 4; ++i)
        bytes[i] = ByteOf(value, i);
}

#endif
