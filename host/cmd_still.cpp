// camhost still
#include "host/camera_session.h"
#include "host/commands.h"
#include "host/frame_observer.h"
#include "host/host_error.h"
#include "host/picture_file.h"
#include "host/property_table.h"

namespace host {
namespace {

constexpr std::chrono::milliseconds kOneTry{2000};
constexpr int kTries = 5;

const StreamInfo& JpegStream()
{
    for (const StreamInfo& info : kStreams) {
        if (info.stream == CAM_STREAM_JPEG) {
            return info;
        }
    }
    throw HostError(kExitFailed, "no JPEG stream");
}

/// False when the person asked to stop or the camera went.
bool TakePicture(WakePipe& events, ICameraSubject& camera, FrameQueue& queue, Frame& frame)
{
    for (int i = 0; i < kTries; ++i) {
        CAM_PROP_VALUE value = {1, {0, 0}};
        camera.SetProperty(CAM_PROPERTY_TRIGGER_JPEG, &value);
        if (queue.Pop(frame, kOneTry)) {
            return true;
        }
        const Event event = events.Wait(std::chrono::milliseconds(0));
        if (event == Event::kInterrupt || event == Event::kLost) {
            return false;
        }
    }
    return false;
}

}  // namespace

int RunStill(Host& host, const StillOptions& options)
{
    const PropertyInfo& resolution = PropertyByName("resolution");
    CAM_PROP_VALUE size = {0, {0, 0}};
    if (!options.size.empty()) {
        size = ParsePropertyValue(resolution, {options.size});
    }
    FrameQueue queue;
    FrameObserver observer(JpegStream(), queue);
    CameraSession session(host.Lib());
    session.MustOpen(host.events);
    if (session->GetCapability(CAM_CAPABILITY_SIGNAL_TYPE)) {
        CAM_PROP_VALUE signal = {CAM_SIGNAL_H264_GRAY_JPEG, {0, 0}};
        session->SetProperty(CAM_PROPERTY_SIGNAL_TYPE, &signal);
    }
    if (!options.size.empty()) {
        session->SetProperty(resolution.id, &size);
    }
    session->RegisterObserver(&observer);
    if (!session->StartRecording()) {
        throw HostError(kExitFailed, "the camera does not start recording");
    }
    Frame frame;
    const bool taken = TakePicture(host.events, session.Camera(), queue, frame);
    session->StopRecording();
    session->RemoveObserver(&observer);
    if (!taken) {
        throw HostError(kExitFailed, host.events.Interrupted()
                                         ? "interrupted"
                                         : "the camera sent no still picture");
    }
    WriteWholeFile(options.out, frame.data);
    host.console.Line(options.out + ": " + std::to_string(frame.data.size()) + " bytes");
    return kExitOk;
}

}  // namespace host
