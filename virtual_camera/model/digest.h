// The digest by which sent and received frames are compared: 64-bit FNV-1a.
#ifndef VIRTUAL_CAMERA_MODEL_DIGEST_H
#define VIRTUAL_CAMERA_MODEL_DIGEST_H

#include <cstddef>
#include <cstdint>

namespace vcam {

constexpr std::uint64_t kDigestStart = 0xCBF29CE484222325ULL;

inline std::uint64_t Digest(const void* data, std::size_t size, std::uint64_t digest = kDigestStart)
{
    const auto* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < size; ++i) digest = (digest ^ bytes[i]) * 0x100000001B3ULL;
    return digest;
}

/// The digest of a whole stream: that of its frames' digests in order, each
/// taken as eight bytes, lowest first.
inline std::uint64_t ChainDigest(std::uint64_t stream, std::uint64_t frame)
{
    for (int i = 0; i < 8; ++i) stream = (stream ^ ((frame >> (8 * i)) & 0xFF)) * 0x100000001B3ULL;
    return stream;
}

}  // namespace vcam

#endif
