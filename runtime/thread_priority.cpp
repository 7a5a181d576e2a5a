#include "runtime/thread_priority.h"

#include <cerrno>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "runtime/debug_log.h"
#include "runtime/error_text.h"

namespace {
constexpr int kNice = -19;
}

bool RaiseThreadPriority()
{
    const auto thread_id = static_cast<id_t>(syscall(SYS_gettid));
    if (setpriority(PRIO_PROCESS, thread_id, kNice) == 0)
        return true;
    __FATAL("setpriority() failed (%s)\n", ErrorText(errno).c_str());
    return false;
}
