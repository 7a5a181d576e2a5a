#include "camera/shell.h"

#include <cerrno>
#include <cstdio>
#include <sys/wait.h>
#include <unistd.h>

int ExecuteShell(const char* command)
{
    if (command == nullptr)
        return -1;
    const pid_t child = vfork();
    if (child == 0) {
        execl("/bin/sh", "/bin/sh", "-c", command, static_cast<char*>(nullptr));
        _exit(1);
    }
    if (child < 0) {
        std::fputs("vfork fail\n", stderr);
        return -1;
    }
    int status = 0;
    pid_t waited;
    do {
        waited = waitpid(child, &status, 0);
    } while (waited < 0 && errno == EINTR);
    if (waited != child) {
        std::fprintf(stderr, "waitpid fail - Command : %s\n", command);
        return -1;
    }
    return status;
}
