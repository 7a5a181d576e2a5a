// A controller on the simulated bus, and what reached it.
#ifndef TESTS_DEVCMD_CONTROLLER_FIXTURE_H
#define TESTS_DEVCMD_CONTROLLER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libusb.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "api/device_commands.h"
#include "tests/support/bus_check.h"
#include "tests/support/log_level.h"
#include "tests/support/scripted_device.h"
#include "virtual_camera/standin/bus.h"

using test_support::Bytes;
using test_support::BusIsClean;
using test_support::CapturedLog;
using test_support::Layout;
using test_support::ScriptedDevice;
using testing::ElementsAre;
using testing::IsEmpty;
using vcam::standin::Bus;
using vcam::standin::Call;

/// A synchronous control transfer as the library asked for it.
struct Request {
    unsigned type = 0;
    unsigned request = 0;
    unsigned value = 0;
    unsigned index = 0;
    unsigned length = 0;
    unsigned timeout_ms = 0;
    Bytes sent = {};  ///< of OUT transfers
};

inline bool operator==(const Request& a, const Request& b)
{
    return a.type == b.type && a.request == b.request && a.value == b.value &&
           a.index == b.index && a.length == b.length && a.timeout_ms == b.timeout_ms &&
           a.sent == b.sent;
}

inline std::ostream& operator<<(std::ostream& out, const Request& request)
{
    out << std::hex << "{type " << request.type << " request " << request.request << " value "
        << request.value << " index " << request.index << std::dec << " length "
        << request.length << " " << request.timeout_ms << " ms, sent";
    for (const unsigned byte : request.sent)
        out << ' ' << std::hex << byte;
    return out << std::dec << '}';
}

/// SET_CUR and GET_CUR of the extension unit as this library addresses it.
inline Request XuSet(unsigned selector, Bytes data, unsigned timeout_ms)
{
    const auto length = static_cast<unsigned>(data.size());
    return {0x20, 0x01, selector << 8, 0x0600, length, timeout_ms, std::move(data)};
}

inline Request XuGet(unsigned selector, unsigned length, unsigned timeout_ms)
{
    return {0xA0, 0x81, selector << 8, 0x0600, length, timeout_ms};
}

/// The same of the camera terminal.
inline Request TerminalSet(unsigned selector, Bytes data)
{
    const auto length = static_cast<unsigned>(data.size());
    return {0x20, 0x01, selector << 8, 0x0100, length, 500, std::move(data)};
}

inline Request TerminalGet(unsigned selector, unsigned length)
{
    return {0xA0, 0x81, selector << 8, 0x0100, length, 500};
}

inline std::vector<Request> RequestsOf(const std::vector<Call>& calls)
{
    std::vector<Request> requests;
    for (const Call& call : calls) {
        if (call.function != "libusb_control_transfer")
            continue;
        requests.push_back({call.setup.request_type, call.setup.request, call.setup.value,
                            call.setup.index, call.setup.length, call.timeout_ms, call.data});
    }
    return requests;
}

inline std::vector<std::string> NamesOf(const std::vector<Call>& calls)
{
    std::vector<std::string> names;
    for (const Call& call : calls)
        names.push_back(call.function);
    return names;
}

/// One line of the log.
struct Line {
    int level;
    std::string function;
    std::string message;
};

inline bool operator==(const Line& a, const Line& b)
{
    return a.level == b.level && a.function == b.function && a.message == b.message;
}

inline std::ostream& operator<<(std::ostream& out, const Line& line)
{
    return out << line.level << ' ' << line.function << " \"" << line.message << '"';
}

inline std::vector<Line> LinesOf(const test_support::LogCapture& log)
{
    std::vector<Line> lines;
    for (const auto& entry : log.Entries())
        lines.push_back({entry.level, entry.function, entry.message});
    return lines;
}

/// A bus with one controller, and the log at full verbosity. Everything must
/// have been given back at the end.
class BusTest : public testing::Test {
protected:
    explicit BusTest(Layout layout = Layout::kCamera)
        : m_controller(std::make_shared<ScriptedDevice>(layout))
    {
        m_bus.Attach(m_controller);
        m_bus.EnableCallLog();
    }
    ~BusTest() override { m_bus.Reset(); }

    void TearDown() override { EXPECT_TRUE(BusIsClean()); }

    std::vector<Call> Calls() const { return m_bus.CallLog(); }
    std::vector<std::string> CallNames() const { return NamesOf(Calls()); }
    std::vector<Request> Requests() const { return RequestsOf(Calls()); }
    std::vector<Line> Lines() const { return LinesOf(m_log); }
    void Forget()
    {
        m_bus.ClearCallLog();
        m_controller->ClearLog();
        m_log.Clear();
    }

    /// Makes the nth control transfer from now on fail; 0: every one.
    void FailTransfer(std::size_t nth, int code)
    {
        m_bus.FailCall("libusb_control_transfer", nth, code);
    }

    Bus& m_bus = Bus::Instance();
    std::shared_ptr<ScriptedDevice> m_controller;
    CapturedLog m_log;
};

/// The same with the controller open.
class ControllerTest : public BusTest {
protected:
    explicit ControllerTest(Layout layout = Layout::kCamera) : BusTest(layout) {}

    void SetUp() override
    {
        m_device = OpenKelDevice(
            TORVIK_CAM_VENDOR_ID,
            ProductOf(*m_controller), kNoInterface);
        ASSERT_NE(m_device, nullptr);
        Forget();
    }

    void TearDown() override
    {
        m_bus.ClearRules();
        CloseKelDevice(m_device);
        BusTest::TearDown();
    }

    static std::uint16_t ProductOf(const ScriptedDevice& device)
    {
        const Bytes descriptor = device.DeviceDescriptor();
        return static_cast<std::uint16_t>(descriptor[10] | descriptor[11] << 8);
    }

    /// Answers the read of an extension-unit control.
    void AnswerXu(unsigned selector, Bytes data)
    {
        m_controller->SetReply(0xA0, 0x81, static_cast<std::uint16_t>(selector << 8), 0x0600,
                               {std::move(data)});
    }
    void AnswerTerminal(unsigned selector, Bytes data)
    {
        m_controller->SetReply(0xA0, 0x81, static_cast<std::uint16_t>(selector << 8), 0x0100,
                               {std::move(data)});
    }

    _KelDevHandle* m_device = nullptr;
};

#endif
