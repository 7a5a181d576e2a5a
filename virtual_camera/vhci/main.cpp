// vcam_server [--media FOLDER] [--script FILE] [--control SOCKET] [--controller FOLDER]
// Plugs a virtual camera into the running kernel; runs until it gets a signal.
#include <signal.h>
#include <sys/signalfd.h>

#include <cstdio>
#include <exception>
#include <iostream>
#include <map>
#include <string>

#include "virtual_camera/vhci/server.h"

namespace
{

constexpr char kUsage[] =
    "usage: vcam_server [--media FOLDER] [--script FILE] [--control SOCKET]\n"
    "                   [--controller FOLDER]\n";

/// False when the command line is wrong.
bool ReadArguments(int argc, char** argv, std::map<std::string, std::string>& values)
{
    for (int i = 1; i < argc; i += 2) {
        const auto found = values.find(argv[i]);
        if (found == values.end() || i + 1 == argc)
            return false;
        found->second = argv[i + 1];
    }
    return true;
}

int Serve(const std::map<std::string, std::string>& arguments, int stop)
{
    vcam::CameraOptions options;
    if (!arguments.at("--media").empty())
        options.media_dir = arguments.at("--media");
    vcam::vhci::Server server(vcam::vhci::Port(arguments.at("--controller")),
                              arguments.at("--control"), options);
    if (!arguments.at("--script").empty())
        server.Plug(vcam::LoadScript(arguments.at("--script"), options));
    server.Run(stop);
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::map<std::string, std::string> arguments{
        {"--media", ""},
        {"--script", ""},
        {"--control", "/run/vcam.socket"},
        {"--controller", "/sys/devices/platform/vhci_hcd.0"}};
    if (!ReadArguments(argc, argv, arguments)) {
        std::cerr << kUsage;
        return 2;
    }
    sigset_t ends;
    sigemptyset(&ends);
    sigaddset(&ends, SIGINT);
    sigaddset(&ends, SIGTERM);
    sigprocmask(SIG_BLOCK, &ends, nullptr);
    const vcam::vhci::File stop(signalfd(-1, &ends, SFD_CLOEXEC));
    try {
        return Serve(arguments, stop.Get());
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << '\n';
        return 1;
    }
}
