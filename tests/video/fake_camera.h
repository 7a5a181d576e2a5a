// Both neighbours of the video capture thread: a source of frames that follows
// a script, and a camera object that keeps what is delivered to it.
#ifndef TESTS_VIDEO_FAKE_CAMERA_H
#define TESTS_VIDEO_FAKE_CAMERA_H

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "api/camera_subject.h"
#include "tests/video/container_builder.h"
#include "video/video_capture.h"

/// A camera object without a camera.
class BareCamera : public ICameraSubject {
public:
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
};

/// A delivery as it arrived.
struct Delivery {
    CAM_STREAM stream = CAM_STREAM_PCM;
    Bytes data;
    const unsigned char* address = nullptr;
    std::uint32_t third = 0;
    std::uint32_t detail = 0;
    bool has_crop_info = false;
    CCameraCropInfo crop_info{};
};

class CollectingCamera : public BareCamera {
public:
    int OnFrameArrival(const CCameraData* data) override
    {
        Delivery delivery;
        delivery.stream = data->stream_type;
        delivery.data.assign(data->data, data->data + data->size);
        delivery.address = data->data;
        delivery.third = data->timestamp;
        delivery.detail = data->format_detail;
        delivery.has_crop_info = data->crop_info != nullptr;
        if (delivery.has_crop_info)
            delivery.crop_info = *data->crop_info;
        deliveries.push_back(std::move(delivery));
        if (then)
            then(*data);
        return 1;
    }
    std::vector<CAM_STREAM> Streams() const
    {
        std::vector<CAM_STREAM> streams;
        for (const Delivery& delivery : deliveries)
            streams.push_back(delivery.stream);
        return streams;
    }

    std::vector<Delivery> deliveries;
    std::function<void(const CCameraData&)> then;
};

/// Gives out frames in order, an empty one as no frame, and runs `at_end` when
/// it is asked for more.
class ScriptedCapture : public IVideoCapture {
public:
    int GetFrameBuf(unsigned char** data, unsigned int* size) override
    {
        if (frames.empty()) {
            *data = nullptr;
            *size = 0;
            ended = true;
            at_end();
            return 0;
        }
        m_lent = std::move(frames.front());
        frames.pop_front();
        m_lent.resize(m_lent.size() + 4);  // the slack of a real frame buffer
        *size = static_cast<unsigned>(m_lent.size() - 4);
        *data = *size == 0 ? nullptr : m_lent.data();
        if (before_frame)
            before_frame();
        if (*size > 0)
            ++lent;
        return static_cast<int>(*size);
    }
    int RetFrameBuf() override
    {
        ++returned;
        return 0;
    }
    int RequestKeyFrame() override
    {
        ++key_frame_requests;
        return 1;
    }

    bool ConfigureDev(unsigned, unsigned, unsigned, unsigned) override { return false; }
    int UnConfigureDev() override { return 0; }
    int CaptureFrame(unsigned char*, unsigned) override { return 0; }
    int CaptureFrame(MediaSample&) override { return 0; }
    int SetBitrate(unsigned) override { return 0; }
    int SetFramerate(unsigned) override { return 0; }
    int SetPTZ(unsigned, int) override { return 0; }
    int GetPTZ(unsigned, int*) override { return 0; }
    bool ResetStream() override { return false; }
    int SetPU(unsigned, int) override { return 0; }

    std::deque<Bytes> frames;
    std::function<void()> at_end;
    std::function<void()> before_frame;
    int lent = 0;
    int returned = 0;
    int key_frame_requests = 0;
    bool ended = false;

private:
    Bytes m_lent;
};

#endif
