#include "runtime/debug_log.h"

#include <cstdarg>

std::atomic<std::uint32_t> g_embedded_cam_dbg_level{1};
std::FILE* gDbgLog = nullptr;

namespace {

constexpr unsigned kHeaderSize = 1024;
constexpr unsigned kFormatMajor = 1;
constexpr unsigned kFormatMinor = 0x26;

constexpr const char* g_szModuleName[] = {"TORVIK", "V4L2", "KEL"};
constexpr const char* g_szLevelName[] = {"-", "Fatal", "Major", "Warning", "Debugging", "Info"};
constexpr char kRedOn[] = "\033[31m";
constexpr char kColourReset[] = "\033[0m";

template <std::size_t N>
const char* NameOf(const char* const (&names)[N], unsigned index)
{
    return index < N ? names[index] : "-";
}

bool g_log_file_closed = false;

void CloseLogFile()
{
    // The handle is kept when a new file is not opened right away, so a second
    // close must know that the stream behind it is gone.
    if (gDbgLog != nullptr && !g_log_file_closed)
        std::fclose(gDbgLog);
    g_log_file_closed = true;
}

}  // namespace

void PrintDebug(unsigned module, unsigned level, const char* function, int line,
                const char* format, ...)
{
    if (level > g_embedded_cam_dbg_level.load(std::memory_order_relaxed))
        return;

    char header[kHeaderSize] = {};
    if (level != kLogBare) {
        std::snprintf(header, sizeof header, "[%s %X.%X/%s] [%s:%d] %s",
                      NameOf(g_szModuleName, module), kFormatMajor, kFormatMinor,
                      NameOf(g_szLevelName, level), function, line,
                      level == kLogFatal ? kRedOn : "");
    }
    std::printf("%s", header);

    std::va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);

    // Most messages end their own line already; the doubled line end is what
    // readers of these logs expect.
    std::puts(level == kLogFatal ? kColourReset : "");
}

std::FILE* PrintDebuggingInit(const char* path)
{
    CloseLogFile();
    if (path == nullptr)
        return gDbgLog;
    gDbgLog = std::fopen(path, "w+t");
    g_log_file_closed = false;
    return gDbgLog;
}

void PrintDebuggingClose()
{
    CloseLogFile();
    gDbgLog = nullptr;
}

void __FATAL(const char* format, ...)
{
    static_cast<void>(format);
}
