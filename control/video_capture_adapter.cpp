#include "control/video_capture_adapter.h"

#include "runtime/debug_log.h"
#include "video/media_sample.h"

namespace {

constexpr int kFormatIndex = 3;
constexpr int kFrameRate = 30;

/// The controller's frame descriptors.
constexpr struct {
    unsigned width;
    unsigned height;
    int frame_index;
} kFrameIndexes[] = {
    {1280, 720, 4},
    {640, 480, 1},
    {320, 240, 3},
    {160, 120, 2},
    {1920, 1080, 5},
};
constexpr int kDefaultFrameIndex = 1;

int FrameIndexOf(unsigned width, unsigned height)
{
    for (const auto& row : kFrameIndexes) {
        if (row.width == width && row.height == height)
            return row.frame_index;
    }
    return kDefaultFrameIndex;
}

}  // namespace

KelUvcCapture::KelUvcCapture(std::uint16_t vendorId, std::uint16_t productId)
    : m_product_id(productId), m_vendor_id(vendorId)
{
    deviceExists = m_transport.Init(m_vendor_id, m_product_id) >= 0;
    if (!deviceExists)
        CAM_LOG(kLogDebugging, "KelUvcCapture:: Device not exist.\r\n");
}

KelUvcCapture::~KelUvcCapture()
{
    m_transport.DisableStream();
    streaming = false;
}

bool KelUvcCapture::ConfigureDev(unsigned int width, unsigned int height, unsigned int format,
                                 unsigned int fps)
{
    UnConfigureDev();
    m_width = width;
    m_height = height;
    m_format = format;
    m_fps = fps;
    if (m_transport.EnableStream(kFormatIndex, FrameIndexOf(width, height), kFrameRate) < 0) {
        CAM_LOG(kLogDebugging, "Failed to start streaming.\r\n");
        return false;
    }
    streaming = true;
    return true;
}

int KelUvcCapture::UnConfigureDev()
{
    const int result = m_transport.DisableStream();
    streaming = false;
    return result;
}

int KelUvcCapture::CaptureFrame(unsigned char*, unsigned int)
{
    return 0;
}

int KelUvcCapture::CaptureFrame(MediaSample& sample)
{
    if (!streaming)
        return 0;
    const unsigned read = m_transport.ReadFrame(sample.GetBuffer(), sample.GetBufferSize());
    sample.SetSampleSize(read);
    return static_cast<int>(read);
}

int KelUvcCapture::SetBitrate(unsigned int bitrate)
{
    return m_transport.SetBitrate(static_cast<unsigned short>(bitrate));
}

int KelUvcCapture::SetFramerate(unsigned int fps)
{
    return m_transport.SetFramerate(static_cast<unsigned short>(fps));
}

int KelUvcCapture::RequestKeyFrame()
{
    return m_transport.RequestKeyFrame();
}

int KelUvcCapture::SetPTZ(unsigned int control, int value)
{
    return m_transport.SetPTZ(control, value);
}

int KelUvcCapture::GetPTZ(unsigned int control, int* value)
{
    return m_transport.GetPTZ(control, value);
}

bool KelUvcCapture::ResetStream()
{
    UnConfigureDev();
    return ConfigureDev(m_width, m_height, m_format, m_fps);
}

int KelUvcCapture::SetPU(unsigned int control, int value)
{
    return m_transport.SetPU(control, value);
}

int KelUvcCapture::GetFrameBuf(unsigned char** data, unsigned int* size)
{
    return m_transport.DequeFrameBuf(data, size);
}

int KelUvcCapture::RetFrameBuf()
{
    return m_transport.QueueFrameBuf();
}

int KelUvcCapture::KelCommandSend(unsigned char selector, unsigned char* data,
                                  unsigned char length)
{
    return m_transport.KelCommandSend(selector, data, length);
}

int KelUvcCapture::KelCommandGet(unsigned char selector, unsigned char* data,
                                 unsigned char length)
{
    return m_transport.KelCommandGet(selector, data, length);
}
