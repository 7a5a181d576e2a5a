// Turns the queue of frames into files, on a thread of its own.
#ifndef TORVIK_HOST_RECORDING_WRITER_H
#define TORVIK_HOST_RECORDING_WRITER_H

#include <cstdint>
#include <deque>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "host/audio_timeline.h"
#include "host/cadence.h"
#include "host/frame_queue.h"
#include "host/gap_counter.h"
#include "host/movie_file.h"
#include "host/picture_file.h"
#include "host/stream_clock.h"

namespace host {

struct WriterOptions {
    std::string folder;
    std::int64_t lengthUs = 0;
    bool main_expected = true;  ///< the recording starts with its first key frame
    PictureSize raw_size;       ///< tried first for raw images
    unsigned main_fps = 0;      ///< nominal frames per second, 0 when not known
    unsigned sub_fps = 0;
};

/// What one stream has come to.
struct StreamTally {
    std::string file;
    std::uint64_t frames = 0;
    std::uint64_t bytes = 0;
    std::uint64_t lost = 0;      ///< frames, or milliseconds of sound
    std::int64_t first_us = -1;  ///< from the start of the recording
    std::int64_t last_us = -1;
};

struct WriterState {
    bool started = false;       ///< the first key frame is there
    bool complete = false;      ///< the asked-for length is reached
    std::int64_t origin_us = 0;  ///< monotonic time of the start
    unsigned stamp_jumps = 0;
    std::map<CAM_STREAM, StreamTally> streams;
};

class RecordingWriter {
public:
    RecordingWriter(FrameQueue& queue, const WriterOptions& options);
    ~RecordingWriter();
    RecordingWriter(const RecordingWriter&) = delete;
    RecordingWriter& operator=(const RecordingWriter&) = delete;

    /// Writes what is left, closes the files and throws what went wrong.
    void Finish();
    WriterState State() const;

private:
    struct Picture {
        Bytes unit;
        std::int64_t timeUs = 0;
        bool key_frame = false;
    };
    struct VideoTrack {
        explicit VideoTrack(unsigned fps) : cadence(fps) {}
        AccessUnitAssembler assembler;
        Cadence cadence;
        std::deque<Picture> unplaced;  ///< those that the cadence has not placed yet
        GapCounter gaps;
        Bytes parameter_sets;
        std::unique_ptr<MovieFile> file;
    };

    void Run();
    void Handle(Frame& frame);
    void HandleVideo(Frame& frame);
    void HandleAudio(Frame& frame);
    void HandleStill(const Frame& frame);
    void HandleRaw(const Frame& frame);
    void StartAt(std::int64_t timeUs);
    void OpenMain(bool audio);
    void WriteMain(const Picture& picture);
    void WriteSub(const Picture& picture);
    void WritePlaced(VideoTrack& track, CAM_STREAM stream, bool atEnd);
    void Close();
    void Count(CAM_STREAM stream, const std::string& file, std::size_t bytes, std::int64_t timeUs,
               std::uint64_t lost);

    FrameQueue& m_queue;
    const WriterOptions m_options;

    // Writing thread only.
    StreamClock m_video_clock;  ///< main and sub share a capture thread
    StreamClock m_audio_clock;
    AudioTimeline m_audio_timeline;
    VideoTrack m_main{m_options.main_fps};
    VideoTrack m_sub{m_options.sub_fps};
    std::deque<Picture> m_waiting;  ///< main pictures, until the sound has shown up
    bool m_audio_seen = false;
    std::exception_ptr m_failure;  ///< read after the join

    mutable std::mutex m_mutex;  ///< guards m_state
    WriterState m_state;

    std::thread m_thread;  ///< last: starts when all else stands
};

}  // namespace host

#endif
