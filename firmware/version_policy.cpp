// Whether the factory image or the downloaded one is used.

#include <cstdlib>
#include <new>
#include <string>

#include "firmware/firmware_loader.h"
#include "firmware/image_file.h"
#include "runtime/debug_log.h"

namespace {

constexpr char kFunction[] = "UseDefaultVersion";
constexpr char kDownloadedPath[] = "/mtd_rwcommon/wiru/bin/zelCamera.xml";
constexpr char kFactoryPath[] = "/mtd_exe/wiru/zelCamera.xml";
constexpr char kOpenTag[] = "<Version>";
constexpr char kCloseTag[] = "</Version>";

/// The file's text up to its first NUL. False when the file cannot be taken
/// whole.
bool ReadText(const OpenedFile& file, std::string& text)
{
    const long size = file.regular ? FileSize(file.handle.get()) : -1;
    if (size < 0 || size > kMaxFileSize)
        return false;
    text.resize(static_cast<std::size_t>(size));
    if (std::fread(&text[0], 1, text.size(), file.handle.get()) != text.size())
        return false;
    text.resize(text.find('\0') == std::string::npos ? text.size() : text.find('\0'));
    return true;
}

/// The text between the tags. Only a missing closing tag is told; a missing
/// opening tag makes the version start at offset 8.
bool FindVersion(const std::string& text, std::string& version)
{
    const std::size_t open = text.find(kOpenTag);
    const std::size_t close = text.find(kCloseTag);
    const std::size_t start = open + (sizeof kOpenTag - 1);
    if (close == std::string::npos || close < start)
        return false;
    version = text.substr(start, close - start);
    return true;
}

void LogUnparsable()
{
    CAM_LOG_AS(kFunction, kLogFatal, "fail to parse zelCamera.xml, use /mtd_down/wiru/bin\n");
}

/// By the versions in the two texts, as decimal numbers: 1.10 is lower than 1.9.
bool IsNewer(const std::string& factory_text, const std::string& downloaded_text)
{
    std::string factory_version;
    if (!FindVersion(factory_text, factory_version)) {
        CAM_LOG_AS(kFunction, kLogFatal, "%s: default camera dir has invalid version info.\n", kFunction);
        return false;
    }
    std::string downloaded_version;
    if (!FindVersion(downloaded_text, downloaded_version)) {
        CAM_LOG_AS(kFunction, kLogFatal, "zel version in /mtd_down/wiru/bin has invalid version \n");
        return true;
    }

    CAM_LOG_AS(kFunction, kLogDebugging, "defaultVersion version : %s \n", factory_version.c_str());
    CAM_LOG_AS(kFunction, kLogDebugging, "zelVersion version : %s \n", downloaded_version.c_str());
    if (std::strtod(downloaded_version.c_str(), nullptr) <
        std::strtod(factory_version.c_str(), nullptr)) {
        CAM_LOG_AS(kFunction, kLogFatal, "default driver version is newer than zel version \n");
        return true;
    }
    CAM_LOG_AS(kFunction, kLogDebugging, "zel driver version is newer than default driver version \n");
    return false;
}

bool FactoryImageIsNewer()
{
    const OpenedFile downloaded = OpenForReading(kDownloadedPath);
    const OpenedFile factory = OpenForReading(kFactoryPath);
    if (!factory.exists) {
        CAM_LOG_AS(kFunction, kLogFatal, "use /mtd_down/wiru/bin\n");
        return false;
    }
    if (!downloaded.exists) {
        CAM_LOG_AS(kFunction, kLogFatal, "no version file in %s, start update\n", kDownloadedPath);
        CAM_LOG_AS(kFunction, kLogFatal, "use /mtd_exe/wiru/\n");
        return true;
    }

    std::string factory_text;
    std::string downloaded_text;
    if (!ReadText(factory, factory_text) || !ReadText(downloaded, downloaded_text)) {
        LogUnparsable();
        return false;
    }
    if (factory_text.empty())
        return false;
    CAM_LOG_AS(kFunction, kLogDebugging, "zelVersion Version XML String length=%d \n",
            static_cast<int>(downloaded_text.size()));
    return IsNewer(factory_text, downloaded_text);
}

}  // namespace

bool CCameraFwLoader::UseDefaultVersion()
{
    try {
        return FactoryImageIsNewer();
    } catch (const std::bad_alloc&) {
        LogUnparsable();  // there is no memory to take the texts whole
        return false;
    }
}
