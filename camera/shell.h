// Running shell commands.
#ifndef TORVIK_CAMERA_SHELL_H
#define TORVIK_CAMERA_SHELL_H

/// Runs `command` with the system's shell and waits for it. The wait status, or
/// -1 for null and when the shell could not be started or waited for.
int ExecuteShell(const char* command);

#endif
