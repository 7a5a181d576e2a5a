// Class controls of the video function.

#include "api/device_commands.h"
#include "devcmd/camera_terminal.h"
#include "devcmd/command_frames.h"
#include "devcmd/control_transfer.h"
#include "video/uvc_constants.h"
#include "video/uvc_transport.h"

namespace {

constexpr unsigned kControlTimeoutMs = 1000;

/// Class request to an interface (USB 2.0, 9.3); bit 7 is the direction.
constexpr unsigned char kClassInterface = 0x21;
constexpr unsigned char kDirectionIn = 0x80;

/// Length of a processing-unit control, indexed by selector (UVC 1.5, A.9.5).
/// 0 refuses it: gain belongs to the controller's own exposure loop.
constexpr unsigned char kProcessingUnitLength[] = {
    0,  // undefined
    2,  // backlight compensation
    2,  // brightness
    2,  // contrast
    0,  // gain
    1,  // power line frequency
    2,  // hue
    2,  // saturation
    2,  // sharpness
    2,  // gamma
    2,  // white balance temperature
    1,  // white balance temperature, automatic
};

}  // namespace

/// Marks a control request as under way for as long as it lives, so that the
/// event thread does not sleep on a full ring meanwhile.
class CLibUSB_UvcCtrl::ControlRequestScope
{
public:
    explicit ControlRequestScope(CLibUSB_UvcCtrl& transport) : m_transport(transport)
    {
        const CamMutexGuard guard(m_transport.m_park_lock);
        ++m_transport.m_control_requests;
        if (m_transport.RingUnderParkLock() != nullptr)
            m_transport.RingUnderParkLock()->WakeProducer();
    }
    ~ControlRequestScope()
    {
        --m_transport.m_control_requests;
        m_transport.WakeForParked();
    }
    ControlRequestScope(const ControlRequestScope&) = delete;
    ControlRequestScope& operator=(const ControlRequestScope&) = delete;

private:
    CLibUSB_UvcCtrl& m_transport;
};

int CLibUSB_UvcCtrl::UVC_query_ctrl(unsigned char request, unsigned char unit,
                                    unsigned char interface, unsigned char selector, void* data,
                                    unsigned short length, unsigned int timeout)
{
    if (!m_device.IsOpen())
        return -1;
    const ControlRequestScope scope(*this);
    const int result = m_device.Heed(libusb_control_transfer_(
        m_device.Handle(), static_cast<unsigned char>((request & kDirectionIn) | kClassInterface),
        request, static_cast<unsigned short>(selector << 8),
        static_cast<unsigned short>(unit << 8 | interface), static_cast<unsigned char*>(data),
        length, timeout));
    return result < 0 ? kCamUnsupported : result;
}

int CLibUSB_UvcCtrl::SetPU(unsigned int selector, int value)
{
    if (selector >= sizeof kProcessingUnitLength || kProcessingUnitLength[selector] == 0)
        return 0;
    unsigned char data[2];
    WriteLe16(data, static_cast<std::uint16_t>(value));
    return UVC_query_ctrl(kSetCur, kProcessingUnitId, kVideoControlInterface,
                          static_cast<unsigned char>(selector), data,
                          kProcessingUnitLength[selector], kControlTimeoutMs) >= 0;
}

int CLibUSB_UvcCtrl::GetPTZ(unsigned int id, int* value)
{
    const CameraTerminalControl* const control = FindCameraTerminalControl(id);
    if (control == nullptr || value == nullptr)
        return 0;
    unsigned char data[kMaxTerminalControlLength] = {};
    const int result = UVC_query_ctrl(kGetCur, kCameraTerminalId, kVideoControlInterface,
                                      control->selector, data, control->length,
                                      kControlTimeoutMs);
    *value = DecodeTerminalControl(*control, data);
    return result >= 0;
}

int CLibUSB_UvcCtrl::SetPTZ(unsigned int id, int value)
{
    const CameraTerminalControl* const control = FindCameraTerminalControl(id);
    if (control == nullptr)
        return 0;
    unsigned char data[kMaxTerminalControlLength] = {};
    if (control->sibling_id == 0) {
        WriteLe16(data, static_cast<std::uint16_t>(value));
    } else {
        // Pan and tilt share one control: the other axis is kept as it is.
        const CameraTerminalControl* const sibling =
            FindCameraTerminalControl(control->sibling_id);
        int current = 0;
        GetPTZ(sibling->id, &current);
        WriteLe32(data + control->value_offset, static_cast<std::uint32_t>(value));
        WriteLe32(data + sibling->value_offset, static_cast<std::uint32_t>(current));
    }
    return UVC_query_ctrl(kSetCur, kCameraTerminalId, kVideoControlInterface, control->selector,
                          data, control->length, kControlTimeoutMs) >= 0;
}

int CLibUSB_UvcCtrl::KelCommandGet(unsigned char selector, unsigned char* data,
                                   unsigned char length)
{
    return UVC_query_ctrl(kGetCur, kExtensionUnitId, kVideoControlInterface, selector, data,
                          length, kControlTimeoutMs);
}

int CLibUSB_UvcCtrl::KelCommandSend(unsigned char selector, unsigned char* data,
                                    unsigned char length)
{
    return UVC_query_ctrl(kSetCur, kExtensionUnitId, kVideoControlInterface, selector, data,
                          length, kControlTimeoutMs);
}

int CLibUSB_UvcCtrl::KelISPCommand(unsigned char* command, unsigned char*)
{
    return KelCommandSend(kXuIspCommand, command, sizeof(IspFrame));
}

int CLibUSB_UvcCtrl::RequestKeyFrame()
{
    IspFrame frame = IspRequestKeyFrame();
    return KelISPCommand(frame.data(), nullptr) > 0;
}

int CLibUSB_UvcCtrl::SetFramerate(unsigned short fps)
{
    IspFrame frame = IspSetFramerate(fps);
    return KelISPCommand(frame.data(), nullptr) > 0;
}

int CLibUSB_UvcCtrl::SetBitrate(unsigned short bitrate)
{
    IspFrame frame = IspSetBitrate(bitrate);
    return KelISPCommand(frame.data(), nullptr) > 0;
}
