// Passes the kernel's device events on to those who listen to udev: libusb
// learns of devices that come and go from udev's messages, and the guest of
// the kernel tests has no udev.
//
// udev's message is a header, then the kernel's KEY=VALUE pairs as they are.
// The header carries hashes of two of the values, by which the listeners'
// socket filters choose.
#include <arpa/inet.h>
#include <linux/netlink.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

namespace
{

constexpr unsigned kKernelGroup = 1;
constexpr unsigned kUdevGroup = 2;
constexpr std::uint32_t kMagic = 0xFEEDCAFE;

struct Header {
    std::array<char, 8> prefix{'l', 'i', 'b', 'u', 'd', 'e', 'v', '\0'};
    std::uint32_t magic = htonl(kMagic);
    std::uint32_t header_size = sizeof(Header);
    std::uint32_t properties_offset = sizeof(Header);
    std::uint32_t properties_size = 0;
    std::uint32_t subsystem_hash = 0;
    std::uint32_t device_type_hash = 0;
    std::uint32_t tags_high = 0;
    std::uint32_t tags_low = 0;
};
static_assert(sizeof(Header) == 40, "the listeners check the size");

/// MurmurHash2 with seed 0, read byte by byte, lowest first.
std::uint32_t Hash(std::string_view text)
{
    constexpr std::uint32_t kFactor = 0x5BD1E995;
    const auto byte = [&text](std::size_t at) {
        return std::uint32_t{static_cast<unsigned char>(text[at])};
    };
    auto hash = static_cast<std::uint32_t>(text.size());
    std::size_t at = 0;
    for (; text.size() - at >= 4; at += 4) {
        std::uint32_t word = byte(at) | byte(at + 1) << 8 | byte(at + 2) << 16 | byte(at + 3) << 24;
        word *= kFactor;
        word ^= word >> 24;
        word *= kFactor;
        hash = hash * kFactor ^ word;
    }
    if (at < text.size()) {
        for (std::size_t i = at; i < text.size(); ++i) hash ^= byte(i) << 8 * (i - at);
        hash *= kFactor;
    }
    hash ^= hash >> 13;
    hash *= kFactor;
    return hash ^ hash >> 15;
}

int OpenNetlink(unsigned groups)
{
    const int made = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_KOBJECT_UEVENT);
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_groups = groups;
    if (made >= 0 && bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
        return made;
    std::perror("uevent_relay: netlink");
    return -1;
}

/// "action@path", then the pairs, each closed by a zero. Empty when it is
/// nothing of the kind.
std::string_view PairsOf(std::string_view message)
{
    const std::size_t end = message.find('\0');
    if (end == std::string_view::npos || message.substr(0, end).find('@') == message.npos)
        return {};
    return message.substr(end + 1);
}

std::string Translate(std::string_view pairs)
{
    Header header;
    header.properties_size = static_cast<std::uint32_t>(pairs.size());
    for (std::string_view rest = pairs; !rest.empty();) {
        const std::string_view pair = rest.substr(0, rest.find('\0'));
        const std::size_t equals = pair.find('=');
        if (equals != pair.npos && pair.substr(0, equals) == "SUBSYSTEM")
            header.subsystem_hash = htonl(Hash(pair.substr(equals + 1)));
        if (equals != pair.npos && pair.substr(0, equals) == "DEVTYPE")
            header.device_type_hash = htonl(Hash(pair.substr(equals + 1)));
        rest.remove_prefix(std::min(rest.size(), pair.size() + 1));
    }
    std::string message(reinterpret_cast<const char*>(&header), sizeof header);
    return message.append(pairs);
}

}  // namespace

int main()
{
    const int from = OpenNetlink(kKernelGroup);
    const int to = OpenNetlink(0);
    if (from < 0 || to < 0)
        return 1;
    sockaddr_nl listeners{};
    listeners.nl_family = AF_NETLINK;
    listeners.nl_groups = kUdevGroup;
    std::array<char, 16384> received;
    for (;;) {
        const ssize_t size = recv(from, received.data(), received.size(), 0);
        if (size <= 0)
            continue;  // the kernel dropped some; nothing can be done about it
        const std::string_view pairs = PairsOf({received.data(), static_cast<std::size_t>(size)});
        if (pairs.empty())
            continue;
        const std::string message = Translate(pairs);
        // Refused when nobody listens.
        sendto(to, message.data(), message.size(), 0, reinterpret_cast<const sockaddr*>(&listeners),
               sizeof listeners);
    }
}
