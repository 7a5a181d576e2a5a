// The frame-loss rule of an H.264 stream.
#ifndef TORVIK_VIDEO_FRAME_LOSS_DETECTOR_H
#define TORVIK_VIDEO_FRAME_LOSS_DETECTOR_H

#include <cstdint>

/// Watches one stream's frame numbers. After a loss, predicted frames are
/// dropped until the next key frame, so that a decoder sees only complete
/// sequences; the key frame is asked for again after every six dropped frames.
/// One thread.
class CH264_ErrorDetector
{
public:
    enum Verdict : unsigned int {
        kDeliver = 0,
        kFrameLost = 1,  ///< ask for a key frame and drop this one
        kDrop = 2,
    };

    CH264_ErrorDetector() = default;
    virtual ~CH264_ErrorDetector() = default;

    /// Verdict on a frame of `size` bytes. Number 0 restarts the sequence.
    unsigned int CheckFrame(unsigned char* frame, unsigned int size, unsigned int frameNumber);

    /// Drops predicted frames until the next key frame, as after a loss.
    void MarkLost() { m_state = kLossDetected; }
    /// The most recent frame was a key frame; a frame numbered 0 leaves this.
    bool IsKeyFrame() const { return m_key_frame != 0; }

private:
    enum State : std::uint32_t { kNormal = 0, kLossDetected = 1, kDropping = 2 };

    std::uint32_t m_state = kNormal;
    std::uint32_t m_last_frame_number = 0;
    std::uint32_t m_drop_count = 0;
    std::uint8_t m_key_frame = 0;
};

#endif
