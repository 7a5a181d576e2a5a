// camhost ptz
#include <array>
#include <cstdint>

#include "host/commands.h"
#include "host/device_library.h"
#include "host/host_error.h"
#include "host/property_table.h"
#include "host/text_table.h"

namespace host {
namespace {

struct Axis {
    const char* name;
    unsigned control;
    int units_per_step;
    int least;
    int greatest;
    const std::string PtzOptions::*wish;
};

constexpr int kPanSteps = INT32_MAX / kCamPtzUnitsPerStep;

constexpr std::array<Axis, 4> kAxes = {{
    // Pan before tilt: setting pan sends the tilt along, cut to fewer bits, and
    // setting the tilt afterwards puts that right.
    {"pan", kControlPanAbsolute, kCamPtzUnitsPerStep, -kPanSteps, kPanSteps, &PtzOptions::pan},
    {"tilt", kControlTiltAbsolute, kCamPtzUnitsPerStep, -kPanSteps, kPanSteps, &PtzOptions::tilt},
    {"zoom", kControlZoomAbsolute, 1, 0, 65535, &PtzOptions::zoom},
    {"focus", kControlFocusAbsolute, 1, 0, 65535, &PtzOptions::focus},
}};

}  // namespace

int RunPtz(Host& host, const PtzOptions& options)
{
    std::array<int, kAxes.size()> targets{};
    for (std::size_t i = 0; i < kAxes.size(); ++i) {
        const std::string& wish = options.*kAxes[i].wish;
        if (!wish.empty()) {
            targets[i] = static_cast<int>(
                ParseNumber(wish, kAxes[i].name, kAxes[i].least, kAxes[i].greatest));
        }
    }
    const DeviceLibrary library(host.Lib());
    const OpenDevice device = MustOpenCamera(library);
    for (std::size_t i = 0; i < kAxes.size(); ++i) {
        const Axis& axis = kAxes[i];
        if ((options.*axis.wish).empty()) {
            continue;
        }
        const int result =
            library.SetPTZ_Pos(device.get(), axis.control, targets[i] * axis.units_per_step);
        if (result != 0) {
            throw HostError(kExitFailed, std::string("cannot set ") + axis.name + ": " +
                                             DeviceErrorText(result));
        }
    }
    TextTable table({"axis", ">position"});
    for (const Axis& axis : kAxes) {
        int value = 0;
        library.GetPTZ_Pos(device.get(), axis.control, &value);
        table.Row({axis.name, std::to_string(value / axis.units_per_step)});
    }
    host.console.Text(table.Text());
    return kExitOk;
}

}  // namespace host
