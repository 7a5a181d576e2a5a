// The container that carries one moment of all running streams.
#ifndef VIRTUAL_CAMERA_MODEL_CONTAINER_H
#define VIRTUAL_CAMERA_MODEL_CONTAINER_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/traffic.h"

namespace vcam {

/// What a section's header says besides the sizes.
struct SectionFacts {
    Stream stream;
    std::uint16_t width = 0, height = 0;
    std::uint16_t crop_flag = 0;
    std::uint32_t number = 0;
    std::uint32_t extra = 0;
};

class Container
{
public:
    static constexpr std::size_t kHeaderSize = 32;

    explicit Container(std::uint32_t alignment) : m_alignment(alignment ? alignment : 1) {}

    void Begin(std::uint64_t number, std::uint32_t time_ms);
    /// Appends a section and gives the place for its `size` bytes.
    std::uint8_t* AddSection(const SectionFacts& facts, std::size_t size);
    /// Room for plain data without a header, for streams that are no containers.
    std::uint8_t* AddPlain(std::size_t size);

    Bytes& Data() { return m_data; }
    const Bytes& Data() const { return m_data; }
    /// Where the sections' headers start.
    const std::vector<std::size_t>& Headers() const { return m_headers; }

private:
    std::uint32_t m_alignment;
    std::uint64_t m_number = 0;
    std::uint32_t m_time_ms = 0;
    Bytes m_data;
    std::vector<std::size_t> m_headers;
};

}  // namespace vcam

#endif
