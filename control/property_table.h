// Every property of the camera, one row each.
#ifndef TORVIK_CONTROL_PROPERTY_TABLE_H
#define TORVIK_CONTROL_PROPERTY_TABLE_H

#include "api/camera_property.h"
#include "control/control_context.h"

/// What setting a property comes to after its value was looked at.
enum class Verdict {
    kApply,    ///< go on to the device
    kSucceed,  ///< done, nothing to send
    kFail,
};

/// What a property needs before it is applied.
enum class Needs {
    kNothing,
    kVideo,      ///< a reachable video adapter
    kAudio,      ///< a reachable audio adapter
    kRecording,  ///< running recording, which is restarted; otherwise the call fails
};

struct PropertyRow {
    unsigned id;
    const char* name;  ///< as in CAM_PROPERTY; empty for ids without one
    /// Logs, validates and records. Null: the property cannot be set.
    Verdict (*prepare)(const ControlContext& context, unsigned id, const CAM_PROP_VALUE& value);
    Needs needs;
    /// Sends to the device; its result is the call's. Null: nothing is sent.
    bool (*apply)(const ControlContext& context, const CAM_PROP_VALUE& value);
    /// Answers GetProperty. Null: the property cannot be read.
    bool (*read)(const ControlContext& context, CAM_PROP_VALUE& value);
};

/// Null for an id the camera does not know at all.
const PropertyRow* FindProperty(unsigned id);

#endif
