// Little-endian fields in byte buffers, as USB carries them.
#ifndef VIRTUAL_CAMERA_MODEL_BYTES_H
#define VIRTUAL_CAMERA_MODEL_BYTES_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vcam {

using Bytes = std::vector<std::uint8_t>;

inline void StoreLe(std::uint8_t* to, std::uint64_t value, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i) to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

inline std::uint64_t LoadLe(const std::uint8_t* from, std::size_t width)
{
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i) value |= std::uint64_t{from[i]} << (8 * i);
    return value;
}

inline void Append(Bytes& to, std::uint64_t value, std::size_t width)
{
    to.resize(to.size() + width);
    StoreLe(to.data() + to.size() - width, value, width);
}

}  // namespace vcam

#endif
