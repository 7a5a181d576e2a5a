#include "tests/support/tv_root.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace test_support {
namespace {

namespace fs = std::filesystem;

constexpr std::array<const char*, 4> kPrivate{"/mtd_exe", "/mtd_rwarea", "/mtd_rwcommon", "/dtv"};
constexpr const char* kRestarted = "TV_ROOT_RESTARTED";

bool g_active = false;
std::string g_problem = "not entered";

bool Fail(const std::string& step)
{
    g_problem = step + ": " + std::strerror(errno);
    return false;
}

bool IsPrivate(const std::string& path)
{
    for (const std::string root : kPrivate)
        if (path == root || path.compare(0, root.size() + 1, root + "/") == 0)
            return true;
    return false;
}

void CheckPrivate(const std::string& path)
{
    if (!g_active || !IsPrivate(path) || path.find("..") != std::string::npos)
        throw std::logic_error("not in the private view: " + path);
}

bool WriteText(const char* path, const std::string& text)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
        return false;
    const bool done = write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(file);
    return done;
}

/// A mount namespace; for an ordinary user inside a user namespace in which it
/// keeps its own ids.
bool Unshare(char** argv)
{
    if (geteuid() == 0 && unshare(CLONE_NEWNS) == 0)
        return true;
    const std::string uid = std::to_string(geteuid());
    const std::string gid = std::to_string(getegid());
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        // EINVAL: the process has threads. Start over from a program without.
        if (errno == EINVAL && !std::getenv(kRestarted)) {
            setenv(kRestarted, "1", 1);
            const std::string self = fs::read_symlink("/proc/self/exe");
            std::vector<char*> arguments;
            for (const char* word : {"unshare", "--user", "--map-root-user", "--mount", "--"})
                arguments.push_back(const_cast<char*>(word));
            arguments.push_back(const_cast<char*>(self.c_str()));
            for (char** word = argv + 1; *word; ++word)
                arguments.push_back(*word);
            arguments.push_back(nullptr);
            execvp("unshare", arguments.data());
        }
        return Fail("unshare");
    }
    WriteText("/proc/self/setgroups", "deny");
    if (!WriteText("/proc/self/uid_map", uid + " " + uid + " 1") ||
        !WriteText("/proc/self/gid_map", gid + " " + gid + " 1"))
        return Fail("id maps");
    return true;
}

/// Shows one entry of the old root directory in the new one.
bool Mirror(const fs::path& from, const fs::path& to)
{
    std::error_code error;
    const fs::file_status status = fs::symlink_status(from, error);
    if (fs::is_symlink(status)) {
        fs::copy_symlink(from, to, error);
        return !error;
    }
    if (fs::is_directory(status))
        fs::create_directory(to, error);
    else if (fs::is_regular_file(status))
        std::ofstream(to).flush();
    else
        return true;
    return mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0 ||
           errno == EACCES || errno == EPERM;  // what this user cannot reach stays hidden
}

/// A directory to build the new root in; what it shows is hidden meanwhile.
fs::path Workplace()
{
    for (const char* candidate : {"/mnt", "/media", "/srv", "/opt"}) {
        std::error_code error;
        if (fs::is_directory(candidate, error) && fs::is_empty(candidate, error) && !error)
            return candidate;
    }
    return "/sys";  // no test looks into it
}

bool BuildRoot(const fs::path& root)
{
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return Fail("private mounts");
    if (mount("tmpfs", root.c_str(), "tmpfs", MS_NODEV | MS_NOSUID, "mode=755") != 0)
        return Fail("tmpfs");
    for (const fs::directory_entry& entry : fs::directory_iterator("/")) {
        const fs::path copy = root / entry.path().filename();
        if (entry.path() == root)
            fs::create_directory(copy);
        else if (!IsPrivate(entry.path()) && !Mirror(entry.path(), copy))
            return Fail("mirror of " + entry.path().string());
    }
    for (const char* directory : kPrivate)
        fs::create_directory(root / (directory + 1));
    return true;
}

}  // namespace

bool TvRoot::Enter(char** argv)
{
    const std::string here = fs::current_path();
    const bool restarted = std::getenv(kRestarted) != nullptr;
    if (!restarted && !Unshare(argv))
        return false;
    const fs::path root = Workplace();
    if (!BuildRoot(root))
        return false;
    if (chroot(root.c_str()) != 0 || chdir(here.c_str()) != 0)
        return Fail("change of root");
    g_active = true;
    return true;
}

bool TvRoot::Active()
{
    return g_active;
}

const std::string& TvRoot::Problem()
{
    return g_problem;
}

void TvRoot::Clear()
{
    CheckPrivate(kPrivate.front());
    for (const char* directory : kPrivate)
        for (const fs::directory_entry& entry : fs::directory_iterator(directory))
            fs::remove_all(entry.path());
}

void TvRoot::Write(const std::string& path, const std::string& content)
{
    CheckPrivate(path);
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content;
    file.flush();
    if (!file)
        throw std::runtime_error("cannot write " + path);
}

std::string TvRoot::Read(const std::string& path)
{
    CheckPrivate(path);
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool TvRoot::Exists(const std::string& path)
{
    CheckPrivate(path);
    return fs::exists(path);
}

void TvRoot::Remove(const std::string& path)
{
    CheckPrivate(path);
    fs::remove_all(path);
}

}  // namespace test_support
