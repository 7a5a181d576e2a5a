// For a build without a camera model: nothing is plugged in by itself.
#include "virtual_camera/standin/bus.h"

namespace vcam::standin {

void PopulateBus(Bus&) {}

}  // namespace vcam::standin
