// A port of the kernel's virtual host controller.
#ifndef VIRTUAL_CAMERA_VHCI_PORT_H
#define VIRTUAL_CAMERA_VHCI_PORT_H

#include <string>

namespace vcam::vhci
{

/// A descriptor that is closed once.
class File
{
public:
    File() = default;
    explicit File(int descriptor) : m_descriptor(descriptor) {}
    ~File() { Close(); }
    File(File&& other) noexcept : m_descriptor(other.m_descriptor) { other.m_descriptor = -1; }
    File& operator=(File&& other) noexcept;
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void Close();
    int Get() const { return m_descriptor; }
    bool Open() const { return m_descriptor >= 0; }

private:
    int m_descriptor = -1;
};

class Port
{
public:
    /// `controller`: its folder in sysfs.
    explicit Port(std::string controller, unsigned number = 0)
        : m_controller(std::move(controller)), m_number(number)
    {
    }

    /// Plugs a high-speed device in and gives the server's end of its wire.
    /// Not open while the port is taken: the kernel notices that a device went
    /// away, and lets go of it, only after a while. Throws std::runtime_error
    /// when there is no such controller.
    File Attach() const;

private:
    bool LastDeviceIsListed() const;

    const std::string m_controller;
    const unsigned m_number;
};

}  // namespace vcam::vhci

#endif
