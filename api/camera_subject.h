// The camera object as the host sees it.
#ifndef TORVIK_API_CAMERA_SUBJECT_H
#define TORVIK_API_CAMERA_SUBJECT_H

#include <atomic>
#include <string>
#include <vector>

#include "api/camera_data.h"
#include "api/camera_observer.h"
#include "api/camera_property.h"

/// One camera. Made by cam_create, freed by cam_destroy. The order of the
/// virtual operations is the binary interface and never changes.
///
/// Threads: every operation may be called from any host thread unless its text
/// says otherwise; none may be called from inside an observer, except
/// OnFrameArrival's own deliveries. No operation throws.
///
/// Locks: StartRecording and StopRecording take the start/stop lock and then
/// the video-control lock; SetProperty holds the video-control lock and, when
/// it restarts recording (CAM_PROPERTY_RESOLUTION, _SIGNAL_TYPE, _VIDEOMODE),
/// takes the start/stop lock inside it. A host should therefore not start or
/// stop recording on one thread while another sets one of these three
/// properties: the two wait for each other, and which of them has its way in
/// the end is not defined.
///
/// A camera that was unplugged and plugged in again is used through a new
/// camera object (cam_destroy, then cam_create): the object keeps the device
/// it opened first.
class ICameraSubject {
public:
    virtual ~ICameraSubject() = default;

    /// Starts looking for the device and returns at once. `callback` is called
    /// on the loader thread: true = CAM_STATE_CONNECTED, false = no usable
    /// camera; and once more with false when the camera is unplugged later. It
    /// may be null. Refused, without a call-back, while connected; allowed
    /// again in every other state, also from inside the call-back. The camera
    /// must not be destroyed from inside the call-back. `argument` is logged
    /// and not used.
    virtual void Init(void (*callback)(bool), int argument) = 0;
    virtual CAM_STATE GetState() { return m_State.load(std::memory_order_acquire); }
    /// Forces a state; meant for diagnosis.
    virtual void SetState(CAM_STATE state) { m_State.store(state, std::memory_order_release); }

    /// Adds an observer for the stream in its `stream` member. False when it is
    /// null, already registered or of a type above 17. A new main H.264
    /// observer of a recording camera starts on a key frame. Waits while a
    /// frame is being delivered.
    virtual bool RegisterObserver(ICameraObserver* observer) = 0;
    /// Removes an observer; false when it is not registered. After the return
    /// it is not called any more. Waits while a frame is being delivered.
    virtual bool RemoveObserver(ICameraObserver* observer) = 0;
    /// Delivers a frame to its observers. Called by the capture threads; a host
    /// may inject frames too. The record must be writable although passed as
    /// const. Returns 1, and for PCM the last observer's result (0 without one).
    virtual int OnFrameArrival(const CCameraData* data) = 0;

    /// Starts streaming. True when recording runs, and also, without any
    /// effect, in every state but CAM_STATE_CONNECTED. Blocks for some 100 ms.
    virtual bool StartRecording() = 0;
    /// Stops streaming and waits for the capture threads; after the return no
    /// observer is called, apart from what a host injects. NV12 and GRAY
    /// observers get a final empty record. False when nothing was recording.
    virtual bool StopRecording() = 0;

    /// Changes a setting, see CAM_PROPERTY. False for null or unsupported.
    virtual bool SetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) = 0;
    /// Reads a setting, see CAM_PROPERTY. False for null or unsupported.
    virtual bool GetProperty(CAM_PROPERTY property, CAM_PROP_VALUE* value) = 0;
    virtual bool GetCapability(CAM_CAPABILITY capability) = 0;
    /// Stores the format; always true.
    virtual bool SetStreamFormat(CAM_STR_FORMAT format) = 0;

    /// Valid as long as the camera object.
    virtual const std::string& GetVendorName() { return m_vendor_name; }
    virtual const std::string& GetModelName() { return m_model_name; }

    /// Diagnostic hooks without function: Execute returns false, the others true.
    virtual bool Execute(int argc, const char** argv) = 0;
    virtual bool StartTest() = 0;
    virtual bool StopTest() = 0;
    virtual bool PrintStatus() = 0;

protected:
    static constexpr unsigned kStreamTypes = 18;

    /// Per stream type; guarded by m_observer_lock. Index 0 stays empty, PCM
    /// observers have a list of their own.
    std::vector<ICameraObserver*> m_observers[kStreamTypes];
    std::atomic<CAM_STATE> m_State{CAM_STATE_CREATED};
    std::string m_vendor_name;  ///< constant after construction
    std::string m_model_name;   ///< constant after construction
};

#endif
