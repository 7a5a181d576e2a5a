#include "virtual_camera/vhci/server.h"

#include <poll.h>
#include <time.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include "virtual_camera/vhci/test_commands.h"

namespace vcam::vhci
{
namespace
{

/// A device that comes back by itself is noticed at the latest after this time.
constexpr TimeUs kLookAgain = 20000;

TimeUs Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<TimeUs>(now.tv_sec) * 1000000 + static_cast<TimeUs>(now.tv_nsec) / 1000;
}

}  // namespace

Server::Server(Port port, const std::string& control_path, CameraOptions options)
    : m_port(std::move(port)), m_control(control_path), m_options(std::move(options))
{
}

void Server::Plug(const Script& script)
{
    auto camera = std::make_shared<CameraModel>(script);
    m_link.reset();
    m_camera = std::move(camera);
}

/// Plugs in and pulls the plug as the device says.
void Server::FollowDevice(TimeUs now)
{
    if (!m_camera)
        return;
    const bool attached = m_camera->Attached(now);
    // It may have left and come back unseen.
    if (m_link && (!attached || m_camera->Session(now) != m_session))
        m_link.reset();
    if (m_link || !attached)
        return;
    File wire = m_port.Attach();
    if (!wire.Open())
        return;
    m_session = m_camera->Session(now);
    m_link.emplace(std::move(wire), *m_camera);
}

void Server::Run(int stop)
{
    while (!m_stopped) {
        const TimeUs now = Now();
        FollowDevice(now);
        TimeUs next = m_link ? m_link->Serve(now) : kNever;
        // The kernel hangs up when it is told to; the device stays unplugged.
        if (m_link && !m_link->Receive(now)) {
            m_link.reset();
            m_camera->Unplug();
        }
        // Faults by time and devices that come back need no transfer to happen.
        next = std::min(next, now + kLookAgain);
        Wait(next, stop);
    }
}

void Server::Wait(TimeUs until, int stop)
{
    const TimeUs now = Now();
    const TimeUs rest = until > now ? until - now : 0;
    const timespec limit{static_cast<time_t>(rest / 1000000),
                         static_cast<long>(rest % 1000000) * 1000};
    std::array<pollfd, 3> events{{{stop, POLLIN, 0},
                                  {m_control.Descriptor(), POLLIN, 0},
                                  {m_link ? m_link->Descriptor() : -1, POLLIN, 0}}};
    if (ppoll(events.data(), events.size(), &limit, nullptr) <= 0)
        return;
    if (events[0].revents != 0)
        m_stopped = true;
    if (events[1].revents != 0)
        m_control.Serve([this](const std::string& request) { return Answer(request); });
    if (events[2].revents != 0 && m_link && !m_link->Receive(Now())) {
        m_link.reset();
        m_camera->Unplug();
    }
}

std::string Server::Answer(const std::string& request)
{
    const std::size_t end = request.find('\n');
    const std::string line = request.substr(0, end);
    const std::string body = end == std::string::npos ? std::string() : request.substr(end + 1);
    try {
        return "ok\n" + Command(line, body);
    } catch (const std::exception& problem) {
        return std::string("error ") + problem.what() + '\n';
    }
}

std::string Server::Command(const std::string& line, const std::string& body)
{
    if (line == "plug") {
        Plug(ParseScript(body, m_options));
        return {};
    }
    if (line == "remove") {
        m_link.reset();
        m_camera.reset();
        return {};
    }
    if (!m_camera)
        throw std::invalid_argument("there is no camera");
    return RunCommand(*m_camera, line, body);
}

}  // namespace vcam::vhci
