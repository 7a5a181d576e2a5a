// The descriptors of the camera and of its boot loader.
#ifndef VIRTUAL_CAMERA_MODEL_DESCRIPTORS_H
#define VIRTUAL_CAMERA_MODEL_DESCRIPTORS_H

#include <algorithm>
#include <iterator>

#include "virtual_camera/model/bytes.h"
#include "virtual_camera/model/options.h"

namespace vcam {

Bytes MakeDeviceDescriptor(const CameraOptions& options, Identity identity);
Bytes MakeConfigurationDescriptor(Identity identity);
Bytes MakeStringDescriptor(Identity identity, std::uint8_t index);

/// @name The functions of the camera
/// @{
Bytes MakeVideoFunction();
Bytes MakeAudioFunction();
Bytes MakeFlashInterface(std::uint8_t number);
/// @}

/// Control interface with camera terminal, extension unit and output only.
Bytes MakeBootVideoControl();

/// @name Building blocks
/// @{
Bytes InterfaceDescriptor(std::uint8_t number, std::uint8_t setting, std::uint8_t endpoints,
                          std::uint8_t device_class, std::uint8_t subclass);
Bytes AssociationDescriptor(std::uint8_t first, std::uint8_t count, std::uint8_t function_class,
                            std::uint8_t subclass);
Bytes BulkEndpointDescriptor(std::uint8_t address);
inline void Append(Bytes& to, const Bytes& more)
{
    std::copy(more.begin(), more.end(), std::back_inserter(to));
}
/// @}

}  // namespace vcam

#endif
