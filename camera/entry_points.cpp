// What the television's framework calls.

#include "api/torvik_camera.h"
#include "camera/camera.h"
#include "runtime/debug_log.h"
#include "runtime/sleep.h"

namespace {

constexpr int kVersion = 138;
constexpr char kBuildTag[] = "2013-03-07-1945";
constexpr char kName[] = "TORVIK";
constexpr unsigned long kCreateSeconds = 1;

}  // namespace

ICameraSubject* cam_create()
{
    PrintDebuggingInit(nullptr);
    CAM_LOG(kLogFatal, "Torvik Driver ver: %s\r\n", kBuildTag);
    CAM_LOG(kLogFatal, "KelLib:: cam_create() \r\n");
    ICameraSubject* const camera = new CKelVeskCamera;
    SleepSeconds(kCreateSeconds);
    return camera;
}

int cam_version()
{
    CAM_LOG(kLogFatal, "%s version %d\n", kName, kVersion);
    return kVersion;
}

void cam_destroy(ICameraSubject* camera)
{
    CAM_LOG(kLogFatal, "KelLib:: cam_destroy() \r\n");
    delete camera;
    PrintDebuggingClose();
}
