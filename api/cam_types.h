/// @file
/// Enumerations shared by the host and the driver. All are 32 bits wide and
/// their values are part of the binary interface.
#ifndef TORVIK_API_CAM_TYPES_H
#define TORVIK_API_CAM_TYPES_H

#include <cstdint>

/// State of the camera object, see ICameraSubject::GetState.
enum CAM_STATE : std::uint32_t {
    CAM_STATE_DISCONNECTED = 0,  ///< initialisation failed, or the device is gone
    CAM_STATE_CREATED = 1,       ///< constructed; Init has not completed yet
    CAM_STATE_CONNECTED = 2,     ///< ready to record
    CAM_STATE_RECORDING = 3,     ///< between a successful StartRecording and StopRecording
};

/// Sampling rate of CAM_STREAM_PCM in Hz, the only one there is.
constexpr std::int32_t kCamAudioRate = 24000;
/// Channels of CAM_STREAM_PCM.
constexpr unsigned char kCamAudioChannels = 2;

/// Kind of elementary stream a frame belongs to, and the one an observer asks
/// for. Values 4, 6, 10, 11 and 13 to 17 have no name but can be observed;
/// values above 17 are refused.
enum CAM_STREAM : std::uint32_t {
    /// Microphone: blocks of 960 bytes, which are 10 ms of kCamAudioChannels
    /// channels at kCamAudioRate, signed 16-bit little-endian, interleaved. Flows
    /// only in recordings with sound, see ICameraSubject::StartRecording.
    CAM_STREAM_PCM = 0,
    /// H.264 byte stream (ISO/IEC 14496-10 Annex B) of the main encoder, one
    /// access unit a record. In recordings with sound a key frame comes as three
    /// records with one stamp: what stands before the picture parameter set, the
    /// picture parameter set, the picture. After a loss nothing comes until the
    /// next key frame, which the driver has asked for.
    CAM_STREAM_H264_MAIN = 1,
    CAM_STREAM_H264_SUB = 2,  ///< as the main stream, of the sub encoder; never in three records
    CAM_STREAM_MJPEG = 3,     ///< reserved for motion JPEG; the camera sends none
    CAM_STREAM_NV12 = 5,      ///< raw 4:2:0 image, Y plane then interleaved CbCr
    CAM_STREAM_GRAY = 7,      ///< raw 8-bit luma image
    CAM_STREAM_YUYV = 8,      ///< raw 4:2:2 image, packed Y0 Cb Y1 Cr
    CAM_STREAM_JPEG = 9,      ///< one JPEG file; only on request, see CAM_PROPERTY_TRIGGER_JPEG
    CAM_STREAM_NV21 = 12,     ///< raw 4:2:0 image, Y plane then interleaved CrCb
};

/// Combination of streams that the controller multiplexes
/// (CAM_PROPERTY_SIGNAL_TYPE).
enum CAM_SIGNAL_TYPE : std::uint32_t {
    CAM_SIGNAL_H264_YUYV = 0,       ///< main H.264 and YUYV
    CAM_SIGNAL_H264_GRAY = 1,       ///< main H.264 and GRAY
    CAM_SIGNAL_GRAY = 2,            ///< GRAY alone
    CAM_SIGNAL_H264_H264_GRAY = 3,  ///< main and sub H.264 and GRAY, with sound
    CAM_SIGNAL_H264_NV21 = 4,       ///< main H.264 and NV21
    CAM_SIGNAL_H264_GRAY_JPEG = 5,  ///< main H.264, GRAY and JPEG
    CAM_SIGNAL_H264_GRAY_SI = 6,    ///< main H.264, GRAY and still images; the default
    CAM_SIGNAL_H264_H264 = 7,       ///< main and sub H.264
    CAM_SIGNAL_H264_MJPEG = 8,      ///< main H.264 and JPEG
};

/// Transport format asked for with ICameraSubject::SetStreamFormat. Only
/// stored: the camera always delivers H.264 byte streams.
enum CAM_STR_FORMAT : std::uint32_t {
    CAM_STR_FORMAT_H264 = 0,  ///< H.264 byte streams
    CAM_STR_FORMAT_TS = 1,    ///< MPEG transport stream; never delivered
};

#endif
