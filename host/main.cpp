#include "host/command_line.h"

int main(int argc, char** argv)
{
    return host::RunCommandLine(argc, argv);
}
