#include "host/recording_writer.h"

#include <utility>

#include "host/host_error.h"
#include "host/streams.h"
#include "host/wake_pipe.h"

namespace host {
namespace {

/// The container's tracks are fixed when its head is written, so the head waits
/// for the microphone this long; the sound starts shortly after the picture.
constexpr std::int64_t kSoundWaitUs = 3000000;

const StreamInfo& InfoOf(CAM_STREAM stream)
{
    for (const StreamInfo& info : kStreams) {
        if (info.stream == stream) {
            return info;
        }
    }
    return kStreams.front();
}

}  // namespace

RecordingWriter::RecordingWriter(FrameQueue& queue, const WriterOptions& options)
    : m_queue(queue), m_options(options), m_thread([this] { Run(); })
{
}

RecordingWriter::~RecordingWriter()
{
    m_queue.Close();
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void RecordingWriter::Finish()
{
    m_queue.Close();
    m_thread.join();
    if (m_failure) {
        std::rethrow_exception(m_failure);
    }
}

WriterState RecordingWriter::State() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state;
}

void RecordingWriter::Run()
{
    try {
        Frame frame;
        while (!m_queue.Finished()) {
            if (m_queue.Pop(frame, std::chrono::milliseconds(200))) {
                Handle(frame);
            }
        }
        Close();
    } catch (...) {
        m_failure = std::current_exception();
        m_queue.Close();
    }
    WakePipe::Post(Event::kWriter);
}

void RecordingWriter::Handle(Frame& frame)
{
    switch (InfoOf(frame.stream).kind) {
    case StreamKind::kVideo:
        HandleVideo(frame);
        break;
    case StreamKind::kAudio:
        HandleAudio(frame);
        break;
    case StreamKind::kStill:
        HandleStill(frame);
        break;
    case StreamKind::kRaw:
        HandleRaw(frame);
        break;
    }
}

void RecordingWriter::StartAt(std::int64_t timeUs)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_state.started) {
        m_state.started = true;
        m_state.origin_us = timeUs;
    }
}

void RecordingWriter::HandleVideo(Frame& frame)
{
    const bool isMain = frame.stream == CAM_STREAM_H264_MAIN;
    VideoTrack& track = isMain ? m_main : m_sub;
    const std::int64_t placed = m_video_clock.Place(frame.stamp, frame.arrivalUs);
    Picture picture;
    if (!track.assembler.Add(std::move(frame.data), picture.unit)) {
        return;
    }
    UnitContents contents = ScanUnits(picture.unit);
    picture.key_frame = contents.key_frame;
    if (track.parameter_sets.empty()) {
        // A file that starts within a sequence cannot be decoded.
        if (!contents.key_frame || contents.parameter_sets.empty()) {
            return;
        }
        if (!isMain && m_options.main_expected && m_main.parameter_sets.empty()) {
            return;
        }
        track.parameter_sets = std::move(contents.parameter_sets);
        StartAt(placed);
    }
    track.gaps.Frame(placed);
    picture.timeUs = placed - m_state.origin_us;
    if (picture.timeUs >= m_options.lengthUs) {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_state.complete = m_state.complete || isMain || !m_options.main_expected;
        return;
    }
    if (isMain) {
        WriteMain(picture);
    } else {
        WriteSub(picture);
    }
}

void RecordingWriter::WriteMain(const Picture& picture)
{
    if (!m_main.file) {
        m_waiting.push_back(picture);
        if (m_audio_seen || picture.timeUs - m_waiting.front().timeUs > kSoundWaitUs) {
            OpenMain(m_audio_seen);
        }
        return;
    }
    m_main.cadence.Add(picture.timeUs);
    m_main.unplaced.push_back(picture);
    WritePlaced(m_main, CAM_STREAM_H264_MAIN, false);
}

