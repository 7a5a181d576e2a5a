// Every property of the camera, by kind.
#ifndef TORVIK_CONTROL_PROPERTY_ROWS_H
#define TORVIK_CONTROL_PROPERTY_ROWS_H

#include "control/property.h"

extern const PropertyGroup kEncoderProperties;
extern const PropertyGroup kStreamProperties;
extern const PropertyGroup kPtzProperties;
extern const PropertyGroup kSoundProperties;
extern const PropertyGroup kDiagnosisProperties;

/// All of them. No id is in two.
constexpr const PropertyGroup* kPropertyGroups[] = {
    &kEncoderProperties, &kStreamProperties,    &kPtzProperties,
    &kSoundProperties,   &kDiagnosisProperties,
};

/// Null for an id the camera does not know at all.
const PropertyRow* FindProperty(unsigned id);

#endif
