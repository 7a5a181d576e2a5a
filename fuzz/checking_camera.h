// A camera object that looks closely at every frame it is given.
#ifndef FUZZ_CHECKING_CAMERA_H
#define FUZZ_CHECKING_CAMERA_H

#include "api/camera_subject.h"
#include "fuzz/check.h"

namespace fuzz {

class CheckingCamera : public ICameraSubject {
public:
    /// The buffer that frames may lie in from now on; null: anywhere.
    void Lend(const unsigned char* data, std::size_t size)
    {
        m_lent = data;
        m_lent_size = size;
    }

    int OnFrameArrival(const CCameraData* frame) override
    {
        FUZZ_CHECK(frame->data != nullptr && frame->size != 0);
        if (m_lent != nullptr) {
            FUZZ_CHECK(frame->data >= m_lent && frame->data < m_lent + m_lent_size);
            FUZZ_CHECK(frame->size <=
                       static_cast<std::size_t>(m_lent + m_lent_size - frame->data));
        }
        ReadAll(frame->data, frame->size);
        switch (frame->stream_type) {
        case CAM_STREAM_PCM:
            FUZZ_CHECK(frame->size == 960);
            break;
        case CAM_STREAM_NV12:
        case CAM_STREAM_GRAY:
            FUZZ_CHECK(frame->format_detail == 12);
            // As the camera object does.
            *frame->crop_info = {frame->crop_flag != 0, 1, 2};
            const_cast<CCameraData*>(frame)->crop_flag = 0;
            break;
        case CAM_STREAM_JPEG:
        case CAM_STREAM_NV21:
        case CAM_STREAM_YUYV:
            FUZZ_CHECK(frame->crop_flag == 0);
            break;
        case CAM_STREAM_H264_MAIN:
        case CAM_STREAM_H264_SUB:
            break;
        default:
            Unknown(frame->stream_type);
        }
        return 1;
    }

    void Init(void (*)(bool), int) override {}
    bool RegisterObserver(ICameraObserver*) override { return false; }
    bool RemoveObserver(ICameraObserver*) override { return false; }
    bool StartRecording() override { return false; }
    bool StopRecording() override { return false; }
    bool SetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetProperty(CAM_PROPERTY, CAM_PROP_VALUE*) override { return false; }
    bool GetCapability(CAM_CAPABILITY) override { return false; }
    bool SetStreamFormat(CAM_STR_FORMAT) override { return false; }
    bool Execute(int, const char**) override { return false; }
    bool StartTest() override { return false; }
    bool StopTest() override { return false; }
    bool PrintStatus() override { return false; }

private:
    static void Unknown(CAM_STREAM stream)
    {
        std::fprintf(stderr, "a frame of stream %u\n", static_cast<unsigned>(stream));
        std::abort();
    }

    const unsigned char* m_lent = nullptr;
    std::size_t m_lent_size = 0;
};

}  // namespace fuzz

#endif
