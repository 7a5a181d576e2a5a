#include "tests/kernel/camera_client.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "tests/support/wait_until.h"
#include "virtual_camera/vhci/control_socket.h"

namespace kernel_test
{
namespace
{

constexpr char kSocket[] = "/run/vcam.socket";

/// The camera's own functions have stock drivers, a boot loader has none.
bool DriversAreBound(const UsbDevice& device)
{
    return device.product != TORVIK_CAM_PRODUCT_ID ||
           (DriverOf(device, 1) == "uvcvideo" && DriverOf(device, 3) == "snd-usb-audio" &&
            !FindEntry("/dev", "video0").empty() && !FindEntry("/dev/snd", "pcm").empty());
}

std::vector<std::uint8_t> FromHex(const std::string& text)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2)
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

}  // namespace

std::string CameraClient::Ask(const std::string& command, const std::string& body)
{
    const std::string answer = vcam::vhci::AskServer(kSocket, command + '\n' + body);
    if (answer.compare(0, 3, "ok\n") != 0)
        throw std::runtime_error(command + ": " + (answer.empty() ? "no answer" : answer));
    return answer.substr(3);
}

bool CameraClient::Plug(const std::string& script)
{
    const auto before = FindCamera();
    const bool boot_loader = script.find("boot-loader") != std::string::npos;
    Ask("plug", script);
    return WaitForArrival(before ? before->number : 0,
                          boot_loader ? TORVIK_CAM_BOOT_PRODUCT_ID : TORVIK_CAM_PRODUCT_ID);
}

bool CameraClient::WaitForArrival(int than_number, unsigned product)
{
    const auto arrived = [than_number, product] {
        const auto found = FindCamera();
        return found && found->number != than_number && found->product == product &&
               DriversAreBound(*found);
    };
    if (test_support::WaitUntil(arrived, kEnumeration))
        return true;
    const auto found = FindCamera();
    ADD_FAILURE() << "the camera was not enumerated; "
                  << (found ? "drivers: " + DriversOf(*found) + "number " +
                                  std::to_string(found->number) + ", not " +
                                  std::to_string(than_number)
                            : std::string("no such device"));
    return false;
}

bool CameraClient::WaitForDeparture()
{
    return test_support::WaitUntil([] { return !FindCamera(); }, kEnumeration);
}

void CameraClient::Remove()
{
    Ask("remove");
    WaitForDeparture();
}

std::vector<vcam::SentFrame> CameraClient::Frames()
{
    std::vector<vcam::SentFrame> frames;
    std::istringstream lines(Ask("frames"));
    unsigned stream = 0;
    vcam::SentFrame frame{};
    while (lines >> stream >> frame.container >> frame.number >> frame.size >> frame.digest >>
           frame.key >> frame.whole) {
        frame.stream = static_cast<vcam::Stream>(stream);
        frames.push_back(frame);
    }
    return frames;
}

std::vector<vcam::SentFrame> CameraClient::Frames(vcam::Stream stream)
{
    std::vector<vcam::SentFrame> frames = Frames();
    frames.erase(
        std::remove_if(frames.begin(), frames.end(),
                       [stream](const vcam::SentFrame& frame) { return frame.stream != stream; }),
        frames.end());
    return frames;
}

std::vector<vcam::SentFrame> CameraClient::Sound()
{
    std::vector<vcam::SentFrame> frames = Frames(vcam::Stream::kPcm);
    const auto start =
        std::find_if(frames.rbegin(), frames.rend(),
                     [](const vcam::SentFrame& frame) { return frame.container == 1; });
    if (start != frames.rend())
        frames.erase(frames.begin(), start.base() - 1);
    return frames;
}

std::vector<SeenRequest> CameraClient::Requests()
{
    std::vector<SeenRequest> requests;
    std::istringstream lines(Ask("requests"));
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        unsigned type = 0, request = 0, value = 0, index = 0, length = 0;
        int status = 0;
        std::string bytes;
        words >> std::hex >> type >> request >> value >> index >> length >> std::dec >> status >>
            bytes;
        requests.push_back({{static_cast<std::uint8_t>(type), static_cast<std::uint8_t>(request),
                             static_cast<std::uint16_t>(value), static_cast<std::uint16_t>(index),
                             static_cast<std::uint16_t>(length)},
                            static_cast<vcam::TransferStatus>(status),
                            FromHex(bytes)});
    }
    return requests;
}

std::uint64_t CameraClient::State(const std::string& name)
{
    std::istringstream lines(Ask("state"));
    std::string key;
    std::uint64_t value = 0;
    while (lines >> key >> value)
        if (key == name)
            return value;
    throw std::runtime_error("the camera has no state " + name);
}

std::int64_t CameraClient::ControlValue(unsigned entity, unsigned selector, unsigned field)
{
    return std::stoll(Ask("control-value " + std::to_string(entity) + ' ' +
                          std::to_string(selector) + ' ' + std::to_string(field)));
}

}  // namespace kernel_test
