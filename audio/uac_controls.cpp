// Sampling rate and volume.

#include "api/device_commands.h"
#include "audio/uac_constants.h"
#include "audio/uac_transport.h"
#include "devcmd/control_transfer.h"
#include "runtime/byte_order.h"
#include "runtime/debug_log.h"

namespace {

constexpr unsigned kTimeoutMs = 1000;
constexpr unsigned kSetVolumeTimeoutMs = 2000;
constexpr unsigned short kRateLength = 3;
constexpr unsigned short kVolumeLength = 2;
constexpr unsigned char kDirectionIn = 0x80;
constexpr int kInitialVolumePercent = 30;

int SendRate(CameraDevice& device, unsigned char* rate)
{
    return device.Heed(libusb_control_transfer_(device.Handle(), kSetEndpoint, kAudioSetCur,
                                                kSamplingFrequencyControl, kAudioEndpoint, rate,
                                                kRateLength, kTimeoutMs));
}

void WriteRate(unsigned char* bytes, unsigned rate)
{
    for (unsigned i = 0; i < kRateLength; ++i)
        bytes[i] = ByteOf(rate, i);
}

}  // namespace

bool CLibUSB_UacCtrl::NegotiateRate(int rate)
{
    static constexpr char kFunction[] = "UAC_EnableAudioStream";
    unsigned char bytes[kRateLength];
    WriteRate(bytes, static_cast<unsigned>(rate));
    int moved = SendRate(m_device, bytes);
    if (moved != kRateLength) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Failed to SET sampling rate: (%d)\n", moved);
        return false;
    }
    // The answer is not compared: the device may round.
    moved = m_device.Heed(libusb_control_transfer_(m_device.Handle(), kGetEndpoint, kAudioGetCur,
                                                   kSamplingFrequencyControl, kAudioEndpoint,
                                                   bytes, kRateLength, kTimeoutMs));
    if (moved != kRateLength) {
        CAM_LOG_AS(kFunction, kLogDebugging, "Failed to GET sampling rate: (%d)\n", moved);
        return false;
    }
    return true;
}

bool CLibUSB_UacCtrl::GetVolumeLimit(unsigned char request, std::atomic<std::int16_t>& limit)
{
    unsigned char bytes[kVolumeLength] = {};
    const int moved = m_device.Heed(
        libusb_control_transfer_(m_device.Handle(), kGetInterface, request, kVolumeControl,
                                 kFeatureUnitIndex, bytes, kVolumeLength, kTimeoutMs));
    if (moved != kVolumeLength) {
        CAM_LOG_AS("UAC_EnableAudioStream", kLogDebugging,
                   "libusb_control_transfer: Error: (%d)\n", moved);
        return false;
    }
    limit = static_cast<std::int16_t>(ReadLe16(bytes));
    return true;
}

bool CLibUSB_UacCtrl::ReadVolumeRange()
{
    return GetVolumeLimit(kAudioGetMax, m_max_volume) && GetVolumeLimit(kAudioGetMin, m_min_volume);
}

void CLibUSB_UacCtrl::ChooseInitialVolume()
{
    const int min = m_min_volume;
    const int max = m_max_volume;
    const int current = m_current_volume;
    if (current < min || current > max) {
        m_current_volume =
            static_cast<std::int16_t>(min + (max - min) * kInitialVolumePercent / 100);
    }
}

int CLibUSB_UacCtrl::UAC_SetSamplingRate(unsigned rate)
{
    if (!m_device.IsOpen())
        return -1;
    unsigned char bytes[kRateLength];
    WriteRate(bytes, rate);
    const int result = SendRate(m_device, bytes);
    if (result < 0)
        CAM_LOG(kLogDebugging, "UAC_SetSamplingRate: Error: (%d)\n", result);
    return result;
}

int CLibUSB_UacCtrl::UAC_SetCurVolume(short volume)
{
    if (!m_device.IsOpen())
        return -1;
    if (volume < m_min_volume || volume > m_max_volume)
        return -1;
    CAM_LOG(kLogDebugging, "UAC SetVolume Min=%d, Max=%d, Vol=%d\r\n", m_min_volume.load(),
            m_max_volume.load(), volume);
    unsigned char bytes[kVolumeLength];
    WriteLe16(bytes, static_cast<std::uint16_t>(volume));
    const int result = m_device.Heed(
        libusb_control_transfer_(m_device.Handle(), kSetInterface, kAudioSetCur, kVolumeControl,
                                 kFeatureUnitIndex, bytes, kVolumeLength, kSetVolumeTimeoutMs));
    if (result < 0) {
        CAM_LOG(kLogDebugging, "UAC_SetCurVolume: Error: (%d)\n", result);
        return result;
    }
    m_current_volume = volume;
    return 0;
}

int CLibUSB_UacCtrl::UVC_query_ctrl(unsigned char request, unsigned char unit,
                                    unsigned char interface, unsigned char selector, void* data,
                                    unsigned short length, unsigned int timeout)
{
    if (!m_device.IsOpen())
        return -1;
    const int result = m_device.Heed(libusb_control_transfer_(
        m_device.Handle(), static_cast<unsigned char>((request & kDirectionIn) | kSetInterface),
        request, static_cast<unsigned short>(selector << 8),
        static_cast<unsigned short>(unit << 8 | interface), static_cast<unsigned char*>(data),
        length, timeout));
    return result < 0 ? kCamUnsupported : result;
}
