// Topology and requests of the camera's audio function.
#ifndef TORVIK_AUDIO_UAC_CONSTANTS_H
#define TORVIK_AUDIO_UAC_CONSTANTS_H

constexpr int kAudioControlInterface = 2;
constexpr int kAudioStreamingInterface = 3;
constexpr int kIdleSetting = 0;
constexpr int kStreamingSetting = 1;
constexpr unsigned char kAudioEndpoint = 0x82;  ///< isochronous IN

/// Class requests (UAC 1.0, 5.2).
constexpr unsigned char kSetEndpoint = 0x22;
constexpr unsigned char kGetEndpoint = 0xA2;
constexpr unsigned char kSetInterface = 0x21;
constexpr unsigned char kGetInterface = 0xA1;
constexpr unsigned char kAudioSetCur = 0x01;
constexpr unsigned char kAudioGetCur = 0x81;
constexpr unsigned char kAudioGetMin = 0x82;
constexpr unsigned char kAudioGetMax = 0x83;

constexpr unsigned short kSamplingFrequencyControl = 0x0100;  ///< UAC 1.0, 5.2.3.2.3.1
constexpr unsigned short kVolumeControl = 0x0200;             ///< master channel, 5.2.2.4.3.2
constexpr unsigned short kFeatureUnitIndex = 0x0503;          ///< unit 5

#endif
