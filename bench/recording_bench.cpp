// A paced recording of 1280x720 at 30 frames/s with sub stream, GRAY pictures
// and microphone: CPU time of the library's threads, that of the simulated
// device apart.

#include <atomic>
#include <thread>

#include "api/torvik_camera.h"
#include "bench/allocations.h"
#include "bench/benches.h"
#include "bench/flat_libusb.h"
#include "bench/report.h"
#include "virtual_camera/model/camera_model.h"

namespace bench {
namespace {

std::atomic<bool> g_ready{false};

class CountingObserver : public ICameraObserver {
public:
    explicit CountingObserver(CAM_STREAM type) { stream = type; }
    int OnFrame(const CCameraData* data) override
    {
        ++frames;
        bytes += data->size;
        return 0;
    }
    std::atomic<std::uint64_t> frames{0};
    std::atomic<std::uint64_t> bytes{0};
};

void Sleep(double seconds)
{
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

}  // namespace

void RecordingBench(double seconds)
{
    Heading("Recording 1280x720 at 30 frames/s, sub, GRAY and microphone");
    const auto device = std::make_shared<vcam::CameraModel>();
    UseDevice(device);
    ICameraSubject* const camera = cam_create();
    CountingObserver main(CAM_STREAM_H264_MAIN);
    CountingObserver sub(CAM_STREAM_H264_SUB);
    CountingObserver gray(CAM_STREAM_GRAY);
    CountingObserver pcm(CAM_STREAM_PCM);
    for (CountingObserver* const observer : {&main, &sub, &gray, &pcm})
        camera->RegisterObserver(observer);
    camera->Init([](bool ready) { g_ready = ready; }, 0);
    for (int i = 0; i < 300 && !g_ready; ++i)
        Sleep(0.1);
    // Dual H.264 brings the microphone; the device is told to add GRAY below.
    CAM_PROP_VALUE value = {0, {0, 0}};
    camera->SetProperty(CAM_PROPERTY_VIDEOMODE, &value);
    value.value = 720 << 16 | 1280;
    camera->SetProperty(CAM_PROPERTY_RESOLUTION, &value);
    camera->StartRecording();
    unsigned char gray_signal[16] = {1, CAM_SIGNAL_H264_H264_GRAY};
    device->Control({0x21, 1, 14 << 8, 6 << 8, 16}, gray_signal, 0);
    Sleep(2);

    const Counts before = CountsNow();
    const double wall = WallSeconds();
    const double cpu = ProcessCpuSeconds();
    const double device_cpu = DeviceCpuSeconds();
    const std::uint64_t frames[] = {main.frames, sub.frames, gray.frames, pcm.frames};
    const std::uint64_t bytes = main.bytes + sub.bytes + gray.bytes + pcm.bytes;
    Sleep(seconds);
    const double wall_used = WallSeconds() - wall;
    const double cpu_used = ProcessCpuSeconds() - cpu;
    const double device_used = DeviceCpuSeconds() - device_cpu;
    const Counts after = CountsNow();

    Figure("main frames/s", static_cast<double>(main.frames - frames[0]) / wall_used, "");
    Figure("sub frames/s", static_cast<double>(sub.frames - frames[1]) / wall_used, "");
    Figure("GRAY frames/s", static_cast<double>(gray.frames - frames[2]) / wall_used, "");
    Figure("PCM frames/s", static_cast<double>(pcm.frames - frames[3]) / wall_used, "");
    Figure("delivered",
           static_cast<double>(main.bytes + sub.bytes + gray.bytes + pcm.bytes - bytes) /
               wall_used * 1e-6,
           "MB/s");
    Figure("CPU of the library (and of its bare event loop)",
           (cpu_used - device_used) / wall_used * 100, "% core", "under 3");
    Figure("CPU of the simulated device", device_used / wall_used * 100, "% core");
    Figure("formatted log lines per second",
           static_cast<double>(after.formatted - before.formatted) / wall_used, "", "0");

    camera->StopRecording();
    cam_destroy(camera);
    UseDevice(nullptr);
}

}  // namespace bench
