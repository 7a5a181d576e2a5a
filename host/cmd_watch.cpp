// camhost watch: tells when the camera comes and goes
#include <ctime>
#include <memory>

#include "host/camera_session.h"
#include "host/commands.h"
#include "host/device_library.h"
#include "host/frame_queue.h"
#include "host/host_error.h"
#include "host/version_file.h"

namespace host {
namespace {

std::string TimeOfDay()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    char text[16];
    std::strftime(text, sizeof text, "%H:%M:%S", &local);
    return text;
}

class Watcher {
public:
    Watcher(Host& host, const WatchOptions& options)
        : m_host(host), m_options(options), m_library(host.Lib()), m_commands(m_library)
    {
    }

    int Run()
    {
        while (!Over()) {
            if (m_session) {
                WaitForLoss();
            } else {
                WaitForCamera();
            }
        }
        return kExitOk;
    }

private:
    bool Over() const
    {
        const double elapsed = static_cast<double>(MonotonicUs() - m_begin) / 1e6;
        return m_host.events.Interrupted() ||
               (m_options.events != 0 && m_events >= m_options.events) ||
               (m_options.seconds > 0 && elapsed >= m_options.seconds);
    }

    void Tell(const std::string& text)
    {
        m_host.console.Line(TimeOfDay() + "  " + text);
        ++m_events;
    }

    void WaitForLoss()
    {
        if (m_host.events.Wait(kPoll) == Event::kLost) {
            Tell("camera unplugged");
            // The object keeps the device that it opened first; the camera is
            // picked up again through a new one.
            m_session.reset();
        }
    }

    void WaitForCamera()
    {
        if (!CameraPresent(m_commands) && !BootLoaderPresent(m_commands)) {
            if (!m_told_absent && m_events == 0) {
                m_host.console.Line(TimeOfDay() + "  no camera yet");
                m_told_absent = true;
            }
            m_host.events.Wait(kPoll);
            return;
        }
        m_session = std::make_unique<CameraSession>(m_library);
        if (!m_session->Open(m_host.events)) {
            m_session.reset();
            if (!m_host.events.Interrupted()) {
                Tell("camera found, but it does not come up");
            }
            return;
        }
        Tell(std::string(m_seen ? "camera plugged in again" : "camera ready") + ", firmware " +
             ReadVersionFile());
        m_seen = true;
    }

    static constexpr std::chrono::milliseconds kPoll{300};

    Host& m_host;
    const WatchOptions m_options;
    const Library& m_library;
    const DeviceLibrary m_commands;
    std::unique_ptr<CameraSession> m_session;
    const std::int64_t m_begin = MonotonicUs();
    int m_events = 0;
    bool m_seen = false;
    bool m_told_absent = false;
};

}  // namespace

int RunWatch(Host& host, const WatchOptions& options)
{
    return Watcher(host, options).Run();
}

}  // namespace host
