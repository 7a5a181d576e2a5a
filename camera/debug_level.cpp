#include "camera/debug_level.h"

#include <cstdio>
#include <unistd.h>

#include "camera/shell.h"
#include "runtime/debug_log.h"

namespace {

constexpr int kLowest = 1;
constexpr int kHighest = 5;

constexpr struct {
    const char* path;
    unsigned level;
} kMarkers[] = {
    {"/mtd_rwarea/camera_l5", 5},
    {"/mtd_rwarea/camera_l4", 4},
    {"/mtd_rwarea/camera_l3", 3},
    {"/mtd_rwarea/camera_l2", 2},
    {"/mtd_rwarea/camera_l1", 1},
};

}  // namespace

bool LoadDebugLevel()
{
    unsigned level = kLowest;
    for (const auto& marker : kMarkers) {
        if (access(marker.path, F_OK) == 0) {
            level = marker.level;
            break;
        }
    }
    g_embedded_cam_dbg_level = level;
    return true;
}

bool SetDebugLevel(int level)
{
    if (level < kLowest || level > kHighest) {
        CAM_LOG(kLogFatal, "input 1~5(%d) level", level);
        return false;
    }
    ExecuteShell("rm -rf /mtd_rwarea/camera_l*");
    char command[256] = {};
    std::snprintf(command, sizeof command, "touch /mtd_rwarea/camera_l%d; sync", level);
    ExecuteShell(command);
    g_embedded_cam_dbg_level = static_cast<unsigned>(level);
    return true;
}
