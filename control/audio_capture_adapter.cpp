#include "control/audio_capture_adapter.h"

#include "runtime/debug_log.h"

CAudioCapture::CAudioCapture(std::uint16_t vendorId, std::uint16_t productId)
    : m_product_id(productId), m_vendor_id(vendorId)
{
    deviceExists = m_transport.Init(m_vendor_id, m_product_id) >= 0;
    if (!deviceExists)
        CAM_LOG(kLogDebugging, "CAudioCapture:: Device not exist.\r\n");
}

CAudioCapture::~CAudioCapture()
{
    CAM_LOG(kLogDebugging, "CAudioCapture::~CAudioCapture+\r\n");
    m_transport.DisableStream();
    streaming = false;
    CAM_LOG(kLogDebugging, "CAudioCapture::~CAudioCapture-\r\n");
}

bool CAudioCapture::ConfigureDev(unsigned char, unsigned int samplingRate, unsigned int)
{
    if (streaming)
        UnConfigureDev();
    if (m_transport.EnableStream(static_cast<int>(samplingRate)) < 0) {
        CAM_LOG(kLogDebugging, "Failed to start streaming.\r\n");
        return false;
    }
    streaming = true;
    return true;
}

int CAudioCapture::UnConfigureDev()
{
    const int result = m_transport.DisableStream();
    streaming = false;
    return result;
}

int CAudioCapture::ReadAudioData(unsigned char* buffer, unsigned int size)
{
    return static_cast<int>(m_transport.ReadFrame(buffer, size));
}

bool CAudioCapture::SetVolume(int percent)
{
    // In 64 bits: nothing here checks the percentage.
    const std::int64_t range = m_transport.GetMaxVolume() - m_transport.GetMinVolume();
    const std::int64_t step = percent * range / 100;
    m_transport.SetCurVolume(static_cast<unsigned>(step));
    return true;
}

int CAudioCapture::GetBuf(unsigned char** data, unsigned int* size)
{
    return m_transport.DequeFrameBuf(data, size);
}

int CAudioCapture::RetBuf()
{
    return m_transport.QueueFrameBuf();
}

int CAudioCapture::SetSamplingRate(int rate)
{
    return m_transport.SetSamplingRate(static_cast<unsigned>(rate));
}
