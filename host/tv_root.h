// A private view of the television's paths.
//
// The driver works on fixed absolute paths: /mtd_exe, /mtd_rwarea,
// /mtd_rwcommon and /dtv. On a developer's machine they do not exist and must
// not: so the process moves into a mount namespace of its own, whose root is a
// small tmpfs with everything of the machine's root bound into it, and with
// the four television paths bound to folders of the caller's choice. Every
// other path means what it meant before.
#ifndef TORVIK_HOST_TV_ROOT_H
#define TORVIK_HOST_TV_ROOT_H

#include <string>

namespace host {

/// Folder behind the television's paths. A temporary one is removed with the
/// object.
class TvRootFolder {
public:
    /// Empty: a temporary folder. The four sub-folders are made as needed.
    explicit TvRootFolder(const std::string& folder);
    ~TvRootFolder();
    TvRootFolder(const TvRootFolder&) = delete;
    TvRootFolder& operator=(const TvRootFolder&) = delete;

    const std::string& Path() const { return m_path; }
    /// The television's identification, read by the driver's constructor.
    void WriteInfo(const std::string& info) const;
    /// Verbosity of the driver's log, 1 to 5.
    void WriteLogLevel(int level) const;

    /// Moves the whole process into the view. Must run before any thread
    /// starts: a user namespace cannot be entered by one thread of several.
    void Enter() const;

private:
    std::string m_path;
    bool m_temporary;
};

}  // namespace host

#endif
