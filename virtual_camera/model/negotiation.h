// Probe and commit of the video stream (UVC 1.0, 4.3.1.1).
#ifndef VIRTUAL_CAMERA_MODEL_NEGOTIATION_H
#define VIRTUAL_CAMERA_MODEL_NEGOTIATION_H

#include <cstddef>
#include <cstdint>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"

namespace vcam {

struct StreamParameters {
    std::uint16_t hint = 1;
    std::uint8_t format = 3;
    std::uint8_t frame = 1;
    std::uint32_t interval = 333333;  ///< 100 ns
    std::uint32_t max_frame_size = 0;
    std::uint32_t max_payload_size = 0;
};

class Negotiation
{
public:
    static constexpr std::size_t kSize = 26;
    enum Selector : std::uint8_t { kProbe = 1, kCommit = 2 };

    explicit Negotiation(const CameraOptions& options);

    void Reset();
    bool Get(std::uint8_t request, std::uint8_t selector, Bytes& reply) const;
    /// Adjusts the proposal to what the camera can do and takes it.
    bool Set(std::uint8_t selector, const std::uint8_t* data, std::size_t length);
    const StreamParameters& Committed() const { return m_commit; }

private:
    StreamParameters Adjust(const std::uint8_t* data) const;

    const CameraOptions& m_options;
    StreamParameters m_probe, m_commit;
};

}  // namespace vcam

#endif
