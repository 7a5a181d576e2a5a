// The video adapter between the camera object and the video transport.
#ifndef TORVIK_CONTROL_VIDEO_CAPTURE_ADAPTER_H
#define TORVIK_CONTROL_VIDEO_CAPTURE_ADAPTER_H

#include <atomic>
#include <cstdint>

#include "video/video_capture.h"
#include "video/video_event_thread.h"

/// Opens the device when constructed and keeps it open. Takes no locks: the
/// transport and the camera object serialise what needs it.
class KelUvcCapture : public IVideoCapture
{
public:
    KelUvcCapture(std::uint16_t vendorId, std::uint16_t productId);
    ~KelUvcCapture() override;

    /// Chooses the controller's frame index from the size; format and fps are
    /// only kept for ResetStream, the encoder gets them as commands.
    bool ConfigureDev(unsigned int width, unsigned int height, unsigned int format,
                      unsigned int fps) override;
    int UnConfigureDev() override;
    /// Not used: always 0.
    int CaptureFrame(unsigned char* buffer, unsigned int size) override;
    int CaptureFrame(MediaSample& sample) override;
    int SetBitrate(unsigned int bitrate) override;    ///< low 16 bits count
    int SetFramerate(unsigned int fps) override;      ///< low 16 bits count
    int RequestKeyFrame() override;
    int SetPTZ(unsigned int control, int value) override;
    int GetPTZ(unsigned int control, int* value) override;
    /// Restarts the stream with the last configuration.
    bool ResetStream() override;
    int SetPU(unsigned int control, int value) override;
    int GetFrameBuf(unsigned char** data, unsigned int* size) override;
    int RetFrameBuf() override;

    /// Extension-unit commands: the transport's result.
    virtual int KelCommandSend(unsigned char selector, unsigned char* data, unsigned char length);
    virtual int KelCommandGet(unsigned char selector, unsigned char* data, unsigned char length);

    bool DeviceExists() const { return deviceExists; }

private:
    CKEL_CAM_LIB m_transport;  ///< has locks of its own
    std::atomic<bool> streaming{false};
    // Constant after construction.
    bool deviceExists = false;
    const std::uint16_t m_product_id;
    const std::uint16_t m_vendor_id;
    // Of the thread that configures: the camera object lets in one at a time.
    std::uint32_t m_width = 0;
    std::uint32_t m_height = 0;
    std::uint32_t m_format = 0;
    std::uint32_t m_fps = 0;
};

#endif
