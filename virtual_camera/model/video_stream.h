// The video stream: which containers there are, when, and what is in them.
#ifndef VIRTUAL_CAMERA_MODEL_VIDEO_STREAM_H
#define VIRTUAL_CAMERA_MODEL_VIDEO_STREAM_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <random>
#include <vector>

#include "virtual_camera/model/cadence.h"
#include "virtual_camera/model/container.h"
#include "virtual_camera/model/encoder.h"
#include "virtual_camera/model/faults.h"
#include "virtual_camera/model/media.h"
#include "virtual_camera/model/negotiation.h"
#include "virtual_camera/model/payload_cutter.h"
#include "virtual_camera/model/raw_picture.h"
#include "virtual_camera/model/signal.h"
#include "virtual_camera/model/traffic.h"

namespace vcam {

class VideoStream
{
public:
    enum Target : std::uint8_t { kMainEncoder = 0, kSubEncoder = 1 };

    VideoStream(const CameraOptions& options, const Media& media, FaultPlan& faults,
                Traffic& traffic);

    /// Power-on state.
    void Reset();
    void Start(const StreamParameters& parameters, TimeUs now);
    void Stop();
    bool Streaming() const { return m_streaming; }

    /// @name What the controller is told
    /// @{
    bool SetSignal(std::uint8_t type);
    void SetFrameRate(Target target, unsigned fps);
    void SetBitRate(Target target, unsigned kbps);
    void RequestKey();
    void RequestStill() { m_still_wanted = true; }
    void SetLimit(std::uint64_t containers) { m_limit = containers; }
    void SetCropFlag(std::uint16_t flag) { m_crop_flag = flag; }
    /// @}
    const Encoder& EncoderOf(Target target) const { return m_encoders[target]; }
    std::uint8_t SignalType() const { return m_signal; }
    std::uint64_t Containers() const { return m_containers; }

    /// Makes the next container when it is due and the last one was sent.
    /// Gives the moment when there will be something, or 0 when there is.
    TimeUs Prepare(TimeUs now);
    /// A container fault that takes the device off the bus, once.
    std::optional<Fault> TakeUnplug();

    bool BetweenContainers() const { return m_cutter.Done(); }
    bool AtPayloadStart() const { return m_cutter.AtPayloadStart(); }
    /// After Prepare() gave 0.
    std::size_t Take(unsigned char* to, std::size_t capacity, const PayloadCutter::Twist& twist,
                     TimeUs now);
    std::size_t TakeRubbish(unsigned char* to, std::size_t capacity) const
    {
        return m_cutter.TakeRubbish(to, capacity);
    }
    /// The payload that Take() would give got lost on the wire.
    void LosePayload(TimeUs now);

private:
    struct Lanes {
        bool main, sub, raw;
    };

    TimeUs NextDue() const;
    Lanes ActiveLanes() const;
    void MakeContainer(TimeUs time);
    void MakePlainFrame();
    void AddCoded(Stream stream, Encoder& encoder);
    const Still& StillOfNow() const;
    void AddStill();
    void AddRaw(Stream stream, RawFormat format);
    void Remember(Stream stream, std::size_t size, std::uint64_t digest, std::uint32_t number,
                  bool key);
    void Apply(const Fault& fault);
    void FinishContainer(TimeUs now, bool whole);

    const CameraOptions& m_options;
    const Media& m_media;
    FaultPlan& m_faults;
    Traffic& m_traffic;

    std::array<Encoder, 2> m_encoders;
    std::uint8_t m_signal = kPowerOnSignal;
    std::uint16_t m_crop_flag = 0;
    bool m_still_wanted = false;

    bool m_streaming = false;
    StreamParameters m_parameters;
    TimeUs m_start = 0;  ///< moved when the host falls far behind
    TimeUs m_time = 0;   ///< of the last container, from the start
    Cadence m_main_beat, m_sub_beat, m_raw_beat;
    std::uint64_t m_limit;           ///< containers in a stream; 0: no end
    std::uint64_t m_containers = 0;  ///< since the stream began
    std::uint64_t m_raw_pictures = 0;

    Container m_container;
    std::vector<SentFrame> m_frames;  ///< in the container under way
    bool m_whole = true;
    PayloadCutter m_cutter;
    std::optional<Fault> m_unplug;
    std::minstd_rand m_random;
};

}  // namespace vcam

#endif
