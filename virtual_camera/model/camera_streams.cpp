// Interfaces, endpoints and the transfers on them.
#include <algorithm>
#include <utility>

#include "virtual_camera/model/camera_model.h"

namespace vcam {
namespace {

using Guard = std::lock_guard<std::mutex>;

constexpr TimeUs kPacketTime = 1000;
/// A host so far behind misses samples instead of getting all of them at once.
constexpr TimeUs kFarBehind = 2000000;

TransferResult NotReady(TimeUs ready_at)
{
    return {TransferStatus::kNotReady, 0, ready_at};
}
TransferResult Ended(TransferStatus status)
{
    return {status, 0, kNever};
}
TransferResult Moved(std::size_t length)
{
    return {TransferStatus::kCompleted, length, kNever};
}

}  // namespace

TransferResult CameraModel::SetAlternateSetting(unsigned interface, unsigned setting, TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return Ended(TransferStatus::kNoDevice);
    if (interface >= m_settings.size() || setting > (interface == kAudioStreaming ? 1U : 0U))
        return Ended(TransferStatus::kStall);
    if (m_identity != Identity::kCamera)
        return Moved(0);
    m_settings[interface] = setting;
    if (interface == kVideoStreaming) {
        m_video.Stop();
        m_halted = false;
    }
    if (interface == kAudioStreaming && setting == 1) {
        m_microphone.Start();
        m_iso_started = false;
        m_iso_transfers = 0;
    }
    Changed();
    return Moved(0);
}

TransferResult CameraModel::ClearHalt(std::uint8_t endpoint, TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return Ended(TransferStatus::kNoDevice);
    if (endpoint == kVideoEndpoint) {
        // With a bulk endpoint in the only setting, hosts clear its halt to
        // say that they stop the stream.
        if (!m_halted)
            m_video.Stop();
        m_halted = false;
        Changed();
    }
    return Moved(0);
}

TransferResult CameraModel::BulkIn(std::uint8_t endpoint, unsigned char* data, std::size_t capacity,
                                   TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return Ended(TransferStatus::kNoDevice);
    if (endpoint != kVideoEndpoint || m_identity != Identity::kCamera)
        return Ended(TransferStatus::kError);
    if (m_halted)
        return Ended(TransferStatus::kStall);
    if (now < m_video_not_before)
        return NotReady(m_video_not_before);
    const TimeUs ready = m_video.Prepare(now);
    if (const auto fault = m_video.TakeUnplug()) {
        LeaveBus(*fault, now);
        return Ended(TransferStatus::kNoDevice);
    }
    if (ready != 0)
        return NotReady(ready);

    PayloadCutter::Twist twist;
    if (m_video.AtPayloadStart() && !std::exchange(m_payload_disturbed, false)) {
        if (const auto fault = m_faults.Event(FaultPoint::kPayload)) {
            if (const auto status = Disturb(*fault, now)) {
                m_halted = fault->action == FaultAction::kHalt;
                if (status == TransferStatus::kOverflow || status == TransferStatus::kError)
                    m_video.LosePayload(now);
                return Ended(*status);
            }
            switch (fault->action) {
                case FaultAction::kDelay:
                    m_video_not_before = now + static_cast<TimeUs>(fault->value) * 1000;
                    m_payload_disturbed = true;
                    return NotReady(m_video_not_before);
                case FaultAction::kExtraErr:
                    return Moved(m_video.TakeRubbish(data, capacity));
                case FaultAction::kErr:
                    twist.err = true;
                    break;
                case FaultAction::kHeader:
                    twist.header_length = static_cast<std::uint8_t>(fault->value);
                    break;
                case FaultAction::kShort:
                    twist.cut = static_cast<std::size_t>(fault->value);
                    break;
                default:
                    break;
            }
        }
    }
    const std::size_t length = m_video.Take(data, capacity, twist, now);
    if (m_video.BetweenContainers())
        Changed();
    return Moved(length);
}

TransferResult CameraModel::IsoIn(std::uint8_t endpoint, IsoPacket* packets, std::size_t count,
                                  TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return Ended(TransferStatus::kNoDevice);
    if (endpoint != kAudioEndpoint || m_identity != Identity::kCamera)
        return Ended(TransferStatus::kError);
    if (m_settings[kAudioStreaming] == 0 || (m_iso_limit && m_iso_transfers >= m_iso_limit))
        return NotReady(kNever);
    if (!std::exchange(m_iso_started, true))
        m_iso_time = now;
    const TimeUs due = std::max(m_iso_time + count * kPacketTime, m_audio_not_before);
    if ((m_options.audio_paced || m_audio_not_before > now) && due > now)
        return NotReady(due);
    if (m_options.audio_paced && now - due > kFarBehind)
        m_iso_time = now - count * kPacketTime;

    bool empty = false;
    if (!std::exchange(m_iso_disturbed, false)) {
        if (const auto fault = m_faults.Event(FaultPoint::kIso)) {
            if (const auto status = Disturb(*fault, now))
                return Ended(*status);
            if (fault->action == FaultAction::kDelay) {
                m_audio_not_before = now + static_cast<TimeUs>(fault->value) * 1000;
                m_iso_disturbed = true;
                return NotReady(m_audio_not_before);
            }
            empty = fault->action == FaultAction::kLose;
        }
    }
    std::size_t total = 0;
    std::uint64_t digest = kDigestStart;
    for (std::size_t i = 0; i < count; ++i) {
        IsoPacket& packet = packets[i];
        packet.length = empty ? 0 : m_microphone.NextPacket(packet.data, packet.capacity);
        packet.status = TransferStatus::kCompleted;
        digest = Digest(packet.data, packet.length, digest);
        total += packet.length;
    }
    m_iso_time += count * kPacketTime;
    const auto number = static_cast<std::uint32_t>(++m_iso_transfers);
    m_traffic.Add({Stream::kPcm, m_iso_transfers, number, total, digest, true, total > 0, now});
    Changed();
    return Moved(total);
}

TransferResult CameraModel::BulkOut(std::uint8_t endpoint, const unsigned char* data,
                                    std::size_t length, TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return Ended(TransferStatus::kNoDevice);
    if (endpoint != kFlashEndpoint || m_identity == Identity::kBootLoaderUvc)
        return Ended(TransferStatus::kError);
    if (const auto fault = m_faults.Event(FaultPoint::kBulkOut)) {
        if (const auto status = Disturb(*fault, now))
            return Ended(*status);
        if (fault->action == FaultAction::kLose)
            return Moved(length);
    }
    m_flash.AddBlock(data, length);
    Changed();
    return Moved(length);
}

void CameraModel::Cancelled(std::uint8_t endpoint, TimeUs /*now*/)
{
    const Guard guard(m_lock);
    if ((endpoint & 0x7FU) == kControlEndpoint)
        m_pending.reset();
}

}  // namespace vcam
