#include "runtime/process_locks.h"

pMutex g_control_transfer_lock;
pMutex m_observer_lock;
pMutex m_start_stop_preview_lock;
pMutex m_video_ctrl_lock;
pMutex m_audio_observer_lock;
