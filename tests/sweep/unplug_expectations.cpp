// The camera leaves the bus at a call.
#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr char kUp[] = "start-up";
constexpr char kUvc[] = "uvc boot loader";
constexpr long kFailed = static_cast<int>(0x80000003);

/// When it is noticed, and what by, is a matter of time; how often the host is
/// told is not.
Expect Gone(const char* statuses)
{
    return Expect().Told(statuses).CutShort().AnyResults().AnyLog();
}

ExpectationRow Row(const char* scenario, const char* phase, const char* call, const char* step,
                   const char* label, Outcome outcome)
{
    return {scenario, phase, call, step, label, 0, kUnplugs, kAnyCode, std::move(outcome)};
}

ExpectationRow NthRow(const char* phase, const char* call, const char* step, std::size_t nth,
                      Outcome outcome)
{
    return {"", phase, call, step, "", nth, kUnplugs, kAnyCode, std::move(outcome)};
}

}  // namespace

const std::vector<ExpectationRow>& UnplugExpectations()
{
    static const std::vector<ExpectationRow> rows = {
        // Gone between being found and being opened: see Leaks().
        Row(kUvc, kUp, "init|get_device_list", "boot open 2", "", Gone("0").Leaves("nothing")),
        Row(kUvc, kUp, "get_device_descriptor|open", "boot open 2", "",
            Gone("0").Leaves("open refused")),
        Row(kUvc, kUp, "get_device_descriptor|open", "boot open|camera open", "",
            Gone("0").Leaves("open refused, twice")),
        Row(kUvc, kUp, "detach_kernel_driver|claim_interface", "boot open", "",
            Gone("0").Leaves("claim refused, twice")),
        Row("bulk boot loader", kUp, "get_device_descriptor|open", "boot open", "",
            Gone("0").Leaves("open refused")),
        Row("bulk boot loader", kUp, "detach_kernel_driver|claim_interface", "boot open", "",
            Gone("0").Leaves("claim refused")),
        Row("", kUp, "get_device_descriptor|open", "camera open", "",
            Gone("0").Leaves("open refused")),
        // Before the loader is ready it tells the outcome once.
        Row("", kUp, "", "boot open 2|boot open|presence|reboot", "", Gone("0")),
        Row("", kUp, "init|get_device_list", "camera open", "", Gone("0")),
        // Ready, but without transports; then it notices, and says so again.
        Row("", kUp, "", "camera open|video", "", Gone("00")),
        Row("",
            kUp,
            "init|open_device_with_vid_pid|get_configuration|kernel_driver_active|"
            "detach_kernel_driver|claim_interface",
            "audio", "", Gone("00")),
        Row("", kUp, "set_interface_alt_setting", "audio", "3/0", Gone("00")),
        NthRow(kUp, "get_device_list|free_device_list|get_device", "audio", 1, Gone("00")),
        NthRow(kUp, "get_device", "audio", 2, Gone("00")),
        // Both transports were there.
        Row("", kUp, "", "audio", "", Gone("10")),
        Row("", "start|record|stop|restart|watch", "", "", "", Gone("10")),
        // The loader ends first, and nobody watches any more.
        Row("", "destroy", "", "", "", Expect().AnyLog()),

        Row("", "open", "init|get_device_list", "", "",
            Expect().Result("open", 0).CutShort().AnyLog()),
        Row("", "open", "get_device_descriptor|open", "", "",
            Expect().Result("open", 0).CutShort().AnyLog().Leaves("open refused")),
        Row("", "open", "detach_kernel_driver|claim_interface", "", "",
            Expect().Result("open", 0).CutShort().AnyLog().Leaves("claim refused")),
        // No answer to the burn is as good as one; the bulk loader expects to
        // lose the device.
        Row("bulk download", "open|download", "", "", "", Expect().AnyLog()),
        Row("write protection", "open|download", "", "", "", Expect().AnyLog()),
        Row("uvc download|boot code", "download", "", "", "download burn", Expect().AnyLog()),
        Row("", "open|download", "", "", "", Expect().Result("download", kFailed).AnyLog()),
        Row("", "close", "", "", "", Expect()),
    };
    return rows;
}

}  // namespace sweep
