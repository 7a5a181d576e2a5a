// The virtual camera: a composite USB device with video, microphone,
// controller commands and a boot loader.
#ifndef VIRTUAL_CAMERA_MODEL_CAMERA_MODEL_H
#define VIRTUAL_CAMERA_MODEL_CAMERA_MODEL_H

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "virtual_camera/model/command_unit.h"
#include "virtual_camera/model/controls.h"
#include "virtual_camera/model/faults.h"
#include "virtual_camera/model/flash.h"
#include "virtual_camera/model/media.h"
#include "virtual_camera/model/microphone.h"
#include "virtual_camera/model/negotiation.h"
#include "virtual_camera/model/options.h"
#include "virtual_camera/model/topology.h"
#include "virtual_camera/model/traffic.h"
#include "virtual_camera/model/video_stream.h"
#include "virtual_camera/usb_device.h"

namespace vcam {

/// A face as the detector reports it: four values in the order of the wire.
using Face = std::array<std::uint16_t, 4>;

/// The device itself is driven by its carrier; everything below "What a test
/// may ask" may be called from any thread at any time.
class CameraModel : public UsbDevice
{
public:
    /// Throws std::runtime_error when the media cannot be read.
    explicit CameraModel(CameraOptions options = {});
    explicit CameraModel(const Script& script);

    /// @name UsbDevice
    /// @{
    Bytes DeviceDescriptor() const override;
    Bytes ConfigurationDescriptor() const override;
    Bytes StringDescriptor(std::uint8_t index) const override;
    bool Attached(TimeUs now) override;
    unsigned Session(TimeUs now) override;
    TransferResult Control(const SetupPacket& setup, unsigned char* data, TimeUs now) override;
    TransferResult SetAlternateSetting(unsigned interface, unsigned setting, TimeUs now) override;
    TransferResult ClearHalt(std::uint8_t endpoint, TimeUs now) override;
    TransferResult BulkIn(std::uint8_t endpoint, unsigned char* data, std::size_t capacity,
                          TimeUs now) override;
    TransferResult BulkOut(std::uint8_t endpoint, const unsigned char* data, std::size_t length,
                           TimeUs now) override;
    TransferResult IsoIn(std::uint8_t endpoint, IsoPacket* packets, std::size_t count,
                         TimeUs now) override;
    void Cancelled(std::uint8_t endpoint, TimeUs now) override;
    /// @}

    /// @name What a test may ask
    /// @{
    Identity CurrentIdentity() const;
    ControllerState Controller() const;
    std::uint8_t SignalType() const;
    std::uint16_t SensorRegister(std::uint16_t address) const;
    /// The last value of a standard control; `field` 1 is the tilt.
    std::int32_t ControlValue(std::uint8_t entity, std::uint8_t selector,
                              std::size_t field = 0) const;
    bool VideoStreaming() const;
    bool AudioStreaming() const;
    StreamParameters Committed() const;
    unsigned AudioRate() const;
    unsigned AlternateSetting(unsigned interface) const;
    Bytes FaceParameters() const;

    /// Of all that was sent since the camera was made or ClearTraffic().
    StreamTotals Totals(Stream stream) const;
    std::vector<SentFrame> Frames() const;
    std::vector<SentFrame> Frames(Stream stream) const;
    /// How many have gone out whole, with all that is counted of them.
    std::uint64_t Containers() const;
    /// Every control request but those of chapter 9, with its bytes.
    std::vector<ControlRecord> Requests() const;
    /// The SET_CUR bytes that one extension-unit selector received, in order.
    std::vector<Bytes> Commands(std::uint8_t selector) const;
    std::uint64_t RequestCount() const;
    void ClearTraffic();

    DownloadFacts Download() const;
    Bytes FirmwareFlash() const;
    Bytes BootCodeFlash() const;

    /// Waits until `done` holds, asking again after everything that happens
    /// to the camera. `done` may ask the camera.
    bool Wait(std::chrono::milliseconds limit, const std::function<bool()>& done) const;
    /// @}

