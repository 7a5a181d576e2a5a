// The two version descriptions, whose fixed paths lead to memory here.
//
// input: which are missing, length of the factory text, factory text, downloaded
// text
#include <cstdio>
#include <cstring>
#include <sys/stat.h>

#include "firmware/firmware_loader.h"
#include "fuzz/bytes.h"
#include "fuzz/check.h"
#include "fuzz/memory_file.h"
#include "fuzz/target.h"
#include "runtime/debug_log.h"

namespace {

const char* g_factory = nullptr;     ///< path, null: there is none
const char* g_downloaded = nullptr;  ///< path, null: there is none

const char* Redirect(const char* path)
{
    const char* target = path;
    if (std::strcmp(path, "/mtd_exe/wiru/zelCamera.xml") == 0)
        target = g_factory;
    else if (std::strcmp(path, "/mtd_rwcommon/wiru/bin/zelCamera.xml") == 0)
        target = g_downloaded;
    return target != nullptr ? target : "/nonexistent";
}

}  // namespace

extern "C" {

int __real_stat(const char* path, struct stat* status);
int __wrap_stat(const char* path, struct stat* status)
{
    return __real_stat(Redirect(path), status);
}

std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    return __real_fopen(Redirect(path), mode);
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::Bytes input(data, size);
    const std::uint8_t first = input.U8();
    g_embedded_cam_dbg_level = first & 0x80 ? 5 : 0;
    const std::size_t wanted_length = input.U16();
    const std::size_t length = std::min(wanted_length, input.Left());
    fuzz::MemoryFile factory(input.Data(), length);
    input.Skip(length);
    fuzz::MemoryFile downloaded(input.Data(), input.Left());

    g_factory = (first & 1) == 0 ? factory.Path().c_str() : nullptr;
    g_downloaded = (first & 2) == 0 ? downloaded.Path().c_str() : nullptr;
    const bool use_default = CCameraFwLoader::UseDefaultVersion();
    if (g_factory == nullptr)
        FUZZ_CHECK(!use_default);
    else if (g_downloaded == nullptr)
        FUZZ_CHECK(use_default);

    // A text is never newer than itself.
    g_factory = g_downloaded = factory.Path().c_str();
    FUZZ_CHECK(!CCameraFwLoader::UseDefaultVersion());
    return 0;
}
