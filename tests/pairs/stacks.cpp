#include "tests/pairs/stacks.h"

#include <cxxabi.h>
#include <dlfcn.h>
#include <execinfo.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <sstream>

#include "tests/pairs/task_files.h"

namespace pairs {
namespace {

constexpr int kFrames = 40;
constexpr int kAnswerPolls = 300;  // of a millisecond

int g_file = -1;
std::atomic<bool> g_answered{false};

int DumpSignal()
{
    return SIGRTMIN + 5;
}

void WriteFrames()
{
    void* frames[kFrames];
    backtrace_symbols_fd(frames, backtrace(frames, kFrames), g_file);
}

void OnDump(int)
{
    WriteFrames();
    g_answered = true;
}

void OnCrash(int signal)
{
    dprintf(g_file, "crash: %s on thread %ld\n", strsignal(signal), syscall(SYS_gettid));
    WriteFrames();
    // The handler was taken off by its flags; the process now ends of it.
    raise(signal);
}

void Handle(int signal, void (*handler)(int), int flags)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = flags;
    sigaction(signal, &action, nullptr);
}

std::string NameOf(pid_t thread, const Callers& callers)
{
    const auto all = callers.All();
    const auto found = std::find_if(all.begin(), all.end(), [thread](const Caller& caller) {
        return caller.thread == thread;
    });
    if (found == all.end())
        return "thread without a call";
    return found->Name() + (found->finished ? " (finished)" : "") + ", last call " +
           found->last_call;
}

/// The function at a place in a file, or nothing.
std::string FunctionAt(const std::string& object, const std::string& offset)
{
    const std::string command = "addr2line -Cf -e '" + object + "' " + offset + " 2>/dev/null";
    std::string name;
    if (std::FILE* const pipe = popen(command.c_str(), "r")) {
        char line[512];
        if (std::fgets(line, sizeof line, pipe) != nullptr)
            name = line;
        pclose(pipe);
    }
    return name.find("??") == 0 ? "" : name.substr(0, name.find('\n'));
}

std::string Demangled(const std::string& symbol)
{
    int status = 0;
    char* const name = abi::__cxa_demangle(symbol.c_str(), nullptr, nullptr, &status);
    const std::string result = name != nullptr ? name : symbol;
    std::free(name);
    return result;
}

}  // namespace

void PrepareStacks()
{
    // The first call loads a library, which no signal handler may.
    void* frame[1];
    backtrace(frame, 1);
    Handle(DumpSignal(), OnDump, SA_RESTART);
}

void WriteStacks(int file, const Callers& callers)
{
    g_file = file;
    for (const pid_t thread : Tasks()) {
        if (thread == ThreadId())
            continue;
        dprintf(file, "-- %d: %s\n", static_cast<int>(thread), NameOf(thread, callers).c_str());
        g_answered = false;
        syscall(SYS_tgkill, getpid(), thread, DumpSignal());
        for (int poll = 0; !g_answered && poll < kAnswerPolls; ++poll)
            ::poll(nullptr, 0, 1);
        if (!g_answered)
            dprintf(file, "(does not answer)\n");
    }
}

void WriteStackOfCrash(int file)
{
    g_file = file;
    // Sanitizers have handlers of their own, which say more.
    if (dlsym(RTLD_DEFAULT, "__sanitizer_set_death_callback") != nullptr)
        return;
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL})
        Handle(signal, OnCrash, static_cast<int>(SA_RESETHAND | SA_NODEFER));
}

std::string NameFrames(const std::string& text)
{
    static const std::regex frame(R"(^([^(]+)\((\S*)\+(0x[0-9a-f]+)\)\[0x[0-9a-f]+\]$)");
    std::istringstream lines(text);
    std::string named;
    for (std::string line; std::getline(lines, line);) {
        std::smatch match;
        if (std::regex_match(line, match, frame)) {
            const std::string object = match[1];
            const std::string function =
                match[2].length() != 0 ? Demangled(match[2]) : FunctionAt(object, match[3]);
            if (!function.empty())
                line = "    " + function + "  [" + object.substr(object.rfind('/') + 1) + "]";
        }
        named += line + "\n";
    }
    return named;
}

}  // namespace pairs
