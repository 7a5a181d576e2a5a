#include "host/library.h"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

#include "host/host_error.h"

#ifndef CAMHOST_BUILT_STAND_IN
#define CAMHOST_BUILT_STAND_IN ""
#endif

namespace host {
namespace {

namespace fs = std::filesystem;

/// First existing of the places beside the program, else the bare name, which
/// the dynamic loader searches.
std::string FindBeside(const std::string& name, const std::vector<std::string>& folders)
{
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (const std::string& folder : folders) {
        const fs::path candidate = program.parent_path() / folder / name;
        if (!error && fs::exists(candidate)) {
            return candidate.lexically_normal().string();
        }
    }
    return name;
}

void* Load(const std::string& path, int flags, const std::string& role)
{
    void* handle = dlopen(path.c_str(), flags);
    if (handle == nullptr) {
        throw HostError(kExitNoCamera, "cannot load the " + role + ": " + dlerror());
    }
    return handle;
}

void LoadStandIn(const LibraryOptions& options)
{
    if (!options.virtual_script.empty()) {
        std::error_code error;
        if (!fs::is_regular_file(options.virtual_script, error)) {
            throw HostError(kExitUsage, "no such script: " + options.virtual_script);
        }
        setenv("VCAM_SCRIPT", fs::absolute(options.virtual_script).c_str(), 1);
    }
    std::string path = options.stand_in;
    if (path.empty()) {
        path = CAMHOST_BUILT_STAND_IN;
        if (path.empty() || !fs::exists(path)) {
            path = FindBeside("libusb-1.0.so.0", {"../lib/camhost", "."});
        }
    }
    // In the global scope and first: its SONAME is that of the USB library, so
    // the camera library's need for that one is already met.
    Load(path, RTLD_NOW | RTLD_GLOBAL, "virtual camera");
}

}  // namespace

Library::Library(const LibraryOptions& options)
{
    if (options.use_virtual) {
        LoadStandIn(options);
    }
    m_path = options.library.empty() ? FindBeside("libtorvik_camera.so", {"../lib", "."})
                                     : options.library;
    // A name without a slash would be looked for on the loader's path only.
    std::error_code error;
    if (m_path.find('/') == std::string::npos && fs::exists(m_path, error)) {
        m_path = "./" + m_path;
    }
    m_handle = Load(m_path, RTLD_NOW | RTLD_LOCAL, "camera library");
    create = reinterpret_cast<ICameraSubject* (*)()>(Symbol("cam_create"));
    version = reinterpret_cast<int (*)()>(Symbol("cam_version"));
    destroy = reinterpret_cast<void (*)(ICameraSubject*)>(Symbol("cam_destroy"));
}

void* Library::Symbol(const char* name) const
{
    void* symbol = dlsym(m_handle, name);
    if (symbol == nullptr) {
        throw HostError(kExitNoCamera, m_path + " is no camera library: it has no " + name);
    }
    return symbol;
}

}  // namespace host
