// Runs the host program as a person would and keeps what it said.
#ifndef TORVIK_TESTS_HOST_RUN_CAMHOST_H
#define TORVIK_TESTS_HOST_RUN_CAMHOST_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace host_test {

struct Result {
    int code = -1;  ///< exit code, or 128 + signal
    std::string out;
    std::string err;
};

/// A folder that goes with the object.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

/// A running camhost. Output goes to files, so it can be read at any moment.
class Camhost {
public:
    /// With `bound`, permissions of files bind root too.
    explicit Camhost(const std::vector<std::string>& arguments,
                     const std::vector<std::string>& environment = {}, bool bound = false);
    ~Camhost();

    /// Waits until standard output holds the text. False when the program ended
    /// or `seconds` passed before.
    bool WaitForOutput(const std::string& text, int seconds = 60);
    void Signal(int number);
    Result Wait();

private:
    bool Ended();
    std::string Output(const char* name) const;

    TempFolder m_folder;
    pid_t m_pid = -1;
    bool m_ended = false;
    int m_status = 0;
};

/// Text with every run of blanks made one.
std::string Squeezed(const std::string& text);

/// Start to end.
Result RunCamhost(const std::vector<std::string>& arguments,
                  const std::vector<std::string>& environment = {});

std::size_t Lines(const std::string& text);

}  // namespace host_test

#endif
