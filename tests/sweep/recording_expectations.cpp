// Start, stop and restart of recording, and destruction.
#include "tests/sweep/expectation_rows.h"

namespace sweep {
namespace {

constexpr char kNoOutcomeOfStart[] = "Failed to start streaming.";
constexpr char kLostTransfer[] = "libusb_submit_transfer error: Video 3";

/// Recording does not begin, and the host's stop says so.
Expect NoStart(bool restart)
{
    Expect failed;
    failed.CutShort().Result("stop", 0).Line("Abnormal StopRecording.");
    // A restart succeeds whatever comes of it.
    return restart ? failed : failed.Result("start", 0);
}

void AddStart(std::vector<ExpectationRow>& rows, bool restart)
{
    const char* const phase = restart ? "restart" : "start";
    const auto no_video = [restart] {
        return NoStart(restart).Line(kNoOutcomeOfStart).Line("Failed to config device.");
    };
    const auto no_sound = [restart] {
        return NoStart(restart).Line(kNoOutcomeOfStart).Line("Failed to open audio streaming.");
    };
    const auto request = [&](const char* label, unsigned kinds, Outcome outcome) {
        rows.push_back({"", phase, "control_transfer", "", label, 0, kinds, kAnyCode,
                        std::move(outcome)});
    };

    // Commands to the controller are not what recording depends on; but what
    // it was not told to send it does not send.
    rows.push_back({"signal types", phase, "control_transfer", "", "signal type", 0, kFails,
                    kAnyCode, Expect().Result("gray flows first", 0)});
    request("signal type|option query|option set|reply|bit rate|frame rate|indicator",
            kNotAnswered, Expect());
    request("stream target", kFails, Expect().Line("Failed to set video mode."));
    request("probe set", kFails, no_video().Line("UVC_query_ctrl Error:Probe UVC_SET_CUR"));
    request("probe maximum", kNotAnswered,
            no_video().Line("UVC_query_ctrl Error:Probe UVC_GET_MAX"));
    request("probe minimum", kNotAnswered,
            no_video().Line("UVC_query_ctrl Error:Probe UVC_GET_MIN"));
    request("probe current", kNotAnswered,
            no_video().Line("UVC_query_ctrl Error:Probe UVC_GET_CUR"));
    request("commit", kFails, no_video().Line("UVC_query_ctrl Error:Commit UVC_SET_CUR"));
    rows.push_back({"", phase, "get_max_packet_size", "", "", 0, kFails, kAnyCode,
                    no_video().Line("libusb_get_max_packet_size Fail")});
    // The result of the last submission is that of all.
    for (const std::size_t nth : {1U, 2U})
        rows.push_back({"", phase, "submit_transfer", "", "81 first", nth, kFails, kAnyCode,
                        Expect().Line(kLostTransfer)});
    rows.push_back({"", phase, "submit_transfer", "", "81 first", 3, kFails, kAnyCode,
                    no_video().Line(kLostTransfer)});
    rows.push_back({"", phase, "alloc_transfer", "", "81", 0, kFails, kAnyCode, no_video()});

    request("rate set", kFails,
            no_sound()
                .Line("Failed to SET sampling rate: (")
                .Exactly("Failed to SET sampling rate: ({code})\n"));
    request("rate get", kNotAnswered,
            no_sound()
                .Line("Failed to GET sampling rate: (")
                .Exactly("Failed to GET sampling rate: ({code})\n"));
    request("volume maximum|volume minimum", kNotAnswered,
            no_sound()
                .Line("libusb_control_transfer: Error: (")
                .Exactly("libusb_control_transfer: Error: ({code})\n"));
    rows.push_back({"", phase, "set_interface_alt_setting", "", "3/1", 0, kFails, kAnyCode,
                    no_sound().Line("UAC_EnableAudioStream Error: IF = 3, Alt = 1")});
    rows.push_back({"", phase, "alloc_transfer", "", "82", 0, kFails, kAnyCode, no_sound()});
    rows.push_back({"", phase, "get_max_iso_packet_size", "", "", 0, kFails, kAnyCode,
                    no_sound().Line("libusb_get_max_iso_packet_size Fail")});
    rows.push_back({"", phase, "submit_transfer", "", "82 first", 0, kFails, kAnyCode,
                    no_sound().Line("libusb_fill_iso_transfer error: Audio ")});
    request("volume set", kFails,
            Expect()
                .Line("UAC_SetCurVolume: Error: (")
                .Exactly("UAC_SetCurVolume: Error: ({code})\n"));
}

std::vector<ExpectationRow> MakeRows()
{
    std::vector<ExpectationRow> rows;
    AddStart(rows, false);
    AddStart(rows, true);

    // An interface that stays in its setting is reported by the stream's own
    // teardown; the settings selected to make sure are not looked at.
    const std::string video = "UAC_DisableVideoStream: IF = 1, Alt = 0 Error!!";
    const std::string audio = "UAC_DisableAudioStream: IF = 3, Alt = 0 Error!!";
    for (const char* scenario_phase : {"start", "stop", "restart", "destroy"}) {
        rows.push_back({"recording|signal types|restart|abandoned", scenario_phase,
                        "set_interface_alt_setting", "", "3/0", 0, kFails, kAnyCode,
                        Expect().Line(audio.c_str())});
    }
    rows.push_back({"", "stop|restart", "set_interface_alt_setting", "", "1/0", 1, kFails, kAnyCode,
                    Expect().Line(video.c_str())});
    rows.push_back({"abandoned", "destroy", "set_interface_alt_setting", "", "1/0", 1, kFails,
                    kAnyCode, Expect().Line(video.c_str())});
    rows.push_back({"", "start|stop|restart|destroy", "set_interface_alt_setting", "", "1/0", 0,
                    kFails, kAnyCode, Expect()});

    // Before a setting is selected the driver looks whether the device is
    // still listed; when that fails the setting counts as not selected. In the
    // order of the settings above.
    const auto look = [&](const char* scenario, const char* phase, std::size_t nth,
                          Outcome outcome) {
        rows.push_back({scenario, phase, "get_device_list", "", "", nth, kFails, kAnyCode,
                        std::move(outcome)});
    };
    look("", "start", 2, Expect().Line(audio.c_str()));
    look("", "start", 3,
         NoStart(false)
             .Line(kNoOutcomeOfStart)
             .Line("Failed to open audio streaming.")
             .Line("UAC_EnableAudioStream Error: IF = 3, Alt = 1"));
    look("", "restart", 5,
         NoStart(true)
             .Line(kNoOutcomeOfStart)
             .Line("Failed to open audio streaming.")
             .Line("UAC_EnableAudioStream Error: IF = 3, Alt = 1"));
    look("", "stop|restart", 1, Expect().Line(audio.c_str()));
    look("", "stop|restart", 2, Expect().Line(video.c_str()));
    look("abandoned", "destroy", 1, Expect().Line(audio.c_str()));
    look("abandoned", "destroy", 2, Expect().Line(video.c_str()));
    look("", "start|stop|restart|destroy", 0, Expect());

    rows.push_back({"", "stop|destroy", "control_transfer", "", "indicator", 0, kFails, kAnyCode,
                    Expect()});
    return rows;
}

}  // namespace

const std::vector<ExpectationRow>& RecordingExpectations()
{
    static const std::vector<ExpectationRow> rows = MakeRows();
    return rows;
}

}  // namespace sweep
