#include "runtime/mutex.h"

#include <cerrno>

#include "runtime/debug_log.h"
#include "runtime/error_text.h"

namespace {

void InitMutex(pthread_mutex_t* mutex, int type)
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) {
        __FATAL("pthread_mutexattr_init() failed\n");
        pthread_mutex_init(mutex, nullptr);
        return;
    }
    pthread_mutexattr_settype(&attributes, type);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

void ReportFailedLock(int error)
{
    __FATAL("pthread_mutex_lock() failed (%s)\n", ErrorText(error).c_str());
}

void LockMutex(pthread_mutex_t* mutex)
{
    const int error = pthread_mutex_lock(mutex);
    if (error != 0)
        ReportFailedLock(error);
}

}  // namespace

// The system's mutexes are unknown to the analysis, so it takes the declarations
// for true.

pMutex::pMutex()
{
    InitMutex(&m_mutex, PTHREAD_MUTEX_RECURSIVE);
}

pMutex::~pMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

bool pMutex::Acquire() NO_THREAD_SAFETY_ANALYSIS
{
    LockMutex(&m_mutex);
    return true;
}

bool pMutex::TryAcquire() NO_THREAD_SAFETY_ANALYSIS
{
    const int error = pthread_mutex_trylock(&m_mutex);
    if (error != 0 && error != EBUSY)
        ReportFailedLock(error);
    return error != EBUSY;
}

void pMutex::Release() NO_THREAD_SAFETY_ANALYSIS
{
    pthread_mutex_unlock(&m_mutex);
}

CamMutex::CamMutex()
{
    InitMutex(&m_mutex, PTHREAD_MUTEX_NORMAL);
}

CamMutex::~CamMutex()
{
    pthread_mutex_destroy(&m_mutex);
}

void CamMutex::Lock() NO_THREAD_SAFETY_ANALYSIS
{
    LockMutex(&m_mutex);
}

void CamMutex::Unlock() NO_THREAD_SAFETY_ANALYSIS
{
    pthread_mutex_unlock(&m_mutex);
}
