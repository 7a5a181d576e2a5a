// Sound's whole road: isochronous packets of any length, through the transport
// and the capture thread's loop to an observer that reads what it gets.
//
// input: options, then as scripted_libusb.cpp and ScriptedAudio take it
#include <vector>

#include "audio/audio_capture.h"
#include "audio/audio_capture_thread.h"
#include "audio/uac_transport.h"
#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/checking_camera.h"
#include "fuzz/scripted_libusb.h"
#include "fuzz/target.h"
#include "runtime/debug_log.h"
#include "usb/usb_identity.h"

namespace {

constexpr std::uint8_t kLog = 0x80;

class Transport : public CLibUSB_UacCtrl {
public:
    using CLibUSB_UacCtrl::IsStreaming;

    void Enable() { UAC_EnableAudioStream(24000); }
    void Disable()
    {
        if (IsStreaming())
            UAC_DisableAudioStream();
    }
};

class ScriptedAudio : public IAudioCapture {
public:
    explicit ScriptedAudio(fuzz::Bytes& script) : m_script(script)
    {
        m_transport.Init(CAM_VENDOR_ID, CAM_PRODUCT_ID);
        m_transport.Enable();
    }
    ~ScriptedAudio() override { m_transport.Disable(); }

    void StopAtEnd(pThread& thread) { m_thread = &thread; }

    int GetBuf(unsigned char** data, unsigned int* size) override
    {
        for (;;) {
            const int lent = m_transport.DequeFrameBuf(data, size);
            if (lent > 0) {
                FUZZ_CHECK(static_cast<unsigned>(lent) == *size);
                fuzz::ReadAll(*data, *size);
                return lent;
            }
            if (m_script.Empty()) {
                m_thread->Stop();
                return 0;
            }
            Act();
        }
    }
    int RetBuf() override { return m_transport.QueueFrameBuf(); }

    bool ConfigureDev(unsigned char, unsigned, unsigned) override { return false; }
    int UnConfigureDev() override { return 0; }
    int ReadAudioData(unsigned char*, unsigned) override { return 0; }
    bool SetVolume(int) override { return false; }

private:
    void Act()
    {
        const std::uint8_t action = m_script.U8();
        switch (action) {
        case 0xF9:
            m_transport.Enable();
            break;
        case 0xFA:
            m_transport.Disable();
            break;
        case 0xFB:
            m_transport.UAC_SetCurVolume(static_cast<short>(m_script.U16()));
            m_transport.UAC_SetSamplingRate(m_script.U32());
            break;
        case 0xFC: {
            std::vector<unsigned char> copy(m_script.U8());
            FUZZ_CHECK(m_transport.ReadFrame(copy.data(), static_cast<unsigned>(copy.size())) <=
                       copy.size());
            break;
        }
        default:
            // Up to a full ring and beyond.
            for (unsigned i = 0; i <= (action & 7U); ++i)
                m_transport.handle_libusb_event();
        }
    }

    fuzz::Bytes& m_script;
    Transport m_transport;
    pThread* m_thread = nullptr;
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes script(data, size);
    g_embedded_cam_dbg_level = script.U8() & kLog ? 5 : 0;
    fuzz::UseScript(&script);
    {
        fuzz::CheckingCamera camera;
        ScriptedAudio audio(script);
        CAudioCaptureThread thread(&camera, &audio);
        audio.StopAtEnd(thread);
        thread.Run();
    }
    FUZZ_CHECK(fuzz::Submitted() == 0);
    return 0;
}
