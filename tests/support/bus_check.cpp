#include "tests/support/bus_check.h"

#include <algorithm>

#include "virtual_camera/standin/bus.h"

namespace test_support {

const char* const kAudioReleasesForeignInterface =
    "libusb_release_interface: interface 1 is not claimed";

testing::AssertionResult BusIsClean(const std::vector<std::string>& expected)
{
    const auto& bus = vcam::standin::Bus::Instance();
    testing::AssertionResult result = testing::AssertionSuccess();
    const auto counters = bus.Counters();
    if (!counters.AllZero())
        result = testing::AssertionFailure() << "left open: " << counters.ToString();
    for (const std::string& line : bus.Misuse()) {
        const bool known = std::any_of(
            expected.begin(), expected.end(),
            [&line](const std::string& text) { return line.find(text) != std::string::npos; });
        if (known)
            continue;
        if (result)
            result = testing::AssertionFailure();
        result << "\nmisuse: " << line;
    }
    return result;
}

}  // namespace test_support
