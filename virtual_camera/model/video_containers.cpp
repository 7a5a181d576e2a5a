// What goes into a container.
#include <algorithm>
#include <cstring>

#include "virtual_camera/model/topology.h"
#include "virtual_camera/model/video_stream.h"

namespace vcam {
namespace {

/// Lanes due so close to each other share a container.
constexpr TimeUs kTogether = 2000;
constexpr TimeUs kStillTime = 500000;

}  // namespace

void VideoStream::MakeContainer(TimeUs time)
{
    m_time = time;
    m_whole = true;
    m_frames.clear();
    m_container.Begin(m_containers, static_cast<std::uint32_t>(time / 1000));
    const auto beats = [time](bool active, Cadence& beat) {
        const bool due = active && beat.Due() <= time + kTogether;
        if (due)
            beat.Advance();
        return due;
    };
    const Lanes lanes = ActiveLanes();
    const bool main = beats(lanes.main, m_main_beat);
    const bool sub = beats(lanes.sub, m_sub_beat);
    const bool raw = beats(lanes.raw, m_raw_beat);
    if (m_parameters.format != kFormatMultiplexed) {
        MakePlainFrame();
        return;
    }
    const Signal& signal = kSignals[m_signal];
    if (main)
        AddCoded(Stream::kMain, m_encoders[kMainEncoder]);
    if (sub)
        AddCoded(Stream::kSub, m_encoders[kSubEncoder]);
    if (m_still_wanted || (raw && signal.jpeg))
        AddStill();
    m_still_wanted = false;
    if (!raw)
        return;
    if (signal.gray)
        AddRaw(Stream::kGray, RawFormat::kGray);
    if (signal.nv12)
        AddRaw(Stream::kNv12, RawFormat::kNv12);
    if (signal.nv21)
        AddRaw(Stream::kNv21, RawFormat::kNv21);
    if (signal.yuy2)
        AddRaw(Stream::kYuy2, RawFormat::kYuy2);
    ++m_raw_pictures;
}

void VideoStream::MakePlainFrame()
{
    if (m_parameters.format == kFormatMjpeg) {
        const Still& still = StillOfNow();
        std::memcpy(m_container.AddPlain(still.data.size()), still.data.data(), still.data.size());
        Remember(Stream::kJpeg, still.data.size(), still.digest, 0, true);
        return;
    }
    const std::size_t size = RawPictureBytes(RawFormat::kYuy2);
    std::uint8_t* data = m_container.AddPlain(size);
    DrawRawPicture(m_media.RawPicture(), RawFormat::kYuy2, m_raw_pictures++, data);
    Remember(Stream::kYuy2, size, Digest(data, size), 0, true);
}

void VideoStream::AddCoded(Stream stream, Encoder& encoder)
{
    const CodedPicture picture = encoder.Next();
    SectionFacts facts;
    facts.stream = stream;
    facts.width = static_cast<std::uint16_t>(picture.width);
    facts.height = static_cast<std::uint16_t>(picture.height);
    facts.number = picture.number;
    facts.extra = picture.key ? 1 : 0;
    std::memcpy(m_container.AddSection(facts, picture.size), picture.data, picture.size);
    Remember(stream, picture.size, picture.digest, picture.number, picture.key);
}

/// The stills show the clips' scene in steps.
const Still& VideoStream::StillOfNow() const
{
    return m_media.BestStill(kFrameSizes[m_parameters.frame - 1U].width,
                             static_cast<std::size_t>(m_time / kStillTime));
}

void VideoStream::AddStill()
{
    const Still& still = StillOfNow();
    SectionFacts facts;
    facts.stream = Stream::kJpeg;
    facts.width = static_cast<std::uint16_t>(still.width);
    facts.height = static_cast<std::uint16_t>(still.height);
    std::memcpy(m_container.AddSection(facts, still.data.size()), still.data.data(),
                still.data.size());
    Remember(Stream::kJpeg, still.data.size(), still.digest, 0, true);
}

void VideoStream::AddRaw(Stream stream, RawFormat format)
{
    const std::size_t size = RawPictureBytes(format);
    if (m_container.Data().size() + Container::kHeaderSize + size + m_options.data_alignment >
        m_parameters.max_frame_size)
        return;
    const RawSize dimensions = RawPictureSize(format);
    SectionFacts facts;
    facts.stream = stream;
    facts.width = static_cast<std::uint16_t>(dimensions.width);
    facts.height = static_cast<std::uint16_t>(dimensions.height);
    if (format == RawFormat::kGray || format == RawFormat::kNv12)
        facts.crop_flag = m_crop_flag;
    std::uint8_t* data = m_container.AddSection(facts, size);
    DrawRawPicture(m_media.RawPicture(), format, m_raw_pictures, data);
    Remember(stream, size, Digest(data, size), 0, true);
}

void VideoStream::Remember(Stream stream, std::size_t size, std::uint64_t digest,
                           std::uint32_t number, bool key)
{
    m_frames.push_back({stream, m_containers, number, size, digest, key, true, 0});
}

void VideoStream::Apply(const Fault& fault)
{
    Bytes& data = m_container.Data();
    m_whole = false;
    switch (fault.action) {
        case FaultAction::kLose:
            data.clear();
            break;
        case FaultAction::kTruncate:
            data.resize(std::min(data.size(), static_cast<std::size_t>(fault.value)));
            break;
        case FaultAction::kPad:
            data.resize(data.size() + static_cast<std::size_t>(fault.value), 0x5A);
            m_whole = true;
            break;
        case FaultAction::kGarble:
            for (const std::size_t header : m_container.Headers())
                for (std::size_t i = 0; i < Container::kHeaderSize; ++i)
                    data[header + i] = static_cast<std::uint8_t>(m_random() >> 8);
            break;
        case FaultAction::kUnplug:
            m_unplug = fault;
            break;
        default:
            m_whole = true;
            break;
    }
}

}  // namespace vcam
