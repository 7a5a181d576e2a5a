// What a person sees while a recording runs, and the table at its end.
#ifndef TORVIK_HOST_PROGRESS_H
#define TORVIK_HOST_PROGRESS_H

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "host/console.h"
#include "host/frame_observer.h"
#include "host/recording_writer.h"

namespace host {

class RecordProgress {
public:
    RecordProgress(Console& console, const std::list<FrameObserver>& observers, double seconds);

    /// A line that stays in place on a terminal, twice a second; a plain line
    /// elsewhere, every two seconds.
    void Update(const WriterState& state);

private:
    struct Count {
        std::uint32_t frames = 0;
        std::uint32_t kilobytes = 0;
    };
    std::string StreamText(const FrameObserver& observer, Count& last, const WriterState& state,
                           double elapsed) const;

    Console& m_console;
    const std::list<FrameObserver>& m_observers;
    const double m_seconds;
    std::vector<Count> m_last;
    std::int64_t m_last_us = 0;
};

/// The table at the end.
std::string RecordTable(const std::list<FrameObserver>& observers, const WriterState& state);

}  // namespace host

#endif
