#include "host/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "host/text_table.h"

namespace host {
namespace {

constexpr std::int64_t kTerminalPeriodUs = 500000;
constexpr std::int64_t kPlainPeriodUs = 2000000;

std::uint64_t Drops(const FrameObserver& observer, const WriterState& state)
{
    const auto tally = state.streams.find(observer.Info().stream);
    return observer.m_dropped + (tally == state.streams.end() ? 0 : tally->second.lost);
}

/// Raw images and stills have neither stamps nor a promised rate.
bool CountsDrops(StreamKind kind)
{
    return kind == StreamKind::kVideo || kind == StreamKind::kAudio;
}

/// A picture may come in several pieces, so only the writer can count those of
/// a moving stream.
std::uint32_t Pictures(const FrameObserver& observer, const WriterState& state)
{
    if (!CountsDrops(observer.Info().kind)) {
        return observer.m_frames;
    }
    const auto tally = state.streams.find(observer.Info().stream);
    return tally == state.streams.end() ? 0 : static_cast<std::uint32_t>(tally->second.frames);
}

std::string ClockText(double seconds)
{
    const int whole = static_cast<int>(seconds);
    char text[32];
    std::snprintf(text, sizeof text, "%02d:%02d", whole / 60, whole % 60);
    return text;
}

}  // namespace

RecordProgress::RecordProgress(Console& console, const std::list<FrameObserver>& observers,
                               double seconds)
    : m_console(console), m_observers(observers), m_seconds(seconds), m_last(observers.size())
{
}

std::string RecordProgress::StreamText(const FrameObserver& observer, Count& last,
                                       const WriterState& state, double elapsed) const
{
    const StreamKind kind = observer.Info().kind;
    const Count now{Pictures(observer, state), observer.m_kilobytes};
    const Count step{now.frames - last.frames, now.kilobytes - last.kilobytes};
    last = now;
    if (now.frames == 0 || kind == StreamKind::kStill) {
        return {};
    }
    std::string text = std::string(" | ") + observer.Info().name;
    if (kind != StreamKind::kAudio) {
        text += " " + Fixed1(step.frames / elapsed) + " fps";
    }
    if (kind != StreamKind::kRaw) {
        text += " " + std::to_string(std::lround(step.kilobytes * 8 / elapsed)) + " kbit/s";
    }
    if (CountsDrops(kind)) {
        text += ", " + std::to_string(Drops(observer, state)) +
                (kind == StreamKind::kAudio ? " ms lost" : " lost");
    }
    return text;
}

void RecordProgress::Update(const WriterState& state)
{
    const std::int64_t now = MonotonicUs();
    if (m_last_us == 0) {
        m_last_us = now;
    }
    const std::int64_t period = m_console.IsTerminal() ? kTerminalPeriodUs : kPlainPeriodUs;
    if (now - m_last_us < period) {
        return;
    }
    const double elapsed = static_cast<double>(now - m_last_us) / 1e6;
    const double done =
        state.started ? std::min(static_cast<double>(now - state.origin_us) / 1e6, m_seconds) : 0;
    m_last_us = now;
    std::string line = ClockText(done) + "/" + ClockText(m_seconds);
    std::size_t index = 0;
    for (const FrameObserver& observer : m_observers) {
        line += StreamText(observer, m_last[index++], state, elapsed);
    }
    line += state.started ? " | " + std::to_string(std::lround(m_seconds - done)) + " s left"
                          : " | waiting for the first picture";
    if (m_console.IsTerminal()) {
        m_console.Status(line);
    } else {
        m_console.Line(line);
    }
}

std::string RecordTable(const std::list<FrameObserver>& observers, const WriterState& state)
{
    TextTable table(
        {"stream", ">frames", ">seconds", ">per second", ">kbit/s", ">lost", "file"});
    for (const FrameObserver& observer : observers) {
        const StreamInfo& info = observer.Info();
        if (observer.m_frames == 0) {
            continue;
        }
        const auto found = state.streams.find(info.stream);
        const StreamTally tally = found == state.streams.end() ? StreamTally() : found->second;
        const double span = static_cast<double>(tally.last_us - tally.first_us) / 1e6;
        const bool moving = CountsDrops(info.kind) && tally.frames > 1 && span > 0;
        const double intervals = static_cast<double>(tally.frames) - 1;
        const double bits = static_cast<double>(tally.bytes) * 8;
        std::string lost = "-";
        if (CountsDrops(info.kind)) {
            lost = std::to_string(Drops(observer, state));
            lost += info.kind == StreamKind::kAudio ? " ms" : "";
        }
        table.Row({info.name, std::to_string(Pictures(observer, state)),
                   moving ? Fixed1(span) : "-", moving ? Fixed1(intervals / span) : "-",
                   moving ? std::to_string(std::lround(bits / span / 1000)) : "-", lost,
                   tally.file});
    }
    return table.Text();
}

}  // namespace host
