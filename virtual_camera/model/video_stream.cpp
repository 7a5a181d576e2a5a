#include "virtual_camera/model/video_stream.h"

#include <algorithm>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

constexpr unsigned kMainFps = 30, kMainKbps = 2000;
constexpr unsigned kSubFps = 15, kSubKbps = 800;
constexpr FrameSize kSubSize{320, 240};
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
      m_limit(options.container_limit),
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
        if (!m_streaming || (m_limit && m_containers >= m_limit))
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
