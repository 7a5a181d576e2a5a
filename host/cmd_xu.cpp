// camhost xu: raw access to the controller's extension unit
#include <array>
#include <cctype>
#include <cstdio>

#include "host/access_unit.h"
#include "host/commands.h"
#include "host/device_library.h"
#include "host/host_error.h"
#include "host/property_table.h"

namespace host {
namespace {

constexpr int kUnit = 6;  ///< the library's command functions reach this one only

/// Lengths of the controls that the controller is known to have.
int KnownLength(int selector)
{
    switch (selector) {
    case 3:
        return 32;
    case 14:
    case 15:
        return 16;
    default:
        return 8;
    }
}

Bytes ParseHex(const std::string& text)
{
    std::string digits;
    for (char c : text) {
        if (std::isxdigit(static_cast<unsigned char>(c)) != 0) {
            digits += c;
        } else if (c != ' ' && c != ':') {
            digits.clear();
            break;
        }
    }
    if (digits.empty() || digits.size() % 2 != 0 || digits.size() > 2 * 255) {
        throw HostError(kExitUsage, "bad bytes '" + text + "': expected pairs of hex digits");
    }
    Bytes bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string HexText(const Bytes& bytes)
{
    std::string text;
    for (std::uint8_t byte : bytes) {
        std::array<char, 4> pair{};
        std::snprintf(pair.data(), pair.size(), "%02x", byte);
        text += (text.empty() ? "" : " ") + std::string(pair.data());
    }
    return text;
}

void Transfer(const DeviceLibrary& library, _KelDevHandle* device, int selector, Bytes& data,
              bool set)
{
    const int result =
        library.KelXU_XuCmd(device, data.data(), static_cast<unsigned short>(selector),
                            static_cast<unsigned char>(data.size()), set ? 1 : 0);
    if (result < 0) {
        throw HostError(kExitFailed, std::string(set ? "writing" : "reading") + " selector " +
                                         std::to_string(selector) + ": " + DeviceErrorText(result));
    }
}

}  // namespace

int RunXu(Host& host, const XuOptions& options)
{
    const std::size_t colon = options.target.find(':');
    if (colon == std::string::npos) {
        throw HostError(kExitUsage, "bad target '" + options.target + "': expected UNIT:SELECTOR");
    }
    ParseNumber(options.target.substr(0, colon), "unit", kUnit, kUnit);
    const int selector =
        static_cast<int>(ParseNumber(options.target.substr(colon + 1), "selector", 1, 255));
    int readSelector = options.hex.empty() ? selector : 0;
    if (!options.then_read.empty()) {
        readSelector = static_cast<int>(ParseNumber(options.then_read, "selector", 1, 255));
    }
    const int length =
        options.length.empty() ? KnownLength(readSelector)
                               : static_cast<int>(ParseNumber(options.length, "length", 1, 255));
    Bytes out;
    if (!options.hex.empty()) {
        out = ParseHex(options.hex);
        if (out.size() < static_cast<std::size_t>(KnownLength(selector))) {
            out.resize(static_cast<std::size_t>(KnownLength(selector)), 0);
        }
    }

    const DeviceLibrary library(host.Lib());
    const OpenDevice device = MustOpenCamera(library);
    if (!out.empty()) {
        Transfer(library, device.get(), selector, out, true);
    }
    if (readSelector != 0) {
        Bytes in(static_cast<std::size_t>(length), 0);
        Transfer(library, device.get(), readSelector, in, false);
        host.console.Line(HexText(in));
    }
    return kExitOk;
}

}  // namespace host
