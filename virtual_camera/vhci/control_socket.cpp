#include "virtual_camera/vhci/control_socket.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace vcam::vhci
{
namespace
{

/// The server serves USB meanwhile no more, so nobody may keep it long.
constexpr timeval kPatience{2, 0};

std::runtime_error Problem(const std::string& what)
{
    return std::runtime_error("virtual camera: " + what + ": " + std::strerror(errno));
}

File MakeSocket()
{
    File made(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    if (!made.Open())
        throw Problem("socket");
    return made;
}

sockaddr_un AddressOf(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        throw std::runtime_error("virtual camera: the socket's path is too long: " + path);
    std::memcpy(address.sun_path, path.data(), path.size());
    return address;
}

std::string ReadAll(int socket)
{
    std::string all;
    std::array<char, 65536> part;
    for (;;) {
        const ssize_t got = recv(socket, part.data(), part.size(), 0);
        if (got > 0)
            all.append(part.data(), static_cast<std::size_t>(got));
        else if (got == 0)
            return all;
        else if (errno != EINTR)
            throw Problem("reading from the control socket");
    }
}

void WriteAll(int socket, const std::string& text)
{
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t part = send(socket, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
        if (part > 0)
            sent += static_cast<std::size_t>(part);
        else if (errno != EINTR)
            throw Problem("writing to the control socket");
    }
}

}  // namespace

ControlSocket::ControlSocket(const std::string& path) : m_listener(MakeSocket())
{
    unlink(path.c_str());
    const sockaddr_un address = AddressOf(path);
    if (bind(m_listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(m_listener.Get(), 8) != 0)
        throw Problem(path);
}

void ControlSocket::Serve(const std::function<std::string(const std::string&)>& answer) const
{
    const File client(accept4(m_listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!client.Open())
        return;
    setsockopt(client.Get(), SOL_SOCKET, SO_RCVTIMEO, &kPatience, sizeof kPatience);
    setsockopt(client.Get(), SOL_SOCKET, SO_SNDTIMEO, &kPatience, sizeof kPatience);
    try {
        WriteAll(client.Get(), answer(ReadAll(client.Get())));
    } catch (const std::runtime_error&) {
        // The client is at fault and sees its connection end.
    }
}

std::string AskServer(const std::string& path, const std::string& request)
{
    const File server = MakeSocket();
    const sockaddr_un address = AddressOf(path);
    if (connect(server.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw Problem(path);
    WriteAll(server.Get(), request);
    shutdown(server.Get(), SHUT_WR);
    return ReadAll(server.Get());
}

}  // namespace vcam::vhci
