// Keeps a virtual camera plugged into a kernel as long as it says that it is
// on the bus.
#ifndef VIRTUAL_CAMERA_VHCI_SERVER_H
#define VIRTUAL_CAMERA_VHCI_SERVER_H

#include <memory>
#include <optional>
#include <string>

#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/vhci/control_socket.h"
#include "virtual_camera/vhci/link.h"
#include "virtual_camera/vhci/port.h"

namespace vcam::vhci
{

class Server
{
public:
    /// `options`: of every camera, before its script.
    Server(Port port, const std::string& control_path, CameraOptions options);

    /// Plugs a camera in, instead of the one that was there.
    void Plug(const Script& script);
    /// Serves until the descriptor becomes readable.
    void Run(int stop);

private:
    std::string Answer(const std::string& request);
    std::string Command(const std::string& line, const std::string& body);
    void FollowDevice(TimeUs now);
    void Wait(TimeUs until, int stop);

    const Port m_port;
    const ControlSocket m_control;
    const CameraOptions m_options;
    std::shared_ptr<CameraModel> m_camera;
    unsigned m_session = 0;
    std::optional<Link> m_link;
    bool m_stopped = false;
};

}  // namespace vcam::vhci

#endif
