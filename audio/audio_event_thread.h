// The audio transport with its event thread.
#ifndef TORVIK_AUDIO_AUDIO_EVENT_THREAD_H
#define TORVIK_AUDIO_AUDIO_EVENT_THREAD_H

#include "audio/uac_transport.h"
#include "runtime/thread.h"

class CKEL_AUDIO_LIB : public CLibUSB_UacCtrl, public pThread
{
public:
    CKEL_AUDIO_LIB();
    ~CKEL_AUDIO_LIB() override;

    /// Enables the stream and starts the event thread, whatever the result,
    /// which is that of UAC_EnableAudioStream.
    int EnableStream(int rate);
    int DisableStream();
    int AudioTransferStart();
    int AudioTransferStop();
    /// Event loop; ends on a stop request.
    void Run() override;

    // The device's raw limits, in 1/256 dB (UAC 1.0, 5.2.2.4.3.2).
    int GetMinVolume() const { return MinVolume(); }
    int GetMaxVolume() const { return MaxVolume(); }
    // Steps above the device's minimum.
    int GetCurVolume() const { return CurrentVolume() - MinVolume(); }
    int SetCurVolume(unsigned v);
    int SetSamplingRate(unsigned rate) { return UAC_SetSamplingRate(rate); }
};

#endif
