#include "firmware/download_scope.h"

CamMutex g_query_lock;

namespace {

int g_downloads GUARDED_BY(g_query_lock) = 0;

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
