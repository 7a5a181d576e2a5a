// Still pictures on disk.
#ifndef TORVIK_HOST_PICTURE_FILE_H
#define TORVIK_HOST_PICTURE_FILE_H

#include <string>

#include "api/cam_types.h"
#include "host/access_unit.h"
#include "host/raw_geometry.h"

namespace host {

/// Writes bytes as they are. Throws with the system's reason.
void WriteWholeFile(const std::string& path, const Bytes& data);

/// Raw image to PNG: GRAY as 8-bit grey, the colour formats as RGB.
void WritePng(const std::string& path, CAM_STREAM stream, const Bytes& image, PictureSize size);

}  // namespace host

#endif
