// Downloads keep version queries away.
#ifndef TORVIK_FIRMWARE_DOWNLOAD_SCOPE_H
#define TORVIK_FIRMWARE_DOWNLOAD_SCOPE_H

#include "runtime/mutex.h"

/// Held while a version is queried, outside of the loader's device lock, and for
/// a few instructions where a download begins and ends.
extern CamMutex g_query_lock;

/// Lives as long as a download procedure runs, on any handle. A controller that
/// takes an image in expects no other request between the download's own.
/// Construction waits for a query that is under way; scopes may be nested.
class DownloadScope
{
public:
    DownloadScope() EXCLUDES(g_query_lock);
    ~DownloadScope();
    DownloadScope(const DownloadScope&) = delete;
    DownloadScope& operator=(const DownloadScope&) = delete;
};

/// Lives as long as a query of the firmware version runs. No download begins
/// meanwhile.
class SCOPED_CAPABILITY VersionQueryScope
{
public:
    VersionQueryScope() ACQUIRE(g_query_lock);
    ~VersionQueryScope() RELEASE() {}
    VersionQueryScope(const VersionQueryScope&) = delete;
    VersionQueryScope& operator=(const VersionQueryScope&) = delete;

    /// False while a download runs: the query must not reach a device.
    bool MayAsk() const { return m_may_ask; }

private:
    CamMutexGuard m_guard;
    const bool m_may_ask;  ///< constant after construction
};

#endif
