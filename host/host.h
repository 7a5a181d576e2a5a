// What every subcommand works with.
#ifndef TORVIK_HOST_HOST_H
#define TORVIK_HOST_HOST_H

#include <memory>
#include <string>

#include "host/console.h"
#include "host/library.h"
#include "host/tv_root.h"
#include "host/wake_pipe.h"

namespace host {

struct CommonOptions {
    LibraryOptions library;
    std::string tv_root;
    std::string platform;
    std::string log;    ///< where the driver's own log goes
    int log_level = 0;  ///< 0: as the television's marker files say
};

class Host {
public:
    explicit Host(const CommonOptions& options);

    /// Loads the library on first use, inside the private view of the
    /// television's paths when one is wanted. Call before any thread starts.
    const Library& Lib();

    /// The television asked for by name; empty when none was.
    const std::string& Platform() const { return m_options.platform; }

    Console console;
    WakePipe events;

private:
    void EnterTvRoot();

    const CommonOptions& m_options;
    std::unique_ptr<TvRootFolder> m_tv_root;
    std::unique_ptr<Library> m_library;
};

}  // namespace host

#endif
