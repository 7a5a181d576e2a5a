#include "virtual_camera/vhci/port.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>

namespace vcam::vhci
{
namespace
{

constexpr unsigned kDeviceId = 0x10002;  // bus 1, device 2, which nobody looks at
constexpr unsigned kHighSpeed = 3;
constexpr int kSendBuffer = 1 << 20;
constexpr std::string_view kRootHub = "usb";  // and the number of its bus

}  // namespace

File& File::operator=(File&& other) noexcept
{
    if (this != &other) {
        Close();
        m_descriptor = other.m_descriptor;
        other.m_descriptor = -1;
    }
    return *this;
}

void File::Close()
{
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_descriptor = -1;
}

/// The hub's driver looks at its ports now and then, and takes a device that
/// comes in between for the one that was there.
bool Port::LastDeviceIsListed() const
{
    namespace fs = std::filesystem;
    std::error_code error;
    for (const fs::directory_entry& hub : fs::directory_iterator(m_controller, error)) {
        const std::string name = hub.path().filename().string();
        if (name.compare(0, kRootHub.size(), kRootHub) != 0)
            continue;
        const std::string bus = name.substr(kRootHub.size());
        if (fs::exists(hub.path() / (bus + '-' + std::to_string(m_number + 1)), error))
            return true;
    }
    return false;
}

File Port::Attach() const
{
    if (LastDeviceIsListed())
        return File();
    const std::string path = m_controller + "/attach";
    const File attach(open(path.c_str(), O_WRONLY | O_CLOEXEC));
    if (!attach.Open())
        throw std::runtime_error("virtual camera: cannot open " + path + ": " +
                                 std::strerror(errno));
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw std::runtime_error(std::string("virtual camera: socketpair: ") +
                                 std::strerror(errno));
    File ours(ends[0]);
    const File kernels(ends[1]);
    setsockopt(ours.Get(), SOL_SOCKET, SO_SNDBUF, &kSendBuffer, sizeof kSendBuffer);

    const std::string order = std::to_string(m_number) + ' ' + std::to_string(kernels.Get()) + ' ' +
                              std::to_string(kDeviceId) + ' ' + std::to_string(kHighSpeed);
    if (write(attach.Get(), order.data(), order.size()) == static_cast<ssize_t>(order.size()))
        return ours;
    if (errno != EBUSY)
        throw std::runtime_error("virtual camera: the kernel refuses the device: " +
                                 std::string(std::strerror(errno)));
    return File();
}

}  // namespace vcam::vhci
