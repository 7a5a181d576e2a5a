#include "host/tv_root.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "host/host_error.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 4> kTvFolders = {"mtd_exe", "mtd_rwarea", "mtd_rwcommon", "dtv"};

HostError ViewError(const std::string& step, int error)
{
    return SystemError("cannot make a private view of the television's paths: " + step, error);
}

bool IsTvFolder(const std::string& name)
{
    for (const char* folder : kTvFolders) {
        if (name == folder) {
            return true;
        }
    }
    return false;
}

void WriteProcFile(const char* path, const std::string& text)
{
    const int fd = open(path, O_WRONLY | O_CLOEXEC);
    const bool written = fd >= 0 && write(fd, text.data(), text.size()) ==
                                        static_cast<ssize_t>(text.size());
    const int error = errno;
    if (fd >= 0) {
        close(fd);
    }
    if (!written) {
        throw ViewError(path, error);
    }
}

void Bind(const std::string& from, const std::string& to)
{
    // Recursive, because a user namespace may not uncover what lies under the
    // machine's own mounts.
    if (mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) != 0) {
        throw ViewError("binding " + from, errno);
    }
}

void UnshareMounts()
{
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWNS) != 0) {
        if (errno != EPERM || unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            throw ViewError("unshare", errno);
        }
        // The kernel lets an ordinary user map its group only once it has given
        // up setgroups.
        WriteProcFile("/proc/self/setgroups", "deny");
        WriteProcFile("/proc/self/uid_map", uid + " " + uid + " 1");
        WriteProcFile("/proc/self/gid_map", gid + " " + gid + " 1");
    }
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
        throw ViewError("making mounts private", errno);
    }
}

void CopyRootEntry(const fs::directory_entry& entry, const std::string& target)
{
    if (entry.is_symlink()) {
        fs::create_symlink(fs::read_symlink(entry.path()), target);
    } else if (entry.is_directory()) {
        fs::create_directory(target);
        Bind(entry.path().string(), target);
    } else if (entry.is_regular_file()) {
        std::ofstream(target).close();
        Bind(entry.path().string(), target);
    }
}

void SwitchRoot(const std::string& root)
{
    std::array<char, PATH_MAX> cwd{};
    const bool haveCwd = getcwd(cwd.data(), cwd.size()) != nullptr;
    if (chdir(root.c_str()) != 0) {
        throw ViewError("entering the new root", errno);
    }
    if (syscall(SYS_pivot_root, ".", ".") == 0) {
        umount2(".", MNT_DETACH);
    } else if (chroot(".") != 0) {  // an initramfs cannot be pivoted away from
        throw ViewError("changing the root", errno);
    }
    if (!haveCwd || chdir(cwd.data()) != 0) {
        if (chdir("/") != 0) {
            throw ViewError("entering the new root", errno);
        }
    }
}

}  // namespace

TvRootFolder::TvRootFolder(const std::string& folder) : m_path(folder), m_temporary(folder.empty())
{
    std::error_code error;
    if (m_temporary) {
        std::string pattern = (fs::temp_directory_path(error) / "camhost-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw SystemError("cannot make " + pattern, errno);
        }
        m_path = pattern;
    }
    for (const char* name : kTvFolders) {
        fs::create_directories(fs::path(m_path) / name, error);
        if (error) {
            throw SystemError("cannot make " + m_path + "/" + name, error.value());
        }
    }
    m_path = fs::canonical(m_path).string();
}

TvRootFolder::~TvRootFolder()
{
    if (m_temporary) {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
}

void TvRootFolder::WriteInfo(const std::string& info) const
{
    std::ofstream file(m_path + "/mtd_exe/.info", std::ios::binary);
    file << info;
    if (!file.flush()) {
        throw HostError(kExitFailed, "cannot write " + m_path + "/mtd_exe/.info");
    }
}

void TvRootFolder::WriteLogLevel(int level) const
{
    const std::string stem = m_path + "/mtd_rwarea/camera_l";
    for (int other = 1; other <= 5; ++other) {
        std::error_code ignored;
        fs::remove(stem + std::to_string(other), ignored);
    }
    std::ofstream(stem + std::to_string(level)).close();
}

void TvRootFolder::Enter() const
{
    UnshareMounts();
    // The folder is about to be covered by the new root, so its parts are held
    // open and bound by descriptor.
    std::array<int, kTvFolders.size()> parts{};
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string part = m_path + "/" + kTvFolders[i];
        parts[i] = open(part.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (parts[i] < 0) {
            throw ViewError(part, errno);
        }
    }
    // Unbindable, so that binding the tree that holds the folder does not copy
    // the new root into itself.
    if (mount("tmpfs", m_path.c_str(), "tmpfs", 0, "mode=755") != 0 ||
        mount(nullptr, m_path.c_str(), nullptr, MS_UNBINDABLE, nullptr) != 0) {
        throw ViewError("mounting a tmpfs on " + m_path, errno);
    }
    for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
        const std::string name = entry.path().filename().string();
        if (!IsTvFolder(name)) {
            CopyRootEntry(entry, m_path + "/" + name);
        }
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const std::string target = m_path + "/" + kTvFolders[i];
        fs::create_directory(target);
        Bind("/proc/self/fd/" + std::to_string(parts[i]), target);
        close(parts[i]);
    }
    SwitchRoot(m_path);
}

}  // namespace host
