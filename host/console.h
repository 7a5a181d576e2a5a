// What camhost prints, kept apart from what the driver prints.
//
// The driver logs to standard output. So camhost keeps the original standard
// output for itself and gives the driver another file in its place.
#ifndef TORVIK_HOST_CONSOLE_H
#define TORVIK_HOST_CONSOLE_H

#include <cstdio>
#include <string>

namespace host {

class Console {
public:
    Console();
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    /// Sends the driver's log to a file; "-" means standard error, empty
    /// nowhere. Call before the driver is loaded.
    void DivertDriverLog(const std::string& target);

    bool IsTerminal() const { return m_terminal; }
    /// A finished line.
    void Line(const std::string& text);
    /// A line that the next Status or Line replaces; only on a terminal.
    void Status(const std::string& text);
    /// Text as it is, without a line end of its own.
    void Text(const std::string& text);

private:
    void ClearStatus();

    std::FILE* m_out;
    bool m_terminal;
    bool m_status_shown = false;
};

/// "camhost: text" on standard error.
void PrintProblem(const std::string& text);

}  // namespace host

#endif
