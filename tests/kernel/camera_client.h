// The virtual camera behind the guest's own USB bus, as a test steers it.
#ifndef TESTS_KERNEL_CAMERA_CLIENT_H
#define TESTS_KERNEL_CAMERA_CLIENT_H

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/kernel/usb_tree.h"
#include "virtual_camera/model/traffic.h"

namespace kernel_test
{

/// How long the kernel may take to enumerate a device and bind its drivers.
constexpr std::chrono::seconds kEnumeration{30};

/// A control request as the camera got it.
struct SeenRequest {
    vcam::SetupPacket setup;
    vcam::TransferStatus status;
    std::vector<std::uint8_t> data;
};

class CameraClient
{
public:
    /// Plugs a new camera in, described by the lines of a script, and waits
    /// until the kernel has enumerated it and bound its drivers. False, with a
    /// failure noted, when that does not happen.
    bool Plug(const std::string& script = {});
    /// Waits until a camera is there that was not before, with its drivers.
    bool WaitForArrival(int than_number, unsigned product);
    bool WaitForDeparture();
    /// Leaves no camera behind.
    void Remove();

    /// One command; its answer. Throws std::runtime_error when it is refused.
    std::string Ask(const std::string& command, const std::string& body = {});

    void Unplug() { Ask("unplug"); }
    void UnplugFor(std::chrono::milliseconds time)
    {
        Ask("unplug-for " + std::to_string(time.count()));
    }
    void Replug() { Ask("replug"); }
    void AddFaults(const std::string& lines) { Ask("faults", lines); }
    void ClearTraffic() { Ask("clear-traffic"); }

    std::vector<vcam::SentFrame> Frames();
    std::vector<vcam::SentFrame> Frames(vcam::Stream stream);
    /// Sound since the microphone was started last; the driver starts it twice
    /// for each recording.
    std::vector<vcam::SentFrame> Sound();
    std::vector<SeenRequest> Requests();
    std::uint64_t Containers() { return State("containers"); }
    /// A number of the "state" command.
    std::uint64_t State(const std::string& name);
    std::int64_t ControlValue(unsigned entity, unsigned selector, unsigned field = 0);
};

}  // namespace kernel_test

#endif
