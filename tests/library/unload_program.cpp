// What a host finds that unloads the camera library: everything is unloaded
// with it, unless a boot loader made it leave a libusb context open, whose
// thread must go on having libusb.
//
//   unload_program LIBRARY camera|boot-loader-uvc
//
// Or of a host that destroys its camera when the process ends, after the
// library's own mutexes are gone:
//
//   unload_program LIBRARY at-exit
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>

#include "tests/support/camera_library.h"
#include "tests/support/tv_root.h"

namespace {

constexpr char kLibusb[] = "libusb-1.0.so.0";

std::promise<void> g_told;

/// What the exit handler destroys. Both stay until the process ends.
ICameraSubject* g_camera = nullptr;
test_support::CameraLibrary* g_library = nullptr;

void DestroyAtExit()
{
    if (g_camera != nullptr)
        g_library->Destroy(g_camera);
}

void OnInit(bool /*ready*/)
{
    g_told.set_value();
}

bool IsLoaded(const char* library)
{
    void* const handle = dlopen(library, RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr)
        dlclose(handle);
    return handle != nullptr;
}

bool Expect(bool expected, const char* library)
{
    const bool seen = IsLoaded(library);
    if (seen != expected)
        std::fprintf(stderr, "%s is %sloaded\n", library, seen ? "" : "not ");
    return seen == expected;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    if (!test_support::TvRoot::Enter(argv)) {
        std::fprintf(stderr, "no private root: %s\n", test_support::TvRoot::Problem().c_str());
        return 1;
    }
    // Before the library is loaded, so that it runs after the library's own.
    std::atexit(DestroyAtExit);
    auto library = std::make_unique<test_support::CameraLibrary>(argv[1]);
    const bool loaded = Expect(true, argv[1]) & Expect(true, kLibusb);
    ICameraSubject* const camera = library->Create();
    camera->Init(OnInit, 0);
    g_told.get_future().wait();
    if (argv[2] == std::string("at-exit")) {
        g_camera = camera;
        g_library = library.release();
        return loaded ? 0 : 1;
    }
    library->Destroy(camera);
    library.reset();

    const bool left_open = argv[2] == std::string("boot-loader-uvc");
    const bool unloaded = Expect(false, argv[1]) & Expect(left_open, kLibusb);
    return loaded && unloaded ? 0 : 1;
}
