// Observers and the delivery of frames to them.

#include <algorithm>
#include <new>

#include "camera/camera.h"
#include "camera/stream_types.h"
#include "runtime/debug_log.h"
#include "runtime/process_locks.h"

namespace {

using ObserverList = std::vector<ICameraObserver*>;

void LogStreamType(const char* function, CAM_STREAM type)
{
    for (const StreamTypeName& row : kStreamTypeNames) {
        if (row.type == type) {
            CAM_LOG_AS(function, kLogDebugging, "%s\r\n", row.name);
            return;
        }
    }
    CAM_LOG_AS(function, kLogDebugging, "UNKNOWN Stream type. %d\r\n", static_cast<int>(type));
}

bool Add(ObserverList& list, ICameraObserver* observer)
{
    if (std::find(list.begin(), list.end(), observer) != list.end())
        return false;
    try {
        list.push_back(observer);
    } catch (const std::bad_alloc&) {
        return false;
    }
    return true;
}

bool Remove(ObserverList& list, ICameraObserver* observer)
{
    const auto position = std::find(list.begin(), list.end(), observer);
    if (position == list.end())
        return false;
    list.erase(position);
    return true;
}

/// The last observer's result, 0 without one. By index: an observer that
/// changes the list against the rules must not leave us with a dead iterator.
int Deliver(const ObserverList& list, const CCameraData* data, std::atomic<pthread_t>& deliverer)
{
    int result = 0;
    const pthread_t outer = deliverer.exchange(pthread_self(), std::memory_order_relaxed);
    for (std::size_t i = 0; i < list.size(); ++i)
        result = list[i]->OnFrame(data);
    deliverer.store(outer, std::memory_order_relaxed);
    return result;
}

/// A thread sees its own stores, and those of others never equal it.
bool IsThisThread(const std::atomic<pthread_t>& thread)
{
    return pthread_equal(thread.load(std::memory_order_relaxed), pthread_self()) != 0;
}

bool CarriesCrop(CAM_STREAM type)
{
    return type == CAM_STREAM_NV12 || type == CAM_STREAM_GRAY;
}

}  // namespace

/// The calling thread is inside an observer.
bool CKelVeskCamera::IsDelivering() const
{
    return IsThisThread(m_video_deliverer) || IsThisThread(m_audio_deliverer);
}

bool CKelVeskCamera::RegisterObserver(ICameraObserver* observer)
{
    const MutexGuard guard(m_observer_lock);
    if (observer == nullptr)
        return false;
    CAM_LOG(kLogDebugging, "CKelVeskCamera::RegisterObserver : ");
    const CAM_STREAM type = observer->stream;
    LogStreamType(__func__, type);

    if (type == CAM_STREAM_PCM) {
        const MutexGuard audio_guard(m_audio_observer_lock);
        return Add(m_audio_observers, observer);
    }
    if (type >= kStreamTypes || !Add(ObserversOf(type), observer))
        return false;
    if (type == CAM_STREAM_H264_MAIN && m_State == CAM_STATE_RECORDING) {
        KelUvcCapture* const video = video_capturer;
        if (video != nullptr)
            video->RequestKeyFrame();
    }
    return true;
}

bool CKelVeskCamera::RemoveObserver(ICameraObserver* observer)
{
    const MutexGuard guard(m_observer_lock);
    if (observer == nullptr)
        return false;
    CAM_LOG(kLogDebugging, "CKelVeskCamera::RemoveObserver :");
    const CAM_STREAM type = observer->stream;
    LogStreamType(__func__, type);

    if (type == CAM_STREAM_PCM) {
        const MutexGuard audio_guard(m_audio_observer_lock);
        return Remove(m_audio_observers, observer);
    }
    return type < kStreamTypes && Remove(ObserversOf(type), observer);
}

int CKelVeskCamera::OnFrameArrival(const CCameraData* data)
{
    if (data == nullptr)
        return 0;
    const CAM_STREAM type = data->stream_type;
    if (type == CAM_STREAM_PCM) {
        // Only this lock, so that sound never waits for pictures.
        const MutexGuard guard(m_audio_observer_lock);
        return Deliver(m_audio_observers, data, m_audio_deliverer);
    }
    const MutexGuard guard(m_observer_lock);
    if (type == CAM_STREAM_JPEG) {
        if (m_settings.m_send_jpeg.exchange(0) == 0)
            return 1;
        CAM_LOG(kLogDebugging, "Send a JPEG to AP.\r\n");
    }
    if (CarriesCrop(type))
        StampCrop(const_cast<CCameraData&>(*data));
    CAM_LOG(kLogInfo, "OnFrameArrival, StreamType=%d\r\n", static_cast<int>(type));
    // With the list's lock held: a removed observer is never called again.
    if (type < kStreamTypes)
        Deliver(ObserversOf(type), data, m_video_deliverer);
    return 1;
}

/// The producer's record is writable although it is passed as const.
void CKelVeskCamera::StampCrop(CCameraData& data)
{
    static constexpr char kFunction[] = "OnFrameArrival";
    if (data.data == nullptr || data.size == 0) {
        CAM_LOG_AS(kFunction, kLogFatal, "Null Gray or NV12 Data is received !!!\r\n");
        return;
    }
    if (m_crop_flag != data.crop_flag) {
        m_crop_x = m_settings.m_pending_crop_x;
        m_crop_y = m_settings.m_pending_crop_y;
        m_crop_flag = static_cast<std::uint16_t>(data.crop_flag);
        CAM_LOG_AS(kFunction, kLogInfo, "Croped image, PosX=%d, PosY=%d, Flag=%d\r\n", m_crop_x,
                   m_crop_y, m_crop_flag);
    }
    if (data.crop_info != nullptr) {
        data.crop_info->pos_x = m_crop_x;
        data.crop_info->pos_y = m_crop_y;
        data.crop_info->cropped = m_crop_flag != 0;
    }
    data.crop_flag = 0;
}

bool CKelVeskCamera::SendTerminateFrame()
{
    CCameraData record = {};
    record.stream_type = CAM_STREAM_NV12;
    OnFrameArrival(&record);
    record.stream_type = CAM_STREAM_GRAY;
    OnFrameArrival(&record);
    return true;
}
