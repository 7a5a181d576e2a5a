// What tests ask of the camera and do to it.
#include <algorithm>
#include <utility>

#include "virtual_camera/model/camera_model.h"

namespace vcam {
namespace {

using Guard = std::lock_guard<std::mutex>;

}  // namespace

Identity CameraModel::CurrentIdentity() const
{
    const Guard guard(m_lock);
    return m_identity;
}

ControllerState CameraModel::Controller() const
{
    const Guard guard(m_lock);
    return m_commands.State();
}

std::uint8_t CameraModel::SignalType() const
{
    const Guard guard(m_lock);
    return m_video.SignalType();
}

std::uint16_t CameraModel::SensorRegister(std::uint16_t address) const
{
    const Guard guard(m_lock);
    return m_commands.SensorRegister(address);
}

std::int32_t CameraModel::ControlValue(std::uint8_t entity, std::uint8_t selector,
                                       std::size_t field) const
{
    const Guard guard(m_lock);
    return m_controls.Value(entity, selector, field);
}

bool CameraModel::VideoStreaming() const
{
    const Guard guard(m_lock);
    return m_video.Streaming();
}

bool CameraModel::AudioStreaming() const
{
    const Guard guard(m_lock);
    return m_settings[kAudioStreaming] != 0;
}

StreamParameters CameraModel::Committed() const
{
    const Guard guard(m_lock);
    return m_negotiation.Committed();
}

unsigned CameraModel::AudioRate() const
{
    const Guard guard(m_lock);
    return m_microphone.Rate();
}

unsigned CameraModel::AlternateSetting(unsigned interface) const
{
    const Guard guard(m_lock);
    return interface < m_settings.size() ? m_settings[interface] : 0;
}

Bytes CameraModel::FaceParameters() const
{
    const Guard guard(m_lock);
    return m_face_parameters;
}

StreamTotals CameraModel::Totals(Stream stream) const
{
    const Guard guard(m_lock);
    return m_traffic.Totals(stream);
}

std::vector<SentFrame> CameraModel::Frames() const
{
    const Guard guard(m_lock);
    return m_traffic.Frames();
}

std::vector<SentFrame> CameraModel::Frames(Stream stream) const
{
    const Guard guard(m_lock);
    std::vector<SentFrame> frames;
    const auto& all = m_traffic.Frames();
    std::copy_if(all.begin(), all.end(), std::back_inserter(frames),
                 [stream](const SentFrame& frame) { return frame.stream == stream; });
    return frames;
}

std::uint64_t CameraModel::Containers() const
{
    const Guard guard(m_lock);
    const std::uint64_t begun = m_video.Containers();
    return begun > 0 && !m_video.BetweenContainers() ? begun - 1 : begun;
}

std::vector<ControlRecord> CameraModel::Requests() const
{
    const Guard guard(m_lock);
    return m_traffic.Requests();
}

std::vector<Bytes> CameraModel::Commands(std::uint8_t selector) const
{
    const Guard guard(m_lock);
    std::vector<Bytes> commands;
    for (const ControlRecord& record : m_traffic.Requests())
        if (record.setup.request == kSetCur && record.setup.index == kExtensionUnit << 8 &&
            record.setup.value == selector << 8)
            commands.push_back(record.data);
    return commands;
}

std::uint64_t CameraModel::RequestCount() const
{
    const Guard guard(m_lock);
    return m_traffic.RequestCount();
}

void CameraModel::ClearTraffic()
{
    const Guard guard(m_lock);
    m_traffic.Clear();
}

DownloadFacts CameraModel::Download() const
{
    const Guard guard(m_lock);
    return m_flash.Facts();
}

Bytes CameraModel::FirmwareFlash() const
{
    const Guard guard(m_lock);
    return m_flash.Firmware();
}

Bytes CameraModel::BootCodeFlash() const
{
    const Guard guard(m_lock);
    return m_flash.BootCode();
}

bool CameraModel::Wait(std::chrono::milliseconds limit, const std::function<bool()>& done) const
{
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        std::unique_lock<std::mutex> guard(m_lock);
        const std::uint64_t seen = m_changes;
        guard.unlock();
        if (done())
            return true;
        guard.lock();
        if (!m_changed.wait_until(guard, end, [&] { return m_changes != seen; }))
            break;
    }
    return done();
}

void CameraModel::Unplug()
{
    {
        const Guard guard(m_lock);
        // Pulled while it reboots, it stays away as well.
        LeaveBus(kNever);
    }
    WakeUp();
}

void CameraModel::UnplugFor(std::chrono::milliseconds time)
{
    {
        const Guard guard(m_lock);
        if (m_attached)
            LeaveBus(m_last_now + static_cast<TimeUs>(time.count()) * 1000);
    }
    WakeUp();
}

void CameraModel::Replug()
{
    {
        const Guard guard(m_lock);
        if (!m_attached)
            PlugIn();
    }
    WakeUp();
}

void CameraModel::AddFault(const Fault& fault)
{
    const Guard guard(m_lock);
    m_faults.Add(fault);
}

void CameraModel::AddFaults(const std::string& script)
{
    const Script parsed = ParseScript(script, m_options);
    const Guard guard(m_lock);
    for (const Fault& fault : parsed.faults) m_faults.Add(fault);
}

void CameraModel::ClearFaults()
{
    const Guard guard(m_lock);
    m_faults.Clear();
}

void CameraModel::SetContainerLimit(std::uint64_t containers)
{
    {
        const Guard guard(m_lock);
        m_video.SetLimit(containers);
    }
    WakeUp();
}

void CameraModel::SetAudioLimit(std::uint64_t transfers)
{
    {
        const Guard guard(m_lock);
        m_iso_limit = transfers;
    }
    WakeUp();
}

void CameraModel::SetCropFlag(std::uint16_t flag)
{
    const Guard guard(m_lock);
    m_video.SetCropFlag(flag);
}

void CameraModel::SetSensorRegister(std::uint16_t address, std::uint16_t value)
{
    const Guard guard(m_lock);
    m_commands.SetSensorRegister(address, value);
}

void CameraModel::SetControlValue(std::uint8_t entity, std::uint8_t selector, std::size_t field,
                                  std::int32_t value)
{
    const Guard guard(m_lock);
    m_controls.SetValue(entity, selector, field, value);
}

void CameraModel::SetFaces(std::vector<Face> faces, std::optional<std::uint8_t> count)
{
    const Guard guard(m_lock);
    m_faces = std::move(faces);
    m_face_count = count;
}

void CameraModel::OverrideReply(std::uint8_t entity, std::uint8_t selector, Bytes reply)
{
    const Guard guard(m_lock);
    m_overrides[{entity, selector}] = std::move(reply);
}

void CameraModel::ClearOverrides()
{
    const Guard guard(m_lock);
    m_overrides.clear();
}

}  // namespace vcam
