// The process-wide locks of the library, constructed at load in one file and
// destroyed at unload. All are recursive.
//
// Order, outermost first:
//   m_start_stop_preview_lock -> m_video_ctrl_lock -> m_observer_lock
//   -> m_audio_observer_lock -> g_control_transfer_lock
// The compiler checks it function by function (scripts/check-locks). One known
// exception lies between functions: SetProperty holds m_video_ctrl_lock while it
// restarts recording, which takes m_start_stop_preview_lock inside it. Meanwhile
// the loader's thread may stop recording because the camera went away, which no
// host can prevent; therefore whoever takes these two takes them through
// MutexPairGuard.
#ifndef TORVIK_RUNTIME_PROCESS_LOCKS_H
#define TORVIK_RUNTIME_PROCESS_LOCKS_H

#include "runtime/mutex.h"

/// Start and stop of recording.
extern pMutex m_start_stop_preview_lock;
/// Properties, capabilities, and start and stop of recording.
extern pMutex m_video_ctrl_lock ACQUIRED_AFTER(m_start_stop_preview_lock);
/// Observer lists of video streams, and the crop state.
extern pMutex m_observer_lock ACQUIRED_AFTER(m_video_ctrl_lock);
/// PCM observers.
extern pMutex m_audio_observer_lock ACQUIRED_AFTER(m_observer_lock);
/// One USB control transfer of the library at a time.
extern pMutex g_control_transfer_lock ACQUIRED_AFTER(m_audio_observer_lock);

#endif
