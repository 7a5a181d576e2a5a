#!/bin/bash
# scripts/check-locks notices a lock that is not taken, or not in its order.
# usage: omissions_test.bash SOURCE_FOLDER COPY
set -euo pipefail
source_folder=$1
copy=$2
failures=0

rm -rf "$copy"
mkdir -p "$copy"
cp -r "$source_folder"/{cmake,api,runtime,usb,devcmd,video,audio,firmware,control,camera} "$copy"

# seen FILE EXPRESSION MESSAGE: edited with sed's EXPRESSION, FILE is refused with
# MESSAGE.
seen() {
    local file=$1 errors
    sed -i -E "$2" "$copy/$file"
    if cmp -s "$source_folder/$file" "$copy/$file"; then
        echo "$2 changes nothing in $file"
        failures=$((failures + 1))
    elif errors=$("$source_folder"/scripts/check-locks -C "$copy" "$file" 2>&1); then
        echo "$file passes after $2"
        failures=$((failures + 1))
    elif [[ $errors != *"$3"* ]]; then
        echo "$file after $2: $errors"
        failures=$((failures + 1))
    fi
    cp "$source_folder/$file" "$copy/$file"
}

# not_taken FILE FUNCTION MESSAGE: without the locks that FUNCTION takes.
not_taken() {
    seen "$1" "/^[a-zA-Z].*\b$2\(/,/^}/s/^ *const \w+ \w*(guard|gate)\b.*//" "$3"
}

# Taken, but by nobody in FUNCTION.
not_taken runtime/thread.cpp pThread::Join "'g_threads' requires holding mutex 'g_start_gate'"
not_taken video/frame_queue.cpp CFrameBufQueue::Commit "'m_count' requires holding mutex 'm_mutex'"
not_taken video/uvc_stream.cpp DeleteRing \
    "'m_frame_queue' requires holding mutex 'm_park_lock'"
not_taken video/uvc_completions.cpp Park "'m_parked' requires holding mutex 'm_park_lock'"
not_taken audio/uac_stream.cpp CancelTransfers \
    "'m_transfers' requires holding mutex 'm_event_mutex'"
not_taken audio/uac_chunks.cpp callback "'HandleCompletion' requires holding mutex 'owner.m_completion_lock'"
not_taken firmware/firmware_loader.cpp SetDevice \
    "'m_device' requires holding mutex 'm_device_lock'"
not_taken firmware/loader_slot.cpp FirmwareLoaderSlot::CamVersion \
    "'m_newest' requires holding mutex 'm_lock'"
not_taken camera/observers.cpp OnFrameArrival \
    "'ObserversOf' requires holding mutex 'm_observer_lock'"
not_taken camera/recording.cpp StopRecording \
    "'video_capture_thread' requires holding mutex 'm_start_stop_preview_lock'"
not_taken camera/controls.cpp SetProperty \
    "'ApplyProperty' requires holding mutex 'm_video_ctrl_lock'"

# Said by nobody to be held.
seen control/properties/streams.cpp '/^    REQUIRES\(m_video_ctrl_lock\)$/d' \
    "'width' requires holding mutex 'm_video_ctrl_lock'"

# In the wrong order.
seen camera/observers.cpp \
    's/guard\(m_observer_lock\)/guard(m_audio_lock)/; s/audio_guard\(m_audio_observer_lock\)/audio_guard(m_observer_lock)/; s/m_audio_lock/m_audio_observer_lock/' \
    "'m_observer_lock' must be acquired before 'm_audio_observer_lock'"
seen camera/recording.cpp \
    's/guard\(m_start_stop_preview_lock, m_video_ctrl_lock\)/guard(m_video_ctrl_lock, m_start_stop_preview_lock)/' \
    "'m_start_stop_preview_lock' must be acquired before 'm_video_ctrl_lock'"
seen video/uvc_stream.cpp 's/^    const MutexGuard guard\(/    const CamMutexGuard park(m_park_lock);\n&/' \
    "'m_transfer_lock' must be acquired before 'm_park_lock'"
seen audio/uac_stream.cpp 's/^    const MutexGuard guard\(/    const CamMutexGuard early(m_completion_lock);\n&/' \
    "'m_event_mutex' must be acquired before 'm_completion_lock'"

# Held where it must not be.
seen video/uvc_stream.cpp 's/^    StreamProbe answer = /    const MutexGuard early(m_transfer_lock);\n&/' \
    "cannot call function 'Negotiate' while mutex 'm_transfer_lock' is held"
seen audio/uac_stream.cpp 's/^    SleepMilliseconds\(kCancelSettleMs\);/    const MutexGuard early(m_event_mutex);\n&/' \
    "cannot call function 'WaitForCancellations' while mutex 'm_event_mutex' is held"
exit $((failures > 0))
