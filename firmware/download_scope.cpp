#include "firmware/download_scope.h"

namespace {

CamMutex g_query_lock;
int g_downloads = 0;  ///< guarded by g_query_lock

}  // namespace

DownloadScope::DownloadScope()
{
    const CamMutexGuard guard(g_query_lock);
    ++g_downloads;
}

DownloadScope::~DownloadScope()
{
    const CamMutexGuard guard(g_query_lock);
    --g_downloads;
}

VersionQueryScope::VersionQueryScope() : m_guard(g_query_lock), m_may_ask(g_downloads == 0) {}