    /// @name What a test may do
    /// @{
    void Unplug();
    /// Back on the bus after this time of the carrier's clock.
    void UnplugFor(std::chrono::milliseconds time);
    void Replug();
    void AddFault(const Fault& fault);
    /// Adds the faults of a script; options in it are not taken.
    void AddFaults(const std::string& script);
    void ClearFaults();
    /// Containers of the stream under way, and of later ones, before it falls
    /// silent; 0: no end. A stream that is silent goes on when there is room.
    void SetContainerLimit(std::uint64_t containers);
    /// The same for the microphone, in isochronous transfers.
    void SetAudioLimit(std::uint64_t transfers);
    void SetCropFlag(std::uint16_t flag);
    void SetSensorRegister(std::uint16_t address, std::uint16_t value);
    void SetControlValue(std::uint8_t entity, std::uint8_t selector, std::size_t field,
                         std::int32_t value);
    /// `count` may claim more faces than there are.
    void SetFaces(std::vector<Face> faces, std::optional<std::uint8_t> count = {});
    /// From now on GET_CUR of this control answers with these bytes.
    void OverrideReply(std::uint8_t entity, std::uint8_t selector, Bytes reply);
    void ClearOverrides();
    /// @}

private:
    struct PendingControl {
        SetupPacket setup;
        TimeUs ready_at;
    };

    bool Present(TimeUs now);
    void PlugIn();
    void LeaveBus(TimeUs back_at);
    void LeaveBus(const Fault& fault, TimeUs now);
    void Changed() const;
    std::optional<TransferStatus> Disturb(const Fault& fault, TimeUs now);

    TransferResult Answer(const SetupPacket& setup, unsigned char* data, TimeUs now);
    TransferResult AnswerClass(const SetupPacket& setup, unsigned char* data, TimeUs now);
    TransferResult AnswerEndpoint(const SetupPacket& setup, unsigned char* data);
    TransferResult AnswerVendor(const SetupPacket& setup, unsigned char* data);
    bool GetEntity(const SetupPacket& setup, Bytes& reply) const;
    bool SetEntity(const SetupPacket& setup, const unsigned char* data, TimeUs now);
    bool SetExtensionUnit(const SetupPacket& setup, const unsigned char* data);
    static bool IsBurn(const SetupPacket& setup, const unsigned char* data);
    bool Burn(std::uint8_t request, std::uint64_t size);
    Bytes FaceReply() const;

    const CameraOptions m_options;
    const std::shared_ptr<const Media> m_media;

    /// Guards everything below.
    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    mutable std::uint64_t m_changes = 0;

    Identity m_identity;
    bool m_attached = true;
    bool m_leaving = false;  ///< off the bus as soon as the request is answered
    unsigned m_session = 1;
    TimeUs m_back_at = kNever;
    TimeUs m_last_now = 0;
    std::optional<TimeUs> m_first_now;

    FaultPlan m_faults;
    Traffic m_traffic;
    Controls m_controls;
    Negotiation m_negotiation;
    VideoStream m_video;
    CommandUnit m_commands;
    Microphone m_microphone;
    Flash m_flash;

    std::array<unsigned, 5> m_settings{};
    std::optional<PendingControl> m_pending;
    std::uint8_t m_request_error = 0;  ///< of the last refused request (UVC 1.0, 4.2.1.2)
    Bytes m_face_parameters;
    std::vector<Face> m_faces;
    std::optional<std::uint8_t> m_face_count;
    std::map<std::pair<std::uint8_t, std::uint8_t>, Bytes> m_overrides;

    bool m_halted = false;
    bool m_payload_disturbed = false, m_iso_disturbed = false;  ///< a delay was counted already
    TimeUs m_video_not_before = 0, m_audio_not_before = 0;
    TimeUs m_iso_time = 0;  ///< of the next packet
    bool m_iso_started = false;
    std::uint64_t m_iso_transfers = 0;  ///< since the stream began
    std::uint64_t m_iso_limit;
};

}  // namespace vcam

#endif
