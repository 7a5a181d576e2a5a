// A way to states of the camera object that its operations refuse to bring
// about, but that its code has to survive.
#ifndef TESTS_CAMERA_CAMERA_INTERNALS_H
#define TESTS_CAMERA_CAMERA_INTERNALS_H

#include "camera/camera.h"

CameraSettings& SettingsOf(CKelVeskCamera& camera);
std::atomic<CAudioCapture*>& AudioOf(CKelVeskCamera& camera);

// Access is not checked where a template is instantiated explicitly
// (C++17, 17.7.2).
template <auto Settings, auto Audio>
struct CameraInternals {
    friend CameraSettings& SettingsOf(CKelVeskCamera& camera) { return camera.*Settings; }
    friend std::atomic<CAudioCapture*>& AudioOf(CKelVeskCamera& camera) { return camera.*Audio; }
};
template struct CameraInternals<&CKelVeskCamera::m_settings, &CKelVeskCamera::audio_capturer>;

#endif
