#include "virtual_camera/model/video_stream.h"

#include <algorithm>
#include <cstring>

#include "virtual_camera/model/topology.h"

namespace vcam
{
namespace
{

constexpr unsigned kMainFps = 30, kMainKbps = 2000;
constexpr unsigned kSubFps = 15, kSubKbps = 800;
constexpr FrameSize kSubSize{320, 240};
/// Lanes due so close to each other share a container.
constexpr TimeUs kTogether = 2000;
constexpr TimeUs kStillTime = 500000;
/// A host so far behind is not sent everything that it missed.
constexpr TimeUs kFarBehind = 2000000;

}  // namespace

VideoStream::VideoStream(const CameraOptions& options, const Media& media, FaultPlan& faults,
                         Traffic& traffic)
    : m_options(options),
      m_media(media),
      m_faults(faults),
      m_traffic(traffic),
      m_encoders{Encoder(media, kMainFps, kMainKbps), Encoder(media, kSubFps, kSubKbps)},
      m_container(options.data_alignment),
      m_random(options.seed)
{
}

void VideoStream::Reset()
{
    m_streaming = false;
    m_encoders = {Encoder(m_media, kMainFps, kMainKbps), Encoder(m_media, kSubFps, kSubKbps)};
    m_signal = kPowerOnSignal;
    m_crop_flag = 0;
    m_still_wanted = false;
    m_unplug.reset();
    m_frames.clear();
}

void VideoStream::Start(const StreamParameters& parameters, TimeUs now)
{
    m_parameters = parameters;
    m_start = m_options.video_paced ? now + m_options.startup_time : now;
    m_time = 0;
    m_containers = 0;
    m_whole = true;
    m_frames.clear();

    const FrameSize size = kFrameSizes[parameters.frame - 1U];
    const FrameSize sub_size = size.width < kSubSize.width ? size : kSubSize;
    Encoder& main = m_encoders[kMainEncoder];
    Encoder& sub = m_encoders[kSubEncoder];
    main.SetFrameRate((10000000 + parameters.interval / 2) / parameters.interval);
    main.Start(size.width, size.height, m_options.first_frame_number);
    sub.Start(sub_size.width, sub_size.height, m_options.first_frame_number);
    m_main_beat.Start(0, main.FrameRate());
    m_sub_beat.Start(0, sub.FrameRate());
    m_raw_beat.Start(0, m_options.raw_fps);
    m_cutter.Start(parameters.max_payload_size, m_options.end_of_frame);
    m_streaming = true;
}

void VideoStream::Stop()
{
    m_streaming = false;
    m_frames.clear();
}

VideoStream::Lanes VideoStream::ActiveLanes() const
{
    if (m_parameters.format != kFormatMultiplexed)
        return {false, false, true};
    const Signal& signal = kSignals[m_signal];
    return {signal.main, signal.sub,
            signal.gray || signal.nv12 || signal.nv21 || signal.yuy2 || signal.jpeg};
}

bool VideoStream::SetSignal(std::uint8_t type)
{
    if (type >= kSignals.size())
        return false;
    const Lanes before = ActiveLanes();
    m_signal = type;
    const Lanes after = ActiveLanes();
    const auto begin = [this](bool was, bool is, Cadence& beat, unsigned rate) {
        if (!was && is)
            beat.Start(m_time, rate);
    };
    begin(before.main, after.main, m_main_beat, m_encoders[kMainEncoder].FrameRate());
    begin(before.sub, after.sub, m_sub_beat, m_encoders[kSubEncoder].FrameRate());
    begin(before.raw, after.raw, m_raw_beat, m_options.raw_fps);
    return true;
}

void VideoStream::SetFrameRate(Target target, unsigned fps)
{
    if (fps == 0)
        return;
    m_encoders[target].SetFrameRate(fps);
    (target == kMainEncoder ? m_main_beat : m_sub_beat).SetRate(m_encoders[target].FrameRate());
}

void VideoStream::SetBitRate(Target target, unsigned kbps)
{
    m_encoders[target].SetBitRate(kbps);
}

void VideoStream::RequestKey()
{
    for (Encoder& encoder : m_encoders) encoder.RequestKey();
}

TimeUs VideoStream::NextDue() const
{
    const Lanes lanes = ActiveLanes();
    TimeUs due = kNever;
    if (lanes.main)
        due = std::min(due, m_main_beat.Due());
    if (lanes.sub)
        due = std::min(due, m_sub_beat.Due());
    if (lanes.raw)
        due = std::min(due, m_raw_beat.Due());
    return due;
}

TimeUs VideoStream::Prepare(TimeUs now)
{
    while (m_cutter.Done()) {
        if (!m_streaming ||
            (m_options.container_limit && m_containers >= m_options.container_limit))
            return kNever;
        const TimeUs due = NextDue();
        if (m_options.video_paced) {
            if (m_start + due > now)
                return m_start + due;
            if (now - (m_start + due) > kFarBehind)
                m_start = now - due;
        }
        ++m_containers;
        MakeContainer(due);
        if (const auto fault = m_faults.Event(FaultPoint::kContainer))
            Apply(*fault);
        if (m_unplug)
            return 0;
        if (m_container.Data().empty())
            FinishContainer(now, false);
        else
            m_cutter.Load(m_container.Data(), due);
    }
    return 0;
}

std::optional<Fault> VideoStream::TakeUnplug()
{
    std::optional<Fault> unplug;
    unplug.swap(m_unplug);
    return unplug;
}

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

std::size_t VideoStream::Take(unsigned char* to, std::size_t capacity,
                              const PayloadCutter::Twist& twist, TimeUs now)
{
    if (m_cutter.AtPayloadStart() && m_cutter.Hurts(twist))
        m_whole = false;
    const std::size_t taken = m_cutter.Take(to, capacity, twist);
    if (m_cutter.Done())
        FinishContainer(now, m_whole);
    return taken;
}

void VideoStream::LosePayload(TimeUs now)
{
    PayloadCutter::Twist nothing_left;
    nothing_left.cut = 0;
    Take(nullptr, 0, nothing_left, now);
}

void VideoStream::FinishContainer(TimeUs now, bool whole)
{
    for (SentFrame& frame : m_frames) {
        frame.whole = whole;
        frame.at = now;
        m_traffic.Add(frame);
    }
    m_frames.clear();
}

}  // namespace vcam
