// Cuts a container into UVC payloads and hands them out as a bulk pipe does.
#ifndef VIRTUAL_CAMERA_MODEL_PAYLOAD_CUTTER_H
#define VIRTUAL_CAMERA_MODEL_PAYLOAD_CUTTER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"

namespace vcam {

class PayloadCutter
{
public:
    static constexpr std::size_t kHeaderSize = 12;

    /// Faults that befall one payload.
    struct Twist {
        bool err = false;
        std::optional<std::uint8_t> header_length;
        std::optional<std::size_t> cut;  ///< bytes that are left of it
    };

    void Start(std::size_t payload_size, EndOfFrame end);
    /// Begins with `frame`, which must stay as it is until Done().
    void Load(const Bytes& frame, TimeUs time);
    /// Everything was handed out, the end of frame too.
    bool Done() const { return m_step == Step::kDone; }
    /// The next transfer begins a payload rather than going on with one.
    bool AtPayloadStart() const { return m_position == 0; }

    /// The frame cannot arrive whole with the next payload twisted so.
    bool Hurts(const Twist& twist) const;

    /// Up to `capacity` bytes of the next payload.
    std::size_t Take(unsigned char* to, std::size_t capacity, const Twist& twist);
    /// A bad payload that belongs to no frame; changes nothing.
    std::size_t TakeRubbish(unsigned char* to, std::size_t capacity) const;

private:
    enum class Step { kData, kEndOfFrame, kDone };

    std::size_t DataSize() const;
    void BeginPayload(const Twist& twist);
    void EndPayload();
    void FillHeader(std::uint8_t* header, bool end_of_frame, bool err) const;

    std::size_t m_payload_size = 0;
    EndOfFrame m_end = EndOfFrame::kHeaderOnly;
    std::uint8_t m_frame_id = 1;  ///< toggled before the first frame
    const Bytes* m_frame = nullptr;
    std::size_t m_offset = 0;  ///< of this payload's data in the frame
    TimeUs m_time = 0;
    Step m_step = Step::kDone;

    std::array<std::uint8_t, kHeaderSize> m_header{};
    std::size_t m_data_size = 0;  ///< of the payload under way
    std::size_t m_visible = 0;    ///< bytes of it that will be sent
    std::size_t m_position = 0;   ///< bytes of it that were sent
};

}  // namespace vcam

#endif
