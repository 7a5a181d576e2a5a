#include "host/firmware_update.h"

#include <algorithm>
#include <future>
#include <string>

#include "host/usb_progress.h"

namespace host {
namespace {

class Bar {
public:
    Bar(Console& console, std::size_t total)
        : m_console(console), m_total(std::max<std::size_t>(total, 1))
    {
    }

    void Update(const DownloadState& state)
    {
        const std::size_t sent = std::min<std::size_t>(state.sent, m_total);
        const auto tenth = static_cast<int>(sent * 10 / m_total);
        const std::string percent = std::to_string(sent * 100 / m_total) + " %";
        if (m_console.IsTerminal()) {
            const auto filled = static_cast<std::size_t>(sent * kWidth / m_total);
            m_console.Status("[" + std::string(filled, '#') + std::string(kWidth - filled, '.') +
                             "] " + percent + (state.burning ? ", burning" : ""));
        } else if (tenth > m_last_tenth) {
            m_console.Line("sent " + percent);
        }
        if (state.burning && !m_burning && !m_console.IsTerminal()) {
            m_console.Line("burning");
        }
        m_last_tenth = std::max(m_last_tenth, tenth);
        m_burning = state.burning;
    }

private:
    static constexpr std::size_t kWidth = 40;

    Console& m_console;
    const std::size_t m_total;
    int m_last_tenth = -1;
    bool m_burning = false;
};

}  // namespace

int ShowDownload(Console& console, WakePipe& events, std::size_t imageBytes,
                 const std::function<int()>& download)
{
    ResetDownload();
    Bar bar(console, imageBytes);
    std::future<int> result = std::async(std::launch::async, download);
    while (result.wait_for(std::chrono::milliseconds(100)) != std::future_status::ready) {
        bar.Update(CurrentDownload());
        if (events.Wait(std::chrono::milliseconds(0)) == Event::kInterrupt) {
            console.Line("the update cannot be stopped half-way");
        }
    }
    bar.Update(CurrentDownload());
    return result.get();
}

}  // namespace host
