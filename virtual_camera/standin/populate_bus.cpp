// Plugs one virtual camera in where nobody else did, as the environment asks.
// README.md in virtual_camera/ lists the variables.
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/model/report.h"
#include "virtual_camera/standin/bus.h"

namespace vcam::standin {
namespace {

std::string Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool IsSet(const char* name)
{
    const std::string value = Environment(name);
    return !value.empty() && value != "0" && value != "no";
}

Script ReadEnvironment()
{
    Script script;
    const std::string media = Environment("VCAM_MEDIA");
    if (!media.empty())
        script.options.media_dir = media;
    const std::string file = Environment("VCAM_SCRIPT");
    if (!file.empty())
        script = LoadScript(file, script.options);
    const std::string identity = Environment("VCAM_IDENTITY");
    if (!identity.empty())
        ApplySetting(script.options, "identity", identity);
    if (IsSet("VCAM_UNPACED")) {
        script.options.video_paced = false;
        script.options.audio_paced = Environment("VCAM_UNPACED") != "all";
    }
    return script;
}

/// Writes the report when the process ends, if one is wanted.
class Reporter
{
public:
    explicit Reporter(std::shared_ptr<CameraModel> camera) : m_camera(std::move(camera)) {}
    ~Reporter()
    {
        const std::string path = Environment("VCAM_REPORT");
        if (!path.empty() && !(std::ofstream(path) << MakeReport(*m_camera)).flush())
            std::cerr << "virtual camera: cannot write " << path << '\n';
    }

private:
    std::shared_ptr<CameraModel> m_camera;
};

}  // namespace

void PopulateBus(Bus& bus)
{
    if (IsSet("VCAM_ABSENT"))
        return;
    try {
        const auto camera = std::make_shared<CameraModel>(ReadEnvironment());
        AttachOptions options;
        options.kernel_drivers = IsSet("VCAM_KERNEL_DRIVERS");
        bus.Attach(camera, options);
        static const Reporter reporter(camera);
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << "\nvirtual camera: nothing is plugged in\n";
    }
}

}  // namespace vcam::standin
