// The shipped library, loaded as a television loads it. Its libusb is the
// stand-in that this process already has.
#ifndef TESTS_SUPPORT_CAMERA_LIBRARY_H
#define TESTS_SUPPORT_CAMERA_LIBRARY_H

#include <dlfcn.h>

#include <stdexcept>
#include <string>

#include "api/camera_subject.h"

namespace test_support {

class CameraLibrary {
public:
    explicit CameraLibrary(const std::string& path)
        : m_library(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL))
    {
        if (!m_library)
            throw std::runtime_error(dlerror());
        Create = Function<ICameraSubject*()>("cam_create");
        Destroy = Function<void(ICameraSubject*)>("cam_destroy");
        Version = Function<int()>("cam_version");
    }
    ~CameraLibrary() { dlclose(m_library); }
    CameraLibrary(const CameraLibrary&) = delete;
    CameraLibrary& operator=(const CameraLibrary&) = delete;

    /// A function that the library exports by this (mangled) name.
    template <typename Signature>
    Signature* Function(const char* name) const
    {
        void* const found = dlsym(m_library, name);
        if (!found)
            throw std::runtime_error(std::string("not exported: ") + name);
        return reinterpret_cast<Signature*>(found);
    }

    ICameraSubject* (*Create)() = nullptr;
    void (*Destroy)(ICameraSubject*) = nullptr;
    int (*Version)() = nullptr;

private:
    void* m_library;
};

#ifdef TORVIK_CAMERA_LIBRARY
/// The library of this build, for tests made with torvik_blackbox_test.
inline CameraLibrary LoadCameraLibrary()
{
    return CameraLibrary(TORVIK_CAMERA_LIBRARY);
}
#endif

}  // namespace test_support

#endif
