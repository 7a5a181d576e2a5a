#include "host/version_file.h"

#include <fstream>

namespace host {

std::string ReadVersionFile()
{
    std::string version;
    std::ifstream file("/dtv/cm_cam_version");
    std::getline(file, version);
    return version.empty() ? "unknown" : version;
}

}  // namespace host
