#include "host/command_line.h"

#include <CLI/CLI.hpp>

#include <exception>
#include <functional>

#include "host/commands.h"
#include "host/host_error.h"

namespace host {
namespace {

using Run = std::function<int(Host&)>;

/// Values of all options. One subcommand uses its own.
struct Values {
    CommonOptions common;
    RecordOptions record;
    PropertiesOptions properties;
    SetOptions set;
    StillOptions still;
    PtzOptions ptz;
    XuOptions xu;
    FirmwareUpdateOptions update;
    WatchOptions watch;
    bool json = false;
    std::string property;
    std::string image;
    std::string kind;
    Run run;
};

CLI::App* Add(CLI::App& parent, Values& values, const std::string& name, const std::string& text,
              Run run)
{
    CLI::App* command = parent.add_subcommand(name, text);
    command->fallthrough();
    if (run) {
        command->callback([&values, run = std::move(run)] { values.run = run; });
    }
    return command;
}

void AddCommonOptions(CLI::App& app, CommonOptions& common)
{
    app.add_option("--library", common.library.library, "camera library to load");
    app.add_flag("--virtual", common.library.use_virtual, "use the virtual camera, not USB");
    app.add_option("--stand-in", common.library.stand_in, "virtual camera's libusb stand-in");
    app.add_option("--virtual-script", common.library.virtual_script,
                   "what the virtual camera shall do wrong");
    app.add_option("--tv-root", common.tv_root,
                   "folder seen as the television's paths, privately");
    app.add_option("--platform", common.platform, "television to pose as");
    app.add_option("--driver-log", common.log, "file for the driver's log, - for standard error");
    app.add_option("--log-level", common.log_level, "the driver's verbosity")
        ->check(CLI::Range(1, 5));
}

void AddRecord(CLI::App& app, Values& values)
{
    RecordOptions& record = values.record;
    CLI::App* command = Add(app, values, "record", "record into a folder",
                            [&record](Host& host) { return RunRecord(host, record); });
    command->add_option("--seconds", record.seconds, "length of the recording")
        ->capture_default_str();
    command->add_option("--out", record.out, "folder for the files")->required();
    command->add_option("--signal-type", record.signal_type, "combination of streams");
    command->add_option("--size", record.size, "main picture, WIDTHxHEIGHT");
    command->add_option("--raw-size", record.raw_size, "raw pictures, WIDTHxHEIGHT");
    command->add_option("--bitrate", record.bitrate, "main stream, bit/s");
    command->add_option("--fps", record.fps, "main stream, frames per second");
    command->add_option("--mic-volume", record.mic_volume, "per cent");
    command->add_flag("--no-still", record.no_still, "ask for no JPEG still");
    command->add_option("--frame-list", record.frame_list,
                        "file for stream, stamp, size and digest of each frame");
}

void AddPropertyCommands(CLI::App& app, Values& values)
{
    CLI::App* info = Add(app, values, "info", "show driver, camera and settings",
                         [&values](Host& host) { return RunInfo(host, values.json); });
    info->add_flag("--json", values.json, "as JSON");
    CLI::App* capabilities =
        Add(app, values, "capabilities", "list what the camera can do",
            [&values](Host& host) { return RunCapabilities(host, values.json); });
    capabilities->add_flag("--json", values.json, "as JSON");
    CLI::App* properties =
        Add(app, values, "properties", "list all properties with their values",
            [&values](Host& host) { return RunProperties(host, values.properties); });
    properties->add_flag("--json", values.properties.json, "as JSON");
    properties->add_flag("--self-tests", values.properties.self_tests, "run the self-tests too");
    CLI::App* get = Add(app, values, "get", "read a property",
                        [&values](Host& host) { return RunGet(host, values.property); });
    get->add_option("property", values.property,
                    "name, as 'camhost properties' lists it")
        ->required();
    CLI::App* set = Add(app, values, "set", "change a property",
                        [&values](Host& host) { return RunSet(host, values.set); });
    set->add_option("property", values.set.property,
                    "name, as 'camhost properties' lists it")
        ->required();
    set->add_option("value", values.set.values, "value, and operands of some properties")
        ->expected(0, 3);
    set->add_flag("--recording", values.set.recording, "set it while a recording runs");
}

void AddDeviceCommands(CLI::App& app, Values& values)
{
    CLI::App* still = Add(app, values, "still", "take a JPEG picture",
                          [&values](Host& host) { return RunStill(host, values.still); });
    still->add_option("--out", values.still.out, "file")->capture_default_str();
    still->add_option("--size", values.still.size, "WIDTHxHEIGHT");
    CLI::App* ptz = Add(app, values, "ptz", "show or move pan, tilt, zoom and focus",
                        [&values](Host& host) { return RunPtz(host, values.ptz); });
    ptz->add_option("--pan", values.ptz.pan, "steps");
    ptz->add_option("--tilt", values.ptz.tilt, "steps");
    ptz->add_option("--zoom", values.ptz.zoom, "device units");
    ptz->add_option("--focus", values.ptz.focus, "device units");
    Add(app, values, "self-test", "let the camera test itself", RunSelfTest);
    CLI::App* xu = Add(app, values, "xu", "read or write an extension-unit control",
                       [&values](Host& host) { return RunXu(host, values.xu); });
    xu->add_option("target", values.xu.target, "UNIT:SELECTOR")->required();
    xu->add_option("bytes", values.xu.hex, "hex digits to write; without: read");
    xu->add_option("--length", values.xu.length, "bytes to read");
    xu->add_option("--then-read", values.xu.then_read, "selector to read after the write");
    CLI::App* watch = Add(app, values, "watch", "tell when the camera comes and goes",
                          [&values](Host& host) { return RunWatch(host, values.watch); });
    watch->add_option("--events", values.watch.events, "end after so many")
        ->check(CLI::NonNegativeNumber);
    watch->add_option("--seconds", values.watch.seconds, "end after this time")
        ->check(CLI::NonNegativeNumber);
    CLI::App* names = Add(app, values, "names", "list names for completion",
                          [&values](Host& host) { return RunNames(host, values.kind); });
    names->add_option("kind", values.kind)->required();
    names->group("");  // for scripts, not for people
}

void AddFirmwareCommands(CLI::App& app, Values& values)
{
    CLI::App* firmware = Add(app, values, "firmware", "look at or replace the firmware", nullptr);
    firmware->require_subcommand(1);
    Add(*firmware, values, "status", "what runs and which images lie ready", RunFirmwareStatus);
    CLI::App* inspect =
        Add(*firmware, values, "inspect", "look into an image file",
            [&values](Host& host) { return RunFirmwareInspect(host, values.image); });
    inspect->add_option("image", values.image, "file")->required();
    CLI::App* update =
        Add(*firmware, values, "update", "write an image into the flash",
            [&values](Host& host) { return RunFirmwareUpdate(host, values.update); });
    update->add_option("image", values.update.image, "file")->required();
    update->add_option("--method", values.update.method, "running, checksum, pcsync or uvc");
    update->add_option("--type", values.update.type, "what is burnt, 1 to 4");
    update->add_option("--checksum", values.update.checksum, "for the method of this name");
    update->add_option("--interface", values.update.interface, "interface to claim, 255 for none");
    update->add_flag("--unlock", values.update.unlock, "lift the write protection first");
}

int Problem(ExitCode code, const std::string& text)
{
    PrintProblem(text);
    return code;
}

}  // namespace

int RunCommandLine(int argc, char** argv)
{
    CLI::App app("Drives the camera through its library, as a television does.", "camhost");
    Values values;
    app.require_subcommand(1);
    AddCommonOptions(app, values.common);
    AddPropertyCommands(app, values);
    AddRecord(app, values);
    AddDeviceCommands(app, values);
    AddFirmwareCommands(app, values);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) {
            return app.exit(error);  // help was asked for
        }
        if (app.get_subcommands().empty() && !app.remaining().empty()) {
            return Problem(kExitUsage, "unknown command '" + app.remaining().front() + "'");
        }
        return Problem(kExitUsage, error.what());
    }
    try {
        WakePipe::CatchSignals();
        Host host(values.common);
        return values.run(host);
    } catch (const HostError& error) {
        return Problem(error.code(), error.what());
    } catch (const std::exception& error) {
        return Problem(kExitFailed, error.what());
    }
}

}  // namespace host
