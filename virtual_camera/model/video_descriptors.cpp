// The video function: UVC 1.0, with the frame-based format of UVC 1.1, which
// stock drivers accept under either version.
#include "virtual_camera/model/descriptors.h"
#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

enum : std::uint8_t { kVideoClass = 0x0E, kCsInterface = 0x24 };

/// The four letters in the first bytes, the same tail after all of them.
Bytes FormatGuid(const char (&letters)[5])
{
    Bytes guid(letters, letters + 4);
    Append(guid, Bytes{0x00, 0x00, 0x10, 0x00, 0x80, 0x00, 0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71});
    return guid;
}

/// Focus, zoom, pan and tilt, all absolute (UVC 1.0, 3.7.2.3).
constexpr std::uint32_t kLensControls = 0x000A20;

const Bytes kExtensionGuid{0x3B, 0x9E, 0x52, 0xC1, 0x74, 0x0D, 0x4F, 0x48,
                           0x8A, 0x61, 0x5E, 0x20, 0xD7, 0x93, 0xB6, 0x2A};

Bytes CameraTerminal(std::uint32_t controls)
{
    Bytes terminal{18, kCsInterface, 0x02, kCameraTerminal};
    Append(terminal, 0x0201, 2);
    Append(terminal, Bytes{0, 0, 0, 0, 0, 0, 0, 0, 3});
    Append(terminal, controls, 3);
    return terminal;
}

Bytes ProcessingUnit()
{
    Bytes unit{11, kCsInterface, 0x05, kProcessingUnit, kCameraTerminal, 0, 0, 2};
    Append(unit, 0x177F, 2);  // the controls that the table of controls has
    unit.push_back(0);
    return unit;
}

Bytes ExtensionUnit(std::uint8_t source)
{
    Bytes unit{27, kCsInterface, 0x06, kExtensionUnit};
    Append(unit, kExtensionGuid);
    Append(unit, Bytes{6, 1, source, 2});
    Append(unit, 0x600F, 2);  // selectors 1 to 4, 14 and 15
    unit.push_back(0);
    return unit;
}

Bytes OutputTerminal()
{
    Bytes terminal{9, kCsInterface, 0x03, kUsbTerminal};
    Append(terminal, 0x0101, 2);
    Append(terminal, Bytes{0, kExtensionUnit, 0});
    return terminal;
}

Bytes ControlHeader(std::size_t body, std::uint8_t streaming_interfaces)
{
    const auto length = static_cast<std::uint8_t>(12 + streaming_interfaces);
    Bytes header{length, kCsInterface, 0x01};
    Append(header, 0x0100, 2);
    Append(header, length + body, 2);
    Append(header, kClockFrequency, 4);
    header.push_back(streaming_interfaces);
    if (streaming_interfaces > 0)
        header.push_back(kVideoStreaming);
    return header;
}

Bytes ColourMatching()
{
    return {6, kCsInterface, 0x0D, 1, 1, 4};
}

/// A frame descriptor of an uncompressed or MJPEG format (`bits` a pixel).
Bytes PlainFrame(std::uint8_t subtype, std::uint8_t index, unsigned bits)
{
    const FrameSize size = kFrameSizes[index - 1U];
    const std::uint32_t bytes = std::uint32_t{size.width} * size.height * bits / 8;
    constexpr std::uint32_t kInterval15 = 10000000 / 15;
    Bytes frame{30, kCsInterface, subtype, index, 0};
    Append(frame, size.width, 2);
    Append(frame, size.height, 2);
    Append(frame, std::uint64_t{bytes} * 8 * 15, 4);
    Append(frame, std::uint64_t{bytes} * 8 * 15, 4);
    Append(frame, bytes, 4);
    Append(frame, kInterval15, 4);
    frame.push_back(1);
    Append(frame, kInterval15, 4);
    return frame;
}

Bytes Yuy2Format()
{
    Bytes format{27, kCsInterface, 0x04, kFormatYuy2, 1};
    Append(format, FormatGuid("YUY2"));
    Append(format, Bytes{16, 1, 0, 0, 0, 0});
    Append(format, PlainFrame(0x05, 1, 16));
    Append(format, ColourMatching());
    return format;
}

Bytes MjpegFormat()
{
    Bytes format{11, kCsInterface, 0x06, kFormatMjpeg, 2, 0, 1, 0, 0, 0, 0};
    Append(format, PlainFrame(0x07, 1, 8));
    Append(format, PlainFrame(0x07, 4, 8));
    Append(format, ColourMatching());
    return format;
}

Bytes MultiplexedFrame(std::uint8_t index)
{
    const FrameSize size = kFrameSizes[index - 1U];
    Bytes frame{34, kCsInterface, 0x11, index, 0};
    Append(frame, size.width, 2);
    Append(frame, size.height, 2);
    Append(frame, 500000, 4);
    Append(frame, 160000000, 4);
    Append(frame, 10000000 / kMaxFps, 4);
    frame.push_back(2);
    Append(frame, 0, 4);
    Append(frame, 10000000 / kMaxFps, 4);
    Append(frame, 10000000 / 15, 4);
    return frame;
}

Bytes MultiplexedFormat()
{
    Bytes format{28, kCsInterface, 0x10, kFormatMultiplexed, kFrameSizes.size()};
    Append(format, FormatGuid("H264"));
    Append(format, Bytes{16, 4, 0, 0, 0, 0, 1});
    for (std::uint8_t index = 1; index <= kFrameSizes.size(); ++index)
        Append(format, MultiplexedFrame(index));
    Append(format, ColourMatching());
    return format;
}

Bytes StreamingInterface()
{
    Bytes formats = Yuy2Format();
    Append(formats, MjpegFormat());
    Append(formats, MultiplexedFormat());
    Bytes header{16, kCsInterface, 0x01, 3};
    Append(header, header.size() + 12 + formats.size(), 2);
    Append(header, Bytes{kVideoEndpoint, 0, kUsbTerminal, 0, 0, 0, 1, 0, 0, 0});

    Bytes interface = InterfaceDescriptor(kVideoStreaming, 0, 1, kVideoClass, 2);
    Append(interface, header);
    Append(interface, formats);
    Append(interface, BulkEndpointDescriptor(kVideoEndpoint));
    return interface;
}

}  // namespace

Bytes MakeVideoFunction()
{
    Bytes units = CameraTerminal(kLensControls);
    Append(units, ProcessingUnit());
    Append(units, ExtensionUnit(kProcessingUnit));
    Append(units, OutputTerminal());

    Bytes function = AssociationDescriptor(kVideoControl, 2, kVideoClass, 3);
    Append(function, InterfaceDescriptor(kVideoControl, 0, 0, kVideoClass, 1));
    Append(function, ControlHeader(units.size(), 1));
    Append(function, units);
    Append(function, StreamingInterface());
    return function;
}

Bytes MakeBootVideoControl()
{
    Bytes units = CameraTerminal(0);
    Append(units, ExtensionUnit(kCameraTerminal));
    Append(units, OutputTerminal());

    Bytes interface = InterfaceDescriptor(kVideoControl, 0, 0, kVideoClass, 1);
    Append(interface, ControlHeader(units.size(), 0));
    Append(interface, units);
    return interface;
}

}  // namespace vcam
