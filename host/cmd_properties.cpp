// camhost properties, camhost get, camhost set
#include <nlohmann/json.hpp>

#include <optional>

#include "host/camera_session.h"
#include "host/commands.h"
#include "host/device_library.h"
#include "host/host_error.h"
#include "host/property_table.h"
#include "host/text_table.h"

namespace host {
namespace {

std::optional<std::int32_t> Read(Host& host, ICameraSubject& camera, const PropertyInfo& property)
{
    if (property.reading == Reading::kFromDevice) {
        const DeviceLibrary commands(host.Lib());
        const OpenDevice device = OpenCamera(commands);
        int value = 0;
        if (!device || commands.GetPTZ_Pos(device.get(), kControlTiltAbsolute, &value) != 0) {
            return std::nullopt;
        }
        return value / kCamPtzUnitsPerStep;
    }
    CAM_PROP_VALUE value = {0, {0, 0}};
    if (!camera.GetProperty(property.id, &value)) {
        return std::nullopt;
    }
    return value.value;
}

/// Some settings are only stored until the next recording, and the camera
/// object then answers "failed" although it took the value.
bool StoredForLater(CAM_PROPERTY id)
{
    return id == CAM_PROPERTY_RESOLUTION || id == CAM_PROPERTY_SIGNAL_TYPE ||
           id == CAM_PROPERTY_VIDEOMODE;
}

}  // namespace

int RunProperties(Host& host, const PropertiesOptions& options)
{
    CameraSession session(host.Lib());
    session.MustOpen(host.events);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    TextTable table({">id", "name", ">value", "unit", "range", "access", "note"});
    for (const PropertyInfo& property : Properties()) {
        const bool readable = property.reading != Reading::kNever;
        std::optional<std::int32_t> value;
        if (readable && (property.reading != Reading::kSelfTest || options.self_tests)) {
            value = Read(host, session.Camera(), property);
        }
        const std::string access =
            std::string(readable ? "get" : "") + (readable && property.settable ? ", " : "") +
            (property.settable ? "set" : "");
        table.Row({std::to_string(property.id), property.name,
                   value ? PropertyValueText(property, *value) : "-", property.unit,
                   PropertyRangeText(property), access, property.note});
        nlohmann::ordered_json entry = {{"id", property.id},
                                        {"name", property.name},
                                        {"value", nullptr},
                                        {"text", nullptr},
                                        {"unit", property.unit},
                                        {"range", PropertyRangeText(property)},
                                        {"readable", readable},
                                        {"settable", property.settable},
                                        {"note", property.note}};
        if (value) {
            entry["value"] = *value;
            entry["text"] = PropertyValueText(property, *value);
        }
        list.push_back(std::move(entry));
    }
    host.console.Text(options.json ? list.dump(2) + "\n" : table.Text());
    return kExitOk;
}

int RunGet(Host& host, const std::string& name)
{
    const PropertyInfo& property = PropertyByName(name);
    if (property.reading == Reading::kNever) {
        throw HostError(kExitUsage, std::string(property.name) + " can only be set");
    }
    CameraSession session(host.Lib());
    session.MustOpen(host.events);
    const std::optional<std::int32_t> value = Read(host, session.Camera(), property);
    if (!value) {
        throw HostError(kExitFailed,
                        std::string("the camera does not answer for ") + property.name);
    }
    host.console.Line(PropertyValueText(property, *value));
    return kExitOk;
}

int RunSet(Host& host, const SetOptions& options)
{
    const PropertyInfo& property = PropertyByName(options.property);
    CAM_PROP_VALUE value = ParsePropertyValue(property, options.values);
    CameraSession session(host.Lib());
    session.MustOpen(host.events);
    if (options.recording && !session->StartRecording()) {
        throw HostError(kExitFailed, "the camera does not start recording");
    }
    const bool done = session->SetProperty(property.id, &value);
    if (options.recording) {
        session->StopRecording();
    }
    if (!done && (options.recording || !StoredForLater(property.id))) {
        throw HostError(kExitFailed, std::string("the camera refused ") + property.name);
    }
    std::string answer = property.name;
    if (property.reading != Reading::kNever) {
        const std::optional<std::int32_t> now = Read(host, session.Camera(), property);
        answer += now ? " = " + PropertyValueText(property, *now) : "";
    }
    host.console.Line(answer + (done ? ": set" : ": stored for the next recording"));
    return kExitOk;
}

}  // namespace host
