// What the system knows of the process's threads.
#ifndef TESTS_PAIRS_TASK_FILES_H
#define TESTS_PAIRS_TASK_FILES_H

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace pairs {

std::vector<pid_t> Tasks();
bool TaskLives(pid_t thread);
/// Files that the process has open.
long OpenFiles();

/// Tells a thread that waits for something from one that gets on.
class SleepWatch {
public:
    /// A thread counts as waiting when it was seen asleep and not scheduled for
    /// this long. The longest sleep of the library is shorter on the fast clock.
    static constexpr std::chrono::milliseconds kPause{60};

    /// To be asked again and again.
    bool Waits(pid_t thread);
    /// Whether it was asleep when it was last asked about.
    bool Asleep(pid_t thread) { return m_seen[thread].asleep; }

private:
    struct Seen {
        bool asleep = false;
        std::string switches;
        std::chrono::steady_clock::time_point since;
    };
    std::map<pid_t, Seen> m_seen;
};

}  // namespace pairs

#endif
