// Stored properties.

#include <memory>

#include "api/torvik_camera.h"
#include "bench/allocations.h"
#include "bench/benches.h"
#include "bench/report.h"

namespace bench {
namespace {

constexpr int kCalls = 1000000;

template <typename Call>
void Measure(const char* name, Call call)
{
    const Counts before = CountsNow();
    const double start = ThreadCpuSeconds();
    for (int i = 0; i < kCalls; ++i)
        call(i);
    const double seconds = ThreadCpuSeconds() - start;
    const Counts after = CountsNow();
    Figure(std::string(name) + ", per call", seconds / kCalls * 1e9, "ns");
    Figure(std::string(name) + ", allocations",
           static_cast<double>(after.allocations - before.allocations), "", "0");
}

}  // namespace

void PropertiesBench()
{
    Heading("Stored properties");
    ICameraSubject* const camera = cam_create();
    Measure("GetProperty(BITRATE)", [camera](int) {
        CAM_PROP_VALUE value = {};
        camera->GetProperty(CAM_PROPERTY_BITRATE, &value);
    });
    Measure("SetProperty(AUDIO_RATE)", [camera](int i) {
        CAM_PROP_VALUE value = {i, {0, 0}};
        camera->SetProperty(CAM_PROPERTY_AUDIO_RATE, &value);
    });
    cam_destroy(camera);
}

}  // namespace bench
