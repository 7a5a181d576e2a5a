// Plugging in and out.
#include "virtual_camera/model/camera_model.h"

#include <utility>

#include "virtual_camera/model/descriptors.h"

namespace vcam {
namespace {

using Guard = std::lock_guard<std::mutex>;

}  // namespace

CameraModel::CameraModel(CameraOptions options)
    : m_options(std::move(options)),
      m_media(Media::Load(m_options.media_dir)),
      m_identity(m_options.identity),
      m_traffic(m_options.record_cap),
      m_controls(m_options),
      m_negotiation(m_options),
      m_video(m_options, *m_media, m_faults, m_traffic),
      m_commands(m_options, m_video),
      m_microphone(m_media->Speech()),
      m_flash(m_options),
      m_iso_limit(m_options.audio_limit)
{
    PlugIn();
    m_session = 1;
}

CameraModel::CameraModel(const Script& script) : CameraModel(script.options)
{
    for (const Fault& fault : script.faults) m_faults.Add(fault);
}

Bytes CameraModel::DeviceDescriptor() const
{
    const Guard guard(m_lock);
    return MakeDeviceDescriptor(m_options, m_identity);
}

Bytes CameraModel::ConfigurationDescriptor() const
{
    const Guard guard(m_lock);
    return MakeConfigurationDescriptor(m_identity);
}

Bytes CameraModel::StringDescriptor(std::uint8_t index) const
{
    const Guard guard(m_lock);
    return MakeStringDescriptor(m_identity, index);
}

void CameraModel::Changed() const
{
    ++m_changes;
    m_changed.notify_all();
}

void CameraModel::PlugIn()
{
    m_attached = true;
    m_leaving = false;
    m_back_at = kNever;
    ++m_session;
    m_controls.Reset();
    m_negotiation.Reset();
    m_video.Reset();
    m_commands.Reset();
    m_microphone.SetRate(Microphone::kDefaultRate);
    m_microphone.SetVolume(static_cast<std::int16_t>(m_controls.Value(kFeatureUnit, kVolume)),
                           false);
    m_settings = {};
    m_pending.reset();
    m_halted = false;
    m_payload_disturbed = m_iso_disturbed = false;
    m_video_not_before = m_audio_not_before = 0;
    if (m_identity == Identity::kCamera) {
        m_commands.SetVersion(m_flash.FirmwareVersion());
    } else {
        const std::uint32_t version = m_flash.BootCodeVersion();
        m_commands.SetVersion({0, 0, static_cast<std::uint8_t>(version >> 24),
                               static_cast<std::uint8_t>(version >> 16),
                               static_cast<std::uint8_t>(version >> 8),
                               static_cast<std::uint8_t>(version)});
    }
    Changed();
}

void CameraModel::LeaveBus(TimeUs back_at)
{
    m_attached = false;
    m_leaving = false;
    m_back_at = back_at;
    m_video.Stop();
    m_settings = {};
    Changed();
}

void CameraModel::LeaveBus(const Fault& fault, TimeUs now)
{
    LeaveBus(fault.value < 0 ? kNever : now + static_cast<TimeUs>(fault.value) * 1000);
}

/// Notes the time; false when the device is not on the bus.
bool CameraModel::Present(TimeUs now)
{
    m_last_now = now;
    if (!m_first_now)
        m_first_now = now;
    if (!m_attached)
        return false;
    if (const auto fault = m_faults.Time((now - *m_first_now) / 1000))
        LeaveBus(*fault, now);
    return m_attached;
}

bool CameraModel::Attached(TimeUs now)
{
    const Guard guard(m_lock);
    const bool present = Present(now);
    if (present || m_back_at == kNever || now < m_back_at)
        return present;
    PlugIn();
    return true;
}

unsigned CameraModel::Session(TimeUs /*now*/)
{
    const Guard guard(m_lock);
    return m_session;
}

/// Faults that look the same for every kind of transfer.
std::optional<TransferStatus> CameraModel::Disturb(const Fault& fault, TimeUs now)
{
    switch (fault.action) {
        case FaultAction::kTimeout:
            return TransferStatus::kTimeout;
        case FaultAction::kHalt:
        case FaultAction::kStall:
            return TransferStatus::kStall;
        case FaultAction::kOverflow:
            return TransferStatus::kOverflow;
        case FaultAction::kError:
            return TransferStatus::kError;
        case FaultAction::kUnplug:
            LeaveBus(fault, now);
            return TransferStatus::kNoDevice;
        default:
            return std::nullopt;
    }
}

}  // namespace vcam
