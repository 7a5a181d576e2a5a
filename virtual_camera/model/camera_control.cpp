// Control requests.
#include <algorithm>
#include <utility>

#include "virtual_camera/model/camera_model.h"
#include "virtual_camera/model/control_request.h"

namespace vcam {
namespace {

using Guard = std::lock_guard<std::mutex>;

/// VideoControl interface controls (UVC 1.0, A.9.1) and their values.
enum : std::uint8_t { kRequestErrorCode = 2, kInvalidControl = 6 };
/// UAC 1.0, A.10.5
enum : std::uint8_t { kSamplingFrequency = 1 };

bool Same(const SetupPacket& a, const SetupPacket& b)
{
    return a.request_type == b.request_type && a.request == b.request && a.value == b.value &&
           a.index == b.index && a.length == b.length;
}

}  // namespace

TransferResult CameraModel::Control(const SetupPacket& setup, unsigned char* data, TimeUs now)
{
    const Guard guard(m_lock);
    if (!Present(now))
        return {TransferStatus::kNoDevice, 0, kNever};

    std::optional<Fault> fault;
    if (m_pending && Same(m_pending->setup, setup)) {
        if (now < m_pending->ready_at)
            return {TransferStatus::kNotReady, 0, m_pending->ready_at};
        m_pending.reset();
    } else {
        fault = m_faults.ControlEvent(setup);
        TimeUs delay = 0;
        if (fault && fault->action == FaultAction::kDelay)
            delay = static_cast<TimeUs>(fault->value) * 1000;
        else if (!fault && IsBurn(setup, data))
            delay = m_options.burn_time;
        if (delay > 0) {
            m_pending = PendingControl{setup, now + delay};
            return {TransferStatus::kNotReady, 0, now + delay};
        }
    }

    const bool in = (setup.request_type & kDirectionIn) != 0;
    ControlRecord record{setup, {}, TransferStatus::kCompleted, now};
    if (!in)
        record.data.assign(data, data + setup.length);
    TransferResult result;
    const auto status = fault ? Disturb(*fault, now) : std::nullopt;
    if (status) {
        result = {*status, 0, kNever};
    } else {
        result = Answer(setup, data, now);
        if (fault && fault->action == FaultAction::kShort)
            result.length = std::min(result.length, static_cast<std::size_t>(fault->value));
    }
    if (in)
        record.data.assign(data, data + result.length);
    record.status = result.status;
    m_traffic.Add(std::move(record));
    if (m_leaving)
        LeaveBus(m_options.reboot_time == kNever ? kNever : now + m_options.reboot_time);
    Changed();
    return result;
}

TransferResult CameraModel::Answer(const SetupPacket& setup, unsigned char* data, TimeUs now)
{
    if (setup.request == kGetCur) {
        const auto found = m_overrides.find({High(setup.index), High(setup.value)});
        if (found != m_overrides.end())
            return Reply(setup, data, found->second);
    }
    switch (setup.request_type & ~unsigned{kDirectionIn}) {
        case kClassDevice:
        case kClassInterface:
            return AnswerClass(setup, data, now);
        case kClassEndpoint:
            return AnswerEndpoint(setup, data);
        case kVendorDevice:
            return AnswerVendor(setup, data);
        default:
            return Stall();
    }
}

TransferResult CameraModel::AnswerClass(const SetupPacket& setup, unsigned char* data, TimeUs now)
{
    if ((setup.request_type & kDirectionIn) == 0) {
        if (setup.request == kSetCur && SetEntity(setup, data, now))
            return Moved(setup.length);
    } else {
        Bytes reply;
        if (GetEntity(setup, reply))
            return Reply(setup, data, reply);
    }
    m_request_error = kInvalidControl;
    return Stall();
}

/// The low byte of wIndex is an interface, which tells equal unit numbers of
/// the video and the audio function apart. The feature unit answers under both
/// audio interfaces; requests to the device as a whole go the same way.
bool CameraModel::GetEntity(const SetupPacket& setup, Bytes& reply) const
{
    const std::uint8_t entity = High(setup.index), selector = High(setup.value);
    const std::uint8_t interface = Low(setup.index);
    if (interface == kVideoControl && entity == kExtensionUnit)
        return m_commands.Get(setup.request, selector, reply);
    if (m_identity != Identity::kCamera)
        return false;
    switch (interface) {
        case kVideoControl:
            if (entity == 0 && selector == kRequestErrorCode && setup.request == kGetCur) {
                reply = {m_request_error};
                return true;
            }
            return entity != kFeatureUnit && m_controls.Get(setup.request, entity, selector, reply);
        case kVideoStreaming:
            return entity == 0 && m_negotiation.Get(setup.request, selector, reply);
        case kAudioControl:
        case kAudioStreaming:
            return entity == kFeatureUnit && m_controls.Get(setup.request, entity, selector, reply);
        default:
            return false;
    }
}

bool CameraModel::SetEntity(const SetupPacket& setup, const unsigned char* data, TimeUs now)
{
    const std::uint8_t entity = High(setup.index), selector = High(setup.value);
    const std::uint8_t interface = Low(setup.index);
    if (interface == kVideoControl && entity == kExtensionUnit)
        return SetExtensionUnit(setup, data);
    if (m_identity != Identity::kCamera)
        return false;
    switch (interface) {
        case kVideoControl:
            return entity != kFeatureUnit && m_controls.Set(entity, selector, data, setup.length);
        case kVideoStreaming:
            if (entity != 0 || !m_negotiation.Set(selector, data, setup.length))
                return false;
            if (selector == Negotiation::kCommit) {
                m_video.Start(m_negotiation.Committed(), now);
                m_halted = false;
            }
            return true;
        case kAudioControl:
        case kAudioStreaming:
            if (entity != kFeatureUnit || !m_controls.Set(entity, selector, data, setup.length))
                return false;
            m_microphone.SetVolume(
                static_cast<std::int16_t>(m_controls.Value(kFeatureUnit, kVolume)),
                m_controls.Value(kFeatureUnit, kMute) != 0);
            return true;
        default:
            return false;
    }
}

bool CameraModel::SetExtensionUnit(const SetupPacket& setup, const unsigned char* data)
{
    switch (m_commands.Set(High(setup.value), data, setup.length)) {
        case CommandUnit::Effect::kRefused:
            return false;
        case CommandUnit::Effect::kNone:
            return true;
        case CommandUnit::Effect::kBeginDownload:
            m_flash.BeginUnannounced();
            return true;
        case CommandUnit::Effect::kImageBlock: {
            const auto fault = m_faults.Event(FaultPoint::kBulkOut);
            if (fault && fault->action == FaultAction::kUnplug)
                m_leaving = true;
            else if (fault && fault->action != FaultAction::kLose)
                return false;
            if (!fault)
                m_flash.AddBlock(data, setup.length);
            return true;
        }
        case CommandUnit::Effect::kBurn:
            return Burn(Flash::kExtensionUnitBurn, 0);
    }
    return false;
}

TransferResult CameraModel::AnswerEndpoint(const SetupPacket& setup, unsigned char* data)
{
    if (m_identity != Identity::kCamera || setup.index != kAudioEndpoint ||
        High(setup.value) != kSamplingFrequency)
        return Stall();
    Bytes reply;
    switch (setup.request) {
        case kSetCur: {
            if ((setup.request_type & kDirectionIn) != 0 || setup.length != 3)
                return Stall();
            const auto rate = static_cast<unsigned>(LoadLe(data, 3));
            if (!Microphone::SupportsRate(rate))
                return Stall();
            m_microphone.SetRate(rate);
            return Moved(3);
        }
        case kGetCur:
            Append(reply, m_microphone.Rate(), 3);
            break;
        case kGetMin:
            Append(reply, 8000, 3);
            break;
        case kGetMax:
            Append(reply, 48000, 3);
            break;
        case kGetRes:
            Append(reply, 8000, 3);
            break;
        default:
            return Stall();
    }
    return Reply(setup, data, reply);
}

}  // namespace vcam
