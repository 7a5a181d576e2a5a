// The audio adapter between the camera object and the audio transport.
#ifndef TORVIK_CONTROL_AUDIO_CAPTURE_ADAPTER_H
#define TORVIK_CONTROL_AUDIO_CAPTURE_ADAPTER_H

#include <atomic>
#include <cstdint>

#include "audio/audio_capture.h"
#include "audio/audio_event_thread.h"

/// Opens the device when constructed and keeps it open. Takes no locks.
class CAudioCapture : public IAudioCapture
{
public:
    CAudioCapture(std::uint16_t vendorId, std::uint16_t productId);
    ~CAudioCapture() override;

    /// `channels` and `reserved` are ignored: the camera has one format.
    bool ConfigureDev(unsigned char channels, unsigned int samplingRate,
                      unsigned int reserved) override;
    int UnConfigureDev() override;
    int ReadAudioData(unsigned char* buffer, unsigned int size) override;
    /// Not range-checked; always true.
    bool SetVolume(int percent) override;
    int GetBuf(unsigned char** data, unsigned int* size) override;
    int RetBuf() override;

    virtual int SetSamplingRate(int rate);

    bool DeviceExists() const { return deviceExists; }

private:
    CKEL_AUDIO_LIB m_transport;  ///< has locks of its own
    std::atomic<bool> streaming{false};
    // Constant after construction.
    bool deviceExists = false;
    const std::uint16_t m_product_id;
    const std::uint16_t m_vendor_id;
};

#endif
