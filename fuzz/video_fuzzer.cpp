// A video frame's whole road: payloads, lengths and statuses from the fuzzer,
// through the transport and the capture thread's loop to an observer that reads
// what it gets. Control requests that the loop makes let transfers complete on
// its own thread, as libusb does.
//
// input: options, then as scripted_libusb.cpp and ScriptedVideo take it
#include <vector>

#include "api/camera_subject.h"
#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/checking_camera.h"
#include "fuzz/scripted_libusb.h"
#include "fuzz/target.h"
#include "runtime/debug_log.h"
#include "usb/usb_identity.h"
#include "video/uvc_transport.h"
#include "video/video_capture.h"
#include "video/video_capture_thread.h"

namespace {

enum : std::uint8_t { kSplitKeyFrames = 0x01, kLog = 0x80 };

class Transport : public CLibUSB_UvcCtrl {
public:
    using CLibUSB_UvcCtrl::IsStreaming;

    void Enable()
    {
        Disable();
        UVC_EnableVideoStream(3, 4, 30);
    }
    void Disable()
    {
        if (IsStreaming())
            UVC_DisableVideoStream();
    }
};

/// The transport as the capture thread sees it. There is no event thread: the
/// loop's wait for a frame handles the events.
class ScriptedVideo : public IVideoCapture {
public:
    ScriptedVideo(fuzz::Bytes& script, fuzz::CheckingCamera& camera)
        : m_script(script), m_camera(camera)
    {
        m_transport.Init(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        m_transport.Enable();
    }
    ~ScriptedVideo() override { m_transport.Disable(); }

    void StopAtEnd(pThread& thread) { m_thread = &thread; }

    int GetFrameBuf(unsigned char** data, unsigned int* size) override
    {
        for (;;) {
            const int lent = m_transport.DequeFrameBuf(data, size);
            if (lent > 0) {
                FUZZ_CHECK(static_cast<unsigned>(lent) == *size);
                fuzz::ReadAll(*data, *size);
                m_camera.Lend(*data, *size);
                return lent;
            }
            FUZZ_CHECK(*data == nullptr && *size == 0);
            if (m_script.Empty()) {
                m_thread->Stop();
                return 0;
            }
            if (!Act())
                return 0;
        }
    }
    int RetFrameBuf() override
    {
        m_camera.Lend(nullptr, 0);
        return m_transport.QueueFrameBuf();
    }
    int RequestKeyFrame() override { return m_transport.RequestKeyFrame(); }

    bool ConfigureDev(unsigned, unsigned, unsigned, unsigned) override { return false; }
    int UnConfigureDev() override { return 0; }
    int CaptureFrame(unsigned char*, unsigned) override { return 0; }
    int CaptureFrame(MediaSample&) override { return 0; }
    int SetBitrate(unsigned) override { return 0; }
    int SetFramerate(unsigned) override { return 0; }
    int SetPTZ(unsigned, int) override { return 0; }
    int GetPTZ(unsigned, int*) override { return 0; }
    bool ResetStream() override { return false; }
    int SetPU(unsigned, int) override { return 0; }

private:
    /// False: no frame came in time.
    bool Act()
    {
        const std::uint8_t action = m_script.U8();
        switch (action) {
        case 0xF8:
            return false;
        case 0xF9:
            m_transport.Enable();
            break;
        case 0xFA:
            m_transport.Disable();
            break;
        case 0xFB:
            SendControls();
            break;
        case 0xFC: {
            std::vector<unsigned char> copy(m_script.U8());
            FUZZ_CHECK(m_transport.ReadFrame(copy.data(), static_cast<unsigned>(copy.size())) <=
                       copy.size());
            break;
        }
        default:
            m_transport.handle_libusb_event();
        }
        return true;
    }

    void SendControls()
    {
        const std::uint32_t number = m_script.U32();
        const int value = static_cast<int>(number);
        const unsigned id = 0x9A0900U + m_script.U8();
        int position = 0;
        m_transport.SetPTZ(id, value);
        m_transport.GetPTZ(id, &position);
        m_transport.SetPU(number & 0x1FU, value);
        m_transport.SetBitrate(static_cast<unsigned short>(number));
        m_transport.SetFramerate(static_cast<unsigned short>(number));
    }

    fuzz::Bytes& m_script;
    fuzz::CheckingCamera& m_camera;
    Transport m_transport;
    pThread* m_thread = nullptr;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes script(data, size);
    const std::uint8_t options = script.U8();
    g_embedded_cam_dbg_level = options & kLog ? 5 : 0;
    fuzz::UseScript(&script);
    {
        fuzz::CheckingCamera camera;
        ScriptedVideo video(script, camera);
        CVideoCaptureThread thread(&camera, &video, 5, (options & kSplitKeyFrames) != 0);
        video.StopAtEnd(thread);
        thread.Run();
    }
    FUZZ_CHECK(fuzz::Submitted() == 0);
    return 0;
}
