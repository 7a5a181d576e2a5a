// The camera library, loaded the way a television loads it: by path, with
// three entry points looked up by name.
#ifndef TORVIK_HOST_LIBRARY_H
#define TORVIK_HOST_LIBRARY_H

#include <string>

#include "api/camera_subject.h"

namespace host {

struct LibraryOptions {
    std::string library;         ///< empty: beside camhost, then the loader's own search
    bool use_virtual = false;    ///< with a simulated camera instead of the machine's USB
    std::string stand_in;        ///< the libusb stand-in; empty: beside camhost
    std::string virtual_script;  ///< what the simulated camera shall do wrong
};

class Library {
public:
    /// Throws kExitNoCamera when something cannot be loaded.
    explicit Library(const LibraryOptions& options);
    // Never unloaded: the driver's code may still run when a process is told
    // to end at once.

    ICameraSubject* (*create)() = nullptr;
    int (*version)() = nullptr;
    void (*destroy)(ICameraSubject*) = nullptr;

    const std::string& Path() const { return m_path; }
    /// Any other exported name; throws when it is missing.
    void* Symbol(const char* name) const;

private:
    void* m_handle;
    std::string m_path;
};

}  // namespace host

#endif
