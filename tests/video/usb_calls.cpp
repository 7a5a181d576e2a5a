#include "tests/video/usb_calls.h"

#include <libusb.h>

#include <cstdio>

namespace {

using vcam::standin::Bus;
using vcam::standin::Call;
using vcam::standin::When;

template <typename... Arguments>
std::string Text(const char* format, Arguments... arguments)
{
    char text[128];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

bool NamesInterface(const std::string& function)
{
    for (const char* const name : {"claim_interface", "release_interface",
                                   "kernel_driver_active", "detach_kernel_driver"})
        if (function == name)
            return true;
    return false;
}

}  // namespace

std::string Describe(const Call& call)
{
    const std::string prefix = "libusb_";
    const std::string name =
        call.function.compare(0, prefix.size(), prefix) == 0 ? call.function.substr(prefix.size())
                                                             : call.function;
    if (name == "open_device_with_vid_pid")
        return Text("open %04x:%04x", call.vendor_id, call.product_id);
    if (NamesInterface(name))
        return name + Text(" %d", call.interface_number);
    if (name == "set_interface_alt_setting")
        return Text("setting %d %d", call.interface_number, call.value);
    if (name == "get_max_packet_size")
        return name + Text(" %02x", call.endpoint);
    if (name == "submit_transfer")
        return Text("submit %02x type %d length %zu %ums", call.endpoint, call.transfer_type,
                    call.length, call.timeout_ms);
    if (name == "control_transfer")
        return Text("control %02x %02x %04x %04x %u %ums", call.setup.request_type,
                    call.setup.request, call.setup.value, call.setup.index, call.setup.length,
                    call.timeout_ms);
    return name;
}

std::vector<std::string> CallLines()
{
    std::vector<std::string> lines;
    for (const Call& call : Bus::Instance().CallLog())
        lines.push_back(Describe(call));
    return lines;
}

std::vector<std::string> CallLines(const std::string& word)
{
    std::vector<std::string> lines;
    for (std::string& line : CallLines())
        if (line.compare(0, word.size(), word) == 0)
            lines.push_back(std::move(line));
    return lines;
}

SteadyCalls::SteadyCalls()
{
    m_completion_hook =
        Bus::Instance().OnCall("completion", When::kBefore, [this](const Call& call) {
            const std::lock_guard<std::mutex> guard(m_mutex);
            if (call.status == LIBUSB_TRANSFER_TIMED_OUT)
                m_timed_out.insert(call.transfer);
        });
    m_submission_hook =
        Bus::Instance().OnCall("libusb_submit_transfer", When::kBefore, [this](const Call& call) {
            const std::lock_guard<std::mutex> guard(m_mutex);
            if (m_timed_out.erase(call.transfer) > 0)
                m_repetitions.emplace(call.transfer, call.entered);
        });
}

SteadyCalls::~SteadyCalls()
{
    Bus::Instance().RemoveHook(m_completion_hook);
    Bus::Instance().RemoveHook(m_submission_hook);
}

std::vector<std::string> SteadyCalls::Lines() const
{
    std::vector<std::string> lines;
    for (const Call& call : Bus::Instance().CallLog()) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        if (m_repetitions.count({call.transfer, call.entered}) == 0)
            lines.push_back(Describe(call));
    }
    return lines;
}

std::vector<std::string> LookAndSettingLines()
{
    std::vector<std::string> lines;
    for (std::string& line : CallLines())
        if (line.find("device_list") != std::string::npos || line.compare(0, 8, "setting ") == 0)
            lines.push_back(std::move(line));
    return lines;
}

std::vector<std::string> LogLines(const test_support::LogCapture& log)
{
    std::vector<std::string> lines;
    for (const test_support::LogEntry& entry : log.Entries())
        lines.push_back(entry.function + "/" + std::to_string(entry.level) + ": " + entry.message);
    return lines;
}

std::vector<std::string> LogLines(const test_support::LogCapture& log, const std::string& function)
{
    std::vector<std::string> lines;
    for (std::string& line : LogLines(log))
        if (line.compare(0, function.size() + 1, function + "/") == 0)
            lines.push_back(std::move(line));
    return lines;
}
