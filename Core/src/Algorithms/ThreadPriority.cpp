#include "ThreadPriority.h"

#include <algorithm>
#include <cerrno>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace rix::algorithms {

namespace {

id_t currentThread() {
    return static_cast<id_t>(::syscall(SYS_gettid));
}

/// Whether the thread may be given this nice value: a privileged process may always, others down to their limit.
bool mayUse(int nice, int currentNice) {
    if (nice >= currentNice || ::geteuid() == 0) {
        return true;
    }
    rlimit limit{};
    return ::getrlimit(RLIMIT_NICE, &limit) == 0 &&
           (limit.rlim_cur == RLIM_INFINITY || 20 - nice <= static_cast<long>(limit.rlim_cur));
}

}  // namespace

ThreadPriority::ThreadPriority(int priority) {
    if (priority == 0) {
        return;
    }
    errno = 0;
    m_previousNice = ::getpriority(PRIO_PROCESS, currentThread());
    if (errno != 0) {
        return;
    }
    const int nice = std::clamp(m_previousNice - std::clamp(priority, -40, 40), -20, 19);
    if (mayUse(nice, m_previousNice) && mayUse(m_previousNice, nice)) {
        m_changed = ::setpriority(PRIO_PROCESS, currentThread(), nice) == 0;
    }
}

ThreadPriority::~ThreadPriority() {
    if (m_changed) {
        ::setpriority(PRIO_PROCESS, currentThread(), m_previousNice);
    }
}

}  // namespace rix::algorithms
