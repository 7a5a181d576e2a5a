/// @file
/// Properties and capabilities of the camera object.
#ifndef TORVIK_API_CAMERA_PROPERTY_H
#define TORVIK_API_CAMERA_PROPERTY_H

#include <cstdint>

/// Value of a property. The host's; the driver keeps no pointer to it.
/// GetProperty writes `value` only, SetProperty writes nothing.
struct CAM_PROP_VALUE {
    std::int32_t value;   ///< the property's value
    std::int32_t res[2];  ///< further operands; what does not use them ignores them
};
static_assert(sizeof(CAM_PROP_VALUE) == 12, "CAM_PROP_VALUE crosses the binary interface");

/// Device units (arc seconds) in a step of CAM_PROPERTY_PAN and
/// CAM_PROPERTY_TILT.
constexpr std::int32_t kCamPtzUnitsPerStep = 3600;

/// Property identifiers. "get" and "set" say which operation knows the id;
/// the other one fails and changes nothing.
///
/// A set that needs the camera fails while none is connected, but the value
/// stays recorded where "recorded" is said. "Needs the camera" is said of those;
/// a camera that refuses the request makes them fail too.
///
/// SetProperty knows ids 0 to 68: 6, 16, 17, 22, 23, 33, 40 to 42, 44 to 62, 65
/// and 67 fail; 11 succeeds and does nothing; 12 to 14, 18, 19, 25 to 32, 34 to
/// 39, 43 and 64 are recorded without effect and succeed.
enum CAM_PROPERTY : std::uint32_t {
    /// get, set, recorded; needs the camera. Main H.264 bit rate in bit/s; above
    /// 2560000 becomes 2560000, nothing else is checked. Takes effect at once and
    /// in every later recording. Default 2000000.
    CAM_PROPERTY_BITRATE = 0,
    /// get, set, recorded; needs the camera. Main H.264 frames per second, not
    /// checked; the controller takes the low 16 bits. Default 30.
    CAM_PROPERTY_FRAMERATE = 1,
    /// set; needs the camera. Asks the encoder for a key frame; the value is
    /// only logged.
    CAM_PROPERTY_FORCE_I = 2,
    /// get, set, recorded. Width in bits 0-15, height in bits 16-31, pixels.
    /// While recording, recording is restarted with the new size and the call
    /// succeeds, whatever came of the restart. Otherwise the size is recorded
    /// for the next start but the call reports failure; so does setting the size
    /// that is already set. The camera has 160 x 120, 320 x 240, 640 x 480,
    /// 1280 x 720 and 1920 x 1080; it streams 640 x 480 for any other.
    /// Default 640 x 480.
    CAM_PROPERTY_RESOLUTION = 3,
    /// get, set; needs the camera's sound. Microphone volume in percent of the
    /// device's range, 0 to 100; anything else fails. Recorded when it was sent.
    /// Default 30.
    CAM_PROPERTY_MICVOLUME = 4,
    /// get, set. Audio sampling rate in Hz; always 24000 whatever is set.
    CAM_PROPERTY_AUDIO_RATE = 5,
    /// get, set; set needs the camera. Zoom position in device units, 0 to 65535
    /// (UVC 1.5, 4.2.2.1.12 Zoom Absolute), of which only the low 16 bits are
    /// sent. Reads 0 without a camera.
    CAM_PROPERTY_ZOOM = 7,
    /// get, set; set needs the camera. Pan in steps of 3600 arc seconds (UVC
    /// 1.5, 4.2.2.1.14 PanTilt Absolute), rounded toward 0 when read. The tilt is
    /// kept. Reads 0 without a camera.
    CAM_PROPERTY_PAN = 8,
    /// set; needs the camera. Tilt in steps of 3600 arc seconds. The pan is kept.
    /// get answers the debug level instead; the tilt itself shows only in the
    /// log.
    CAM_PROPERTY_TILT = 9,
    /// set; needs the camera. Mains frequency against flicker: 1 = 60 Hz, 2 = 50
    /// Hz; other values are ignored and succeed. The driver sets what the
    /// television has stored when the camera comes up.
    CAM_PROPERTY_FREQUENCY = 10,
    /// set, recorded. CAM_SIGNAL_TYPE, 0 to 8. A larger value is ignored and
    /// the current one changes nothing; both succeed. While recording,
    /// recording restarts and the call succeeds, whatever came of the restart;
    /// otherwise the value is recorded but the call fails. It counts only when
    /// recording is configured by signal type, see CAM_CAPABILITY_SIGNAL_TYPE.
    /// A negative value is recorded like any other and selects the camera's
    /// combination 0. Default CAM_SIGNAL_H264_GRAY_SI.
    CAM_PROPERTY_SIGNAL_TYPE = 15,
    /// set. Crop position of raw images: x and y in the low and high half of
    /// `value`, w and h in those of `res[0]` (pixels, unsigned). Takes effect
    /// with the next change of the camera's crop flag, for NV12 and GRAY alike.
    CAM_PROPERTY_CROP_VGA = 20,
    /// set. The next JPEG frame is delivered to the JPEG observers, one for any
    /// number of requests; the value is ignored. Where recording is configured
    /// by signal type the camera is told to make one, and the call fails without
    /// a camera, the request standing all the same.
    CAM_PROPERTY_TRIGGER_JPEG = 21,
    /// set, recorded. 0 = dual H.264, 1 and 2 = H.264 + JPEG; larger values
    /// fail. While recording, recording restarts and the call succeeds, whatever
    /// came of the restart; otherwise the call fails. It counts only when
    /// recording is configured by video mode. A negative value is recorded like
    /// any other and leaves the camera's combination as it is. The default
    /// depends on the television.
    CAM_PROPERTY_VIDEOMODE = 24,
    /// get. 16-bit status word of the image processor. Fails (0) without a
    /// camera; a camera that does not answer gives 0.
    CAM_PROPERTY_ISP_STATUS = 52,
    /// get, set. Log verbosity 1 (fatal) to 5 (info), kept over restarts in the
    /// television's writable flash; others fail. Setting it runs a shell.
    CAM_PROPERTY_DEBUG_LEVEL = 63,
    /// set. As CAM_PROPERTY_CROP_VGA, of which it differs only in the log.
    CAM_PROPERTY_CROP_GRAY = 66,
    /// get, set, recorded; needs the camera. 8-bit user flag, sent to the
    /// controller and recorded whatever the controller answers. Default 0.
    CAM_PROPERTY_USER_FLAG = 68,
    /// get. 1 when the controller's video self-test passes, else 0. Takes 2 s
    /// during which every other property call waits. Fails without a camera
    /// (0) and when the controller does not take the command (value untouched).
    CAM_PROPERTY_VIDEO_AUTO_TEST = 70,
    /// get. 1 when the controller answers with a firmware version, else 0; no
    /// sound is tested. Succeeds with 0 when Init was never called.
    CAM_PROPERTY_AUDIO_AUTO_TEST = 71,
    /// get. As CAM_PROPERTY_AUDIO_AUTO_TEST.
    CAM_PROPERTY_CONNECTION_CHECK = 72,
};

/// Capability identifiers, 0 to 11. Numbers 1, 3, 7, 8 and 11 are supported;
/// 0, 9 and, with a log line, 4, 5, 6, 10 and all above 11 are not.
enum CAM_CAPABILITY : std::uint32_t {
    /// Recording configured by signal type (CAM_PROPERTY_SIGNAL_TYPE) rather
    /// than by video mode (CAM_PROPERTY_VIDEOMODE). On platforms that offer it,
    /// the query itself switches the camera object to signal-type configuration,
    /// from the next StartRecording on and for good.
    CAM_CAPABILITY_SIGNAL_TYPE = 2,
};

#endif
