// The subcommands and what each is told on the command line.
#ifndef TORVIK_HOST_COMMANDS_H
#define TORVIK_HOST_COMMANDS_H

#include <string>
#include <vector>

#include "host/host.h"

namespace host {

struct RecordOptions {
    double seconds = 10;
    std::string out;
    std::string signal_type;  ///< empty: everything the platform offers
    std::string size;
    std::string raw_size;
    std::string bitrate;
    std::string fps;
    std::string mic_volume;
    bool no_still = false;
    std::string frame_list;  ///< file; empty: none
};
int RunRecord(Host& host, const RecordOptions& options);

int RunInfo(Host& host, bool json);
int RunCapabilities(Host& host, bool json);

struct PropertiesOptions {
    bool json = false;
    bool self_tests = false;
};
int RunProperties(Host& host, const PropertiesOptions& options);
int RunGet(Host& host, const std::string& property);

struct SetOptions {
    std::string property;
    std::vector<std::string> values;
    bool recording = false;  ///< set it in the middle of a recording
};
int RunSet(Host& host, const SetOptions& options);

struct StillOptions {
    std::string out = "still.jpg";
    std::string size;
};
int RunStill(Host& host, const StillOptions& options);

struct PtzOptions {
    std::string pan, tilt, zoom, focus;  ///< empty: not to be moved
};
int RunPtz(Host& host, const PtzOptions& options);

int RunSelfTest(Host& host);

struct XuOptions {
    std::string target;  ///< UNIT:SELECTOR
    std::string hex;     ///< empty: read
    std::string length;  ///< empty: as the selector has it
    std::string then_read;  ///< selector to read after the write
};
int RunXu(Host& host, const XuOptions& options);

struct FirmwareUpdateOptions {
    std::string image;
    std::string method;    ///< empty: what fits the device found
    std::string type = "1";
    std::string checksum;  ///< empty: computed
    std::string interface;  ///< empty: the method's own
    bool unlock = false;
};
int RunFirmwareStatus(Host& host);
int RunFirmwareUpdate(Host& host, const FirmwareUpdateOptions& options);
int RunFirmwareInspect(Host& host, const std::string& image);

struct WatchOptions {
    int events = 0;      ///< end after so many; 0: never
    double seconds = 0;  ///< end after this time; 0: never
};
int RunWatch(Host& host, const WatchOptions& options);

/// Names of one kind, a line each, for the shell's completion.
int RunNames(Host& host, const std::string& kind);

}  // namespace host

#endif
