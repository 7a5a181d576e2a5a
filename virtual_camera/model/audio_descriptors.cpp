// The audio function: UAC 1.0, a stereo microphone with mute and volume.
#include "virtual_camera/model/descriptors.h"
#include "virtual_camera/model/microphone.h"
#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

enum : std::uint8_t { kAudioClass = 0x01, kCsInterface = 0x24, kCsEndpoint = 0x25 };
enum : std::uint8_t { kMicrophoneTerminal = 2, kOutputTerminal = 7 };

Bytes AudioUnits()
{
    Bytes units{12, kCsInterface, 0x02, kMicrophoneTerminal};
    Append(units, 0x0201, 2);
    Append(units, Bytes{0, 2, 3, 0, 0, 0});
    Append(units, Bytes{10, kCsInterface, 0x06, kFeatureUnit, kMicrophoneTerminal, 1, 3, 0, 0, 0});
    Append(units, Bytes{9, kCsInterface, 0x03, kOutputTerminal});
    Append(units, 0x0101, 2);
    Append(units, Bytes{0, kFeatureUnit, 0});
    return units;
}

Bytes AudioFormat()
{
    Bytes rates;
    std::uint8_t count = 0;
    for (unsigned rate = 8000; rate <= 48000; rate += 8000) {
        if (Microphone::SupportsRate(rate)) {
            Append(rates, rate, 3);
            ++count;
        }
    }
    Bytes format{
        static_cast<std::uint8_t>(8 + rates.size()), kCsInterface, 0x02, 1, 2, 2, 16, count};
    Append(format, rates);
    return format;
}

}  // namespace

Bytes MakeAudioFunction()
{
    const Bytes units = AudioUnits();
    Bytes header{9, kCsInterface, 0x01};
    Append(header, 0x0100, 2);
    Append(header, 9 + units.size(), 2);
    Append(header, Bytes{1, kAudioStreaming});

    Bytes function = AssociationDescriptor(kAudioControl, 2, kAudioClass, 0);
    Append(function, InterfaceDescriptor(kAudioControl, 0, 0, kAudioClass, 1));
    Append(function, header);
    Append(function, units);

    Append(function, InterfaceDescriptor(kAudioStreaming, 0, 0, kAudioClass, 2));
    Append(function, InterfaceDescriptor(kAudioStreaming, 1, 1, kAudioClass, 2));
    Append(function, Bytes{7, kCsInterface, 0x01, kOutputTerminal, 1, 1, 0});
    Append(function, AudioFormat());
    // One packet every millisecond: 2^(4-1) microframes.
    Bytes endpoint{9, 0x05, kAudioEndpoint, 0x05};
    Append(endpoint, Microphone::kMaxPacket, 2);
    Append(endpoint, Bytes{4, 0, 0});
    Append(function, endpoint);
    Append(function, Bytes{7, kCsEndpoint, 0x01, 1, 0, 0, 0});
    return function;
}

}  // namespace vcam
