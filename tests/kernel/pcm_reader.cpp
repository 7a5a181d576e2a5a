#include "tests/kernel/pcm_reader.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sound/asound.h>
#include <sys/ioctl.h>

#include <cerrno>
#include <cstring>

#include "virtual_camera/vhci/port.h"

namespace kernel_test
{
namespace
{

constexpr std::size_t kFrameSize = 4;
constexpr std::size_t kChunk = 480;
constexpr std::size_t kSpare = 2;

void Choose(snd_pcm_hw_params& parameters, int which, unsigned value)
{
    snd_mask& mask = parameters.masks[which - SNDRV_PCM_HW_PARAM_FIRST_MASK];
    std::memset(&mask, 0, sizeof mask);
    mask.bits[value / 32] = 1U << value % 32;
}

void Fix(snd_pcm_hw_params& parameters, int which, unsigned value)
{
    snd_interval& interval = parameters.intervals[which - SNDRV_PCM_HW_PARAM_FIRST_INTERVAL];
    interval = {};
    interval.min = interval.max = value;
    interval.integer = 1;
}

/// Everything is possible, but for what the microphone sends. All that is asked
/// for fits into the buffer, so a late reader loses nothing.
snd_pcm_hw_params Parameters(unsigned rate, std::size_t frames)
{
    snd_pcm_hw_params parameters;
    std::memset(&parameters, 0, sizeof parameters);
    for (snd_mask& mask : parameters.masks) std::memset(&mask, 0xFF, sizeof mask);
    for (snd_interval& interval : parameters.intervals) interval.max = ~0U;
    parameters.rmask = ~0U;
    parameters.info = ~0U;
    Choose(parameters, SNDRV_PCM_HW_PARAM_ACCESS, SNDRV_PCM_ACCESS_RW_INTERLEAVED);
    Choose(parameters, SNDRV_PCM_HW_PARAM_FORMAT, SNDRV_PCM_FORMAT_S16_LE);
    Choose(parameters, SNDRV_PCM_HW_PARAM_SUBFORMAT, SNDRV_PCM_SUBFORMAT_STD);
    Fix(parameters, SNDRV_PCM_HW_PARAM_CHANNELS, 2);
    Fix(parameters, SNDRV_PCM_HW_PARAM_RATE, rate);
    Fix(parameters, SNDRV_PCM_HW_PARAM_PERIOD_SIZE, kChunk);
    Fix(parameters, SNDRV_PCM_HW_PARAM_PERIODS,
        static_cast<unsigned>((frames + kChunk - 1) / kChunk + kSpare));
    return parameters;
}

bool Control(const vcam::vhci::File& file, unsigned long request, void* argument, const char* name)
{
    if (ioctl(file.Get(), request, argument) == 0)
        return true;
    ADD_FAILURE() << name << ": " << std::strerror(errno);
    return false;
}

}  // namespace

std::vector<std::uint8_t> CapturePcm(const std::string& device, unsigned rate, std::size_t frames)
{
    std::vector<std::uint8_t> sound;
    const vcam::vhci::File file(open(device.c_str(), O_RDWR | O_CLOEXEC));
    if (!file.Open()) {
        ADD_FAILURE() << device << ": " << std::strerror(errno);
        return sound;
    }
    snd_pcm_hw_params parameters = Parameters(rate, frames);
    if (!Control(file, SNDRV_PCM_IOCTL_HW_PARAMS, &parameters, "SNDRV_PCM_IOCTL_HW_PARAMS") ||
        !Control(file, SNDRV_PCM_IOCTL_PREPARE, nullptr, "SNDRV_PCM_IOCTL_PREPARE"))
        return sound;
    while (sound.size() < frames * kFrameSize) {
        std::vector<std::uint8_t> chunk(kChunk * kFrameSize);
        snd_xferi transfer{};
        transfer.buf = chunk.data();
        transfer.frames = kChunk;
        if (!Control(file, SNDRV_PCM_IOCTL_READI_FRAMES, &transfer, "SNDRV_PCM_IOCTL_READI_FRAMES"))
            break;
        chunk.resize(static_cast<std::size_t>(transfer.result) * kFrameSize);
        sound.insert(sound.end(), chunk.begin(), chunk.end());
    }
    return sound;
}

}  // namespace kernel_test
