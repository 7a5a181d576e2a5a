// The command line, as a table of what to run.
#ifndef TORVIK_HOST_COMMAND_LINE_H
#define TORVIK_HOST_COMMAND_LINE_H

namespace host {

/// Parses, runs one subcommand and returns the exit code. Problems are told on
/// standard error, one line each.
int RunCommandLine(int argc, char** argv);

}  // namespace host

#endif
