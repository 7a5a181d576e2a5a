// Where tests talk to the server: a socket in the file system. A client sends
// one request, closes its side and reads the answer to its end.
#ifndef VIRTUAL_CAMERA_VHCI_CONTROL_SOCKET_H
#define VIRTUAL_CAMERA_VHCI_CONTROL_SOCKET_H

#include <functional>
#include <string>

#include "virtual_camera/vhci/port.h"

namespace vcam::vhci
{

class ControlSocket
{
public:
    /// Throws std::runtime_error when the socket cannot be made.
    explicit ControlSocket(const std::string& path);

    int Descriptor() const { return m_listener.Get(); }
    /// Serves one client that waits. A client that stops halfway is hung up on.
    void Serve(const std::function<std::string(const std::string&)>& answer) const;

private:
    File m_listener;
};

/// The client's side. Throws std::runtime_error when nobody answers.
std::string AskServer(const std::string& path, const std::string& request);

}  // namespace vcam::vhci

#endif
