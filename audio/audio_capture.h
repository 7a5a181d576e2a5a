// What the camera object and the audio capture thread need of a microphone.
#ifndef TORVIK_AUDIO_AUDIO_CAPTURE_H
#define TORVIK_AUDIO_AUDIO_CAPTURE_H

/// A source of PCM. The order of the operations is fixed.
class IAudioCapture
{
public:
    virtual ~IAudioCapture() = default;

    /// Starts streaming at `samplingRate` Hz; true when the stream runs.
    virtual bool ConfigureDev(unsigned char channels, unsigned int samplingRate,
                              unsigned int reserved) = 0;
    virtual int UnConfigureDev() = 0;
    /// Copies one chunk: bytes read, 0 when none came within 500 ms.
    virtual int ReadAudioData(unsigned char* buffer, unsigned int size) = 0;
    /// Percent of the device's range.
    virtual bool SetVolume(int percent) = 0;
    /// Lends the oldest chunk until RetBuf: its size, or 0 as above.
    virtual int GetBuf(unsigned char** data, unsigned int* size) = 0;
    virtual int RetBuf() = 0;
};

#endif
