#include "virtual_camera/model/command_unit.h"

#include <algorithm>

#include "virtual_camera/model/topology.h"

namespace vcam {
namespace {

enum IspOpcode : std::uint8_t {
    kSetFrameRate = 2,
    kKeyFrame = 4,
    kSetBitRate = 8,
    kSensorRegister = 10,
    kFirmwareVersion = 11,
    kIspStatus = 18,
};

enum MmpOpcode : std::uint8_t {
    kPreview = 1,
    kVideoOptions = 2,
    kStill = 3,
    kFlashProtection = 7,
    kStreamTarget = 13,
    kUserFlag = 16,
    kSelfTest = 18,
};

enum : std::uint8_t { kDone = 0, kFailed = 1 };

constexpr std::size_t kBlockSize = 32;

std::size_t Length(std::uint8_t selector)
{
    switch (selector) {
        case CommandUnit::kIspCommand:
        case CommandUnit::kIspResult:
        case CommandUnit::kIndicator:
            return 8;
        case CommandUnit::kMmpCommand:
        case CommandUnit::kMmpResult:
            return 16;
        case CommandUnit::kImageData:
            return kBlockSize;
        default:
            return 0;
    }
}

}  // namespace

CommandUnit::CommandUnit(const CameraOptions& options, VideoStream& video)
    : m_options(options), m_video(video), m_version(options.firmware_version)
{
}

void CommandUnit::Reset()
{
    m_state = {};
    m_sensor.clear();
    m_protect_step = 0;
    m_isp_command = m_isp_result = m_indicator = {};
    m_mmp_command = m_mmp_result = {};
}

std::uint16_t CommandUnit::SensorRegister(std::uint16_t address) const
{
    const auto found = m_sensor.find(address);
    return found == m_sensor.end() ? std::uint16_t{0} : found->second;
}

void CommandUnit::SetSensorRegister(std::uint16_t address, std::uint16_t value)
{
    m_sensor[address] = value;
}

CommandUnit::Effect CommandUnit::Set(std::uint8_t selector, const std::uint8_t* data,
                                     std::size_t length)
{
    if (length == 0 || length != Length(selector))
        return Effect::kRefused;
    switch (selector) {
        case kIspCommand:
            std::copy_n(data, length, m_isp_command.begin());
            Isp(m_isp_command);
            return Effect::kNone;
        case kMmpCommand:
            std::copy_n(data, length, m_mmp_command.begin());
            Mmp(m_mmp_command);
            return Effect::kNone;
        case kImageData:
            return Effect::kImageBlock;
        case kIndicator:
            std::copy_n(data, length, m_indicator.begin());
            if (data[0] == 1 && data[2] == 3)
                return data[1] == 0 ? Effect::kBeginDownload : Effect::kBurn;
            if (data[0] == 14)
                m_state.led = data[2] != 0;
            return Effect::kNone;
        default:
            return Effect::kRefused;
    }
}

void CommandUnit::Isp(const IspFrame& command)
{
    m_isp_result = {};
    const auto word = [&command](std::size_t at) {
        return static_cast<std::uint16_t>(LoadLe(command.data() + at, 2));
    };
    const auto target = static_cast<VideoStream::Target>(m_state.stream_target);
    switch (command[0]) {
        case kSetFrameRate:
            m_state.frame_rate[target] = word(1);
            m_video.SetFrameRate(target, word(1));
            break;
        case kKeyFrame:
            ++m_state.key_requests;
            m_video.RequestKey();
            break;
        case kSetBitRate:
            m_state.bit_rate[target] = word(2);
            m_video.SetBitRate(target, word(2));
            break;
        case kSensorRegister:
            if (command[1] == 3)
                SetSensorRegister(word(2), word(4));
            else if (command[1] == 2)
                StoreLe(m_isp_result.data() + 2, SensorRegister(word(2)), 2);
            else
                m_isp_result[0] = kFailed;
            break;
        case kFirmwareVersion:
            std::copy(m_version.begin(), m_version.end(), m_isp_result.begin() + 2);
            break;
        case kIspStatus:
            StoreLe(m_isp_result.data() + 2, m_options.isp_status, 2);
            break;
        default:
            m_isp_result[0] = kFailed;
            break;
    }
}

void CommandUnit::Mmp(const MmpFrame& command)
{
    m_mmp_result = {};
    bool good = true;
    switch (command[0]) {
        case kPreview:
            good = m_video.SetSignal(command[1]);
            std::copy(command.begin() + 2, command.end(), m_state.preview.begin());
            break;
        case kVideoOptions:
            if (command[1] == 2)
                m_state.video_options = static_cast<std::uint32_t>(LoadLe(command.data() + 2, 4));
            else if (command[1] == 1)
                StoreLe(m_mmp_result.data() + 1, m_state.video_options, 4);
            else
                good = false;
            break;
        case kStill:
            ++m_state.still_requests;
            m_video.RequestStill();
            break;
        case kFlashProtection:
            // Off takes two frames in this order; anything else protects again.
            if (command[1] == 2 && m_protect_step == 1)
                m_state.flash_protected = false;
            else
                m_state.flash_protected = true;
            m_protect_step = command[1] == 0 ? 1 : 0;
            break;
        case kStreamTarget:
            good = command[1] <= VideoStream::kSubEncoder;
            if (good)
                m_state.stream_target = command[1];
            break;
        case kUserFlag:
            m_state.user_flag = command[1];
            break;
        case kSelfTest:
            ++m_state.self_tests;
            good = m_options.self_test_passes;
            break;
        default:
            good = false;
            break;
    }
    m_mmp_result[0] = good ? kDone : kFailed;
}

bool CommandUnit::Get(std::uint8_t request, std::uint8_t selector, Bytes& reply) const
{
    const std::size_t length = Length(selector);
    if (length == 0)
        return false;
    switch (request) {
        case kGetCur:
            break;
        case kGetLen:
            reply.clear();
            Append(reply, length, 2);
            return true;
        case kGetInfo:
            reply = {0x03};
            return true;
        case kGetMin:
        case kGetDef:
            reply.assign(length, 0x00);
            return true;
        case kGetMax:
            reply.assign(length, 0xFF);
            return true;
        case kGetRes:
            reply.assign(length, 0x01);
            return true;
        default:
            return false;
    }
    switch (selector) {
        case kIspCommand:
            reply.assign(m_isp_command.begin(), m_isp_command.end());
            break;
        case kIspResult:
            reply.assign(m_isp_result.begin(), m_isp_result.end());
            break;
        case kIndicator:
            reply.assign(m_indicator.begin(), m_indicator.end());
            break;
        case kMmpCommand:
            reply.assign(m_mmp_command.begin(), m_mmp_command.end());
            break;
        case kMmpResult:
            reply.assign(m_mmp_result.begin(), m_mmp_result.end());
            break;
        default:
            reply.assign(length, 0);
            break;
    }
    return true;
}

}  // namespace vcam
