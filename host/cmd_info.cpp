// camhost info, camhost capabilities, camhost self-test
#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <fstream>

#include "host/camera_session.h"
#include "host/commands.h"
#include "host/device_library.h"
#include "host/host_error.h"
#include "host/platforms.h"
#include "host/property_table.h"
#include "host/text_table.h"
#include "host/version_file.h"

namespace host {
namespace {

constexpr unsigned kCapabilities = 12;

const char* StateName(CAM_STATE state)
{
    switch (state) {
    case CAM_STATE_DISCONNECTED:
        return "disconnected";
    case CAM_STATE_CREATED:
        return "created";
    case CAM_STATE_CONNECTED:
        return "connected";
    case CAM_STATE_RECORDING:
        return "recording";
    }
    return "unknown";
}

std::int32_t ReadOr(ICameraSubject& camera, CAM_PROPERTY property, std::int32_t otherwise)
{
    CAM_PROP_VALUE value = {otherwise, {0, 0}};
    return camera.GetProperty(property, &value) ? value.value : otherwise;
}

}  // namespace

int RunInfo(Host& host, bool json)
{
    const Library& library = host.Lib();
    const DeviceLibrary commands(library);
    CameraSession session(library);
    session.MustOpen(host.events);
    ICameraSubject& camera = session.Camera();

    nlohmann::ordered_json facts;
    facts["library"] = library.Path();
    facts["driver"] = library.version();
    facts["vendor"] = camera.GetVendorName();
    facts["model"] = camera.GetModelName();
    facts["state"] = StateName(camera.GetState());
    facts["firmware"] = ReadVersionFile();
    facts["configured by"] =
        camera.GetCapability(CAM_CAPABILITY_SIGNAL_TYPE) ? "signal type" : "video mode";
    const auto size =
        static_cast<std::uint32_t>(ReadOr(camera, CAM_PROPERTY_RESOLUTION, 0));
    facts["resolution"] = std::to_string(size & 0xFFFF) + "x" + std::to_string(size >> 16);
    facts["frame rate"] = ReadOr(camera, CAM_PROPERTY_FRAMERATE, 0);
    facts["bit rate"] = ReadOr(camera, CAM_PROPERTY_BITRATE, 0);
    facts["audio rate"] = ReadOr(camera, CAM_PROPERTY_AUDIO_RATE, 0);
    facts["microphone volume"] = ReadOr(camera, CAM_PROPERTY_MICVOLUME, 0);
    if (json) {
        host.console.Line(facts.dump(2));
        return kExitOk;
    }
    TextTable table({"fact", "value"});
    for (const auto& [name, value] : facts.items()) {
        table.Row({name, value.is_string() ? value.get<std::string>() : value.dump()});
    }
    host.console.Text(table.Text());
    return kExitOk;
}

int RunCapabilities(Host& host, bool json)
{
    // Answered by the camera object alone; it need not have found its device.
    CameraSession session(host.Lib());
    nlohmann::ordered_json answers;
    TextTable table({">number", "name", "supported"});
    for (unsigned number = 0; number < kCapabilities; ++number) {
        const bool yes = session->GetCapability(static_cast<CAM_CAPABILITY>(number));
        const char* name = number == CAM_CAPABILITY_SIGNAL_TYPE ? "signal-type" : "";
        answers.push_back({{"number", number}, {"name", name}, {"supported", yes}});
        table.Row({std::to_string(number), name, yes ? "yes" : "no"});
    }
    host.console.Text(json ? answers.dump(2) + "\n" : table.Text());
    return kExitOk;
}

int RunSelfTest(Host& host)
{
    CameraSession session(host.Lib());
    session.MustOpen(host.events);
    TextTable table({"test", "result"});
    bool allPassed = true;
    for (CAM_PROPERTY id : {CAM_PROPERTY_CONNECTION_CHECK, CAM_PROPERTY_VIDEO_AUTO_TEST,
                            CAM_PROPERTY_AUDIO_AUTO_TEST}) {
        CAM_PROP_VALUE value = {0, {0, 0}};
        const bool answered = session->GetProperty(id, &value);
        const bool passed = answered && value.value == 1;
        allPassed = allPassed && passed;
        table.Row({PropertyByName(std::to_string(id)).name,
                   passed ? "passed" : (answered ? "failed" : "no answer")});
    }
    host.console.Text(table.Text());
    if (!allPassed) {
        throw HostError(kExitFailed, "the self-test failed");
    }
    return kExitOk;
}

}  // namespace host
