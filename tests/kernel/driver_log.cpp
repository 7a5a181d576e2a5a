#include "tests/kernel/driver_log.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>

namespace kernel_test
{
namespace
{

constexpr char kMark[] = "[TORVIK 1.26/";

/// Whether a transfer completes just before it is cancelled, or whether sound is
/// taken in time, is chance on either bus.
bool IsChance(const std::string& message)
{
    for (const char* text : {"Stop submit transfer.", "Stop submit audio transfer.",
                             "LIBUSB_TRANSFER_CANCELLED!", "Audio frame drop."})
        if (message.find(text) != std::string::npos)
            return true;
    return false;
}

/// Threads that run beside the host's and the loader's, which wait for each other.
std::string ThreadOf(const std::string& function, const std::string& message)
{
    if (message.find("run() Exit libusb thread") != std::string::npos)
        return "event threads";
    if (message.find("Exit VideoCapture thread") != std::string::npos || function == "CheckFrame")
        return "video capture";
    if (message.find("Exit Audio capture thread") != std::string::npos)
        return "audio capture";
    if (message.find("Exit device mointer trhead") != std::string::npos)
        return "loader's end";
    // The state changes in here, which the host may see before it ends.
    if (function == "CamInitDoneCallback")
        return "call-back";
    return "host and loader";
}

std::string Printable(const std::string& message)
{
    std::string text;
    for (const char letter : message)
        if (letter >= ' ')
            text += letter;
    text = std::regex_replace(text, std::regex("\\[(31|0)m"), "");
    // Neither an address nor the number of devices is the driver's affair.
    text = std::regex_replace(text, std::regex("Init 0x[0-9A-F]+"), "Init ADDRESS");
    return std::regex_replace(text, std::regex("device count=[0-9]+"), "device count=N");
}

}  // namespace

DriverLog ReadDriverLog(const std::string& path)
{
    std::ifstream file(path);
    const std::string all{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    DriverLog log;
    const std::regex shape("^[A-Za-z]+\\] \\[([^ ]+):[0-9]+\\] ");
    for (std::size_t at = all.find(kMark); at != std::string::npos;) {
        const std::size_t next = all.find(kMark, at + 1);
        const std::string piece = all.substr(
            at + sizeof kMark - 1,
            next == std::string::npos ? std::string::npos : next - at - (sizeof kMark - 1));
        at = next;
        std::smatch header;
        if (!std::regex_search(piece, header, shape)) {
            log.torn = true;
            continue;
        }
        const std::string message = Printable(header.suffix());
        log.torn = log.torn || message.empty();
        if (!IsChance(message))
            log.lines[ThreadOf(header[1], message)].push_back(header[1].str() + ": " + message);
    }
    return log;
}

std::string Differences(const std::vector<std::string>& first,
                        const std::vector<std::string>& second)
{
    // Lengths of the longest common sequences of the tails.
    std::vector<std::vector<unsigned>> common(first.size() + 1,
                                              std::vector<unsigned>(second.size() + 1));
    for (std::size_t i = first.size(); i-- > 0;)
        for (std::size_t k = second.size(); k-- > 0;)
            common[i][k] = first[i] == second[k] ? common[i + 1][k + 1] + 1
                                                 : std::max(common[i + 1][k], common[i][k + 1]);
    std::string text;
    for (std::size_t i = 0, k = 0; i < first.size() || k < second.size();) {
        if (i < first.size() && k < second.size() && first[i] == second[k]) {
            ++i;
            ++k;
        } else if (k == second.size() ||
                   (i < first.size() && common[i + 1][k] >= common[i][k + 1])) {
            text += "- " + first[i++] + '\n';
        } else {
            text += "+ " + second[k++] + '\n';
        }
    }
    return text;
}

}  // namespace kernel_test
