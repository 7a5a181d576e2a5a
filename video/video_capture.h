// What the camera object and the video capture thread need of a video source.
#ifndef TORVIK_VIDEO_VIDEO_CAPTURE_H
#define TORVIK_VIDEO_VIDEO_CAPTURE_H

class MediaSample;

/// A source of multiplexed frames. Results of the controls are those of the
/// transport: 1 or a length on success, 0 or negative on failure. The order of
/// the operations is fixed.
class IVideoCapture
{
public:
    virtual ~IVideoCapture() = default;

    /// Starts streaming, after stopping; true when the stream runs.
    virtual bool ConfigureDev(unsigned int width, unsigned int height, unsigned int format,
                              unsigned int fps) = 0;
    virtual int UnConfigureDev() = 0;
    virtual int CaptureFrame(unsigned char* buffer, unsigned int size) = 0;
    /// Copies one frame: its length, 0 without one.
    virtual int CaptureFrame(MediaSample& sample) = 0;
    virtual int SetBitrate(unsigned int bitrate) = 0;
    virtual int SetFramerate(unsigned int fps) = 0;
    virtual int RequestKeyFrame() = 0;
    virtual int SetPTZ(unsigned int control, int value) = 0;
    virtual int GetPTZ(unsigned int control, int* value) = 0;
    virtual bool ResetStream() = 0;
    virtual int SetPU(unsigned int control, int value) = 0;
    /// Lends the oldest frame until RetFrameBuf: its size, or 0 when none came
    /// within 500 ms.
    virtual int GetFrameBuf(unsigned char** data, unsigned int* size) = 0;
    virtual int RetFrameBuf() = 0;
};

#endif
