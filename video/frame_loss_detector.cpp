#include "video/frame_loss_detector.h"

#include "runtime/debug_log.h"

namespace {

/// NAL header of a predicted picture (H.264, 7.3.1): nal_ref_idc 2, non-IDR
/// slice; behind a 4-byte start code.
constexpr unsigned kNalHeaderOffset = 4;
constexpr unsigned char kPredictedPicture = 0x41;
constexpr std::uint32_t kDropsBeforeAskingAgain = 6;

bool IsPredicted(const unsigned char* frame, unsigned size)
{
    return size > kNalHeaderOffset && frame[kNalHeaderOffset] == kPredictedPicture;
}

}  // namespace

unsigned int CH264_ErrorDetector::CheckFrame(unsigned char* frame, unsigned int size,
                                             unsigned int frameNumber)
{
    if (size == 0)
        return kDeliver;
    if (frameNumber == 0) {
        m_state = kNormal;
        m_last_frame_number = 0;
        m_drop_count = 0;
        CAM_LOG(kLogDebugging, "CH264_ErrorDetector RESET.\r\n");
        return kDeliver;
    }

    const bool follows = frameNumber == m_last_frame_number + 1;
    m_last_frame_number = frameNumber;
    m_key_frame = !IsPredicted(frame, size);
    if (m_key_frame != 0) {
        m_state = kNormal;
        m_drop_count = 0;
        return kDeliver;
    }

    switch (m_state) {
    case kNormal:
        if (follows)
            return kDeliver;
        m_state = kLossDetected;
        return kFrameLost;
    case kLossDetected:
        m_state = kDropping;
        ++m_drop_count;
        return kDrop;
    default:
        if (++m_drop_count < kDropsBeforeAskingAgain)
            return kDrop;
        m_state = kLossDetected;
        m_drop_count = 0;
        return kFrameLost;
    }
}
