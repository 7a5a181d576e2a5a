#include "tests/sweep/scenario.h"

#include <algorithm>
#include <stdexcept>

#include "tests/support/sleeps.h"
#include "tests/support/tv_root.h"
#include "tests/sweep/stage.h"

namespace sweep {
namespace {

using test_support::TvRoot;

/// Sleeps last a two-hundredth: seconds of settling cost next to nothing, and
/// the loader's watch still leaves the processor alone.
constexpr unsigned kClock = 200;

constexpr std::size_t kFirmwareSize = 1300;
/// Just long enough for the version word.
constexpr std::size_t kVersionWordOffset = 0x2032;
constexpr unsigned kNewBootCode = 0x20;

const std::vector<std::string> kCameraSteps = {
    "boot open", "boot open", "boot open",   "boot open", "boot open", "boot open",
    "presence",  "reboot",    "camera open", "video",     "audio"};
const std::vector<std::string> kBulkSteps = {"boot open", "reboot", "camera open", "video",
                                             "audio"};
const std::vector<std::string> kUvcSteps = {"boot open 2", "boot open", "reboot", "camera open",
                                            "video",       "audio"};

void WriteImages()
{
    std::string firmware(kFirmwareSize, '\0');
    for (std::size_t i = 0; i < firmware.size(); ++i)
        firmware[i] = static_cast<char>(i % 251);
    TvRoot::Write("/mtd_rwarea/wiru/bin/TorvikFW.bin", firmware);

    std::string boot_code(kVersionWordOffset + 4, '\0');
    const unsigned word = static_cast<unsigned>(BOOTCODE_MAGIC) << 20 | kNewBootCode;
    for (unsigned i = 0; i < 4; ++i)
        boot_code[kVersionWordOffset + i] = static_cast<char>(word >> 8 * i & 0xFF);
    TvRoot::Write("/mtd_rwarea/wiru/bin/TorvikBC.bin", boot_code);
}

void Prepare(const char* platform)
{
    TvRoot::Clear();
    TvRoot::Write("/mtd_exe/.info", platform);
    TvRoot::Write("/mtd_rwarea/camera_l4", "");
    WriteImages();
}

void PrepareDualH264()
{
    Prepare("xxxxx10");
}

void PrepareSignalTypes()
{
    Prepare("xxxxx12");
}

}  // namespace

const std::vector<Scenario>& Scenarios()
{
    static const std::vector<std::string> direct = {"open", "download", "close"};
    static const std::vector<Scenario> scenarios = {
        {"recording",
         {"start-up", "start", "record", "stop", "destroy"},
         kCameraSteps,
         PrepareDualH264,
         PlayRecording},
        {"signal types", {"start", "record", "stop"}, {}, PrepareSignalTypes, PlaySignalTypes},
        {"restart", {"restart"}, {}, PrepareDualH264, PlayRestart},
        {"abandoned", {"destroy"}, {}, PrepareDualH264, PlayAbandoned},
        {"watch", {"watch"}, {}, PrepareDualH264, PlayWatch},
        {"bulk boot loader", {"start-up"}, kBulkSteps, PrepareDualH264, PlayBulkBootLoader},
        {"uvc boot loader", {"start-up"}, kUvcSteps, PrepareDualH264, PlayUvcBootLoader},
        {"update firmware", direct, {}, PrepareDualH264, PlayUpdateFirmware},
        {"update with checksum", direct, {}, PrepareDualH264, PlayChecksum},
        {"bulk download", direct, {}, PrepareDualH264, PlayPcsync},
        {"uvc download", direct, {}, PrepareDualH264, PlayUvcDownload},
        {"boot code", direct, {}, PrepareDualH264, PlayBootCode},
        {"write protection", direct, {}, PrepareDualH264, PlayWriteProtection},
    };
    return scenarios;
}

const Scenario& FindScenario(const std::string& name)
{
    const auto& all = Scenarios();
    const auto found = std::find_if(all.begin(), all.end(),
                                    [&](const Scenario& scenario) { return scenario.name == name; });
    if (found == all.end())
        throw std::invalid_argument("no such scenario: " + name);
    return *found;
}

Facts Play(const Scenario& scenario, const Fault& fault)
{
    const test_support::FastSleeps fast(kClock);
    Stage stage(fault, scenario.steps);
    scenario.play(stage);
    return stage.Finish();
}

}  // namespace sweep