void RecordingWriter::WritePlaced(VideoTrack& track, CAM_STREAM stream, bool atEnd)
{
    std::int64_t time = 0;
    while (track.cadence.Next(atEnd, time)) {
        const Picture& picture = track.unplaced.front();
        track.file->AddVideo(picture.unit, time, picture.key_frame);
        Count(stream, track.file->Path(), picture.unit.size(), picture.timeUs, track.gaps.Lost());
        track.unplaced.pop_front();
    }
}

void RecordingWriter::OpenMain(bool audio)
{
    m_main.file = std::make_unique<MovieFile>(
        m_options.folder + "/recording.mkv", m_main.parameter_sets,
        m_waiting.empty() ? Bytes() : m_waiting.front().unit, audio);
    for (const Picture& picture : std::exchange(m_waiting, {})) {
        WriteMain(picture);
    }
}

void RecordingWriter::WriteSub(const Picture& picture)
{
    if (!m_sub.file) {
        m_sub.file = std::make_unique<MovieFile>(m_options.folder + "/sub.mkv",
                                                 m_sub.parameter_sets, picture.unit, false);
    }
    m_sub.cadence.Add(picture.timeUs);
    m_sub.unplaced.push_back(picture);
    WritePlaced(m_sub, CAM_STREAM_H264_SUB, false);
}

void RecordingWriter::HandleAudio(Frame& frame)
{
    const std::int64_t placed = m_audio_clock.Place(frame.stamp, frame.arrivalUs);
    const std::int64_t start = m_audio_timeline.Place(placed, frame.data.size());
    m_audio_seen = true;
    if (!m_options.main_expected) {
        StartAt(start);
    }
    const std::int64_t time = start - m_state.origin_us;
    if (!m_state.started || time < 0 || time >= m_options.lengthUs) {
        return;
    }
    if (!m_main.file) {
        OpenMain(true);
    }
    if (!m_main.file->HasAudio()) {
        return;
    }
    m_main.file->AddAudio(frame.data, time);
    Count(CAM_STREAM_PCM, m_main.file->Path(), frame.data.size(), time,
          static_cast<std::uint64_t>(m_audio_timeline.MissingMs()));
}

void RecordingWriter::HandleStill(const Frame& frame)
{
    const bool jpeg = frame.stream == CAM_STREAM_JPEG;
    const std::string path = m_options.folder + (jpeg ? "/still.jpg" : "/mjpeg.jpg");
    WriteWholeFile(path, frame.data);
    Count(frame.stream, path, frame.data.size(), frame.arrivalUs - m_state.origin_us, 0);
}

void RecordingWriter::HandleRaw(const Frame& frame)
{
    if (!m_options.main_expected) {
        StartAt(frame.arrivalUs);
    }
    const std::string stem = m_options.folder + "/" + InfoOf(frame.stream).name;
    const PictureSize size = RawPictureSize(frame.stream, frame.data.size(), m_options.raw_size);
    std::string path = stem + ".png";
    if (size.width != 0) {
        WritePng(path, frame.stream, frame.data, size);
    } else {
        path = stem + ".raw";  // no known size: the bytes are still worth keeping
        WriteWholeFile(path, frame.data);
    }
    Count(frame.stream, path, frame.data.size(), 0, 0);
}

void RecordingWriter::Count(CAM_STREAM stream, const std::string& file, std::size_t bytes,
                            std::int64_t timeUs, std::uint64_t lost)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    StreamTally& tally = m_state.streams[stream];
    tally.file = file;
    ++tally.frames;
    tally.bytes += bytes;
    tally.lost = lost;
    tally.first_us = tally.first_us < 0 ? timeUs : tally.first_us;
    tally.last_us = timeUs;
    m_state.stamp_jumps = m_video_clock.Jumps() + m_audio_clock.Jumps();
}

void RecordingWriter::Close()
{
    if (!m_waiting.empty()) {
        OpenMain(m_audio_seen);
    }
    if (m_main.file) {
        WritePlaced(m_main, CAM_STREAM_H264_MAIN, true);
        m_main.file->Finish();
    }
    if (m_sub.file) {
        WritePlaced(m_sub, CAM_STREAM_H264_SUB, true);
        m_sub.file->Finish();
    }
}

}  // namespace host
