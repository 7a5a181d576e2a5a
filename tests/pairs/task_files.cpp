#include "tests/pairs/task_files.h"

#include <dirent.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

namespace pairs {
namespace {

constexpr char kTasks[] = "/proc/self/task/";

struct Status {
    char state = 'X';      ///< as ps(1) shows it
    std::string switches;  ///< how often it gave up or lost its processor
};

Status StatusOf(pid_t thread)
{
    Status status;
    std::ifstream file(kTasks + std::to_string(thread) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.compare(0, 7, "State:\t") == 0)
            status.state = line[7];
        else if (line.find("ctxt_switches:") != std::string::npos)
            status.switches += line;
    }
    return status;
}

std::vector<std::string> Entries(const char* directory)
{
    std::vector<std::string> entries;
    DIR* const opened = opendir(directory);
    if (opened == nullptr)
        return entries;
    while (const dirent* const entry = readdir(opened)) {
        if (entry->d_name[0] != '.')
            entries.emplace_back(entry->d_name);
    }
    closedir(opened);
    return entries;
}

}  // namespace

std::vector<pid_t> Tasks()
{
    std::vector<pid_t> tasks;
    for (const std::string& entry : Entries(kTasks))
        tasks.push_back(static_cast<pid_t>(std::atol(entry.c_str())));
    return tasks;
}

bool TaskLives(pid_t thread)
{
    return access((kTasks + std::to_string(thread)).c_str(), F_OK) == 0;
}

long OpenFiles()
{
    return static_cast<long>(Entries("/proc/self/fd").size());
}

bool SleepWatch::Waits(pid_t thread)
{
    const auto now = std::chrono::steady_clock::now();
    const Status status = StatusOf(thread);
    Seen& seen = m_seen[thread];
    const bool asleep = status.state == 'S';
    if (!asleep || status.switches != seen.switches) {
        seen = {asleep, status.switches, now};
        return false;
    }
    seen.asleep = true;
    return now - seen.since >= kPause;
}

}  // namespace pairs
