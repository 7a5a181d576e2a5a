#include "firmware/image_file.h"

#include <algorithm>
#include <new>
#include <sys/stat.h>

#include "runtime/debug_log.h"

OpenedFile OpenForReading(const char* path)
{
    struct stat status;
    if (stat(path, &status) == 0 && !S_ISREG(status.st_mode))
        return {nullptr, true, false};
    FileHandle handle(std::fopen(path, "rb"));
    const bool opened = handle != nullptr;
    return {std::move(handle), opened, opened};
}

long FileSize(std::FILE* file)
{
    if (std::fseek(file, 0, SEEK_END) != 0)
        return -1;
    const long size = std::ftell(file);
    if (std::fseek(file, 0, SEEK_SET) != 0)
        return -1;
    return size;
}

Image LoadImage(const char* path, const ImageRequest& request)
{
    const OpenedFile file = OpenForReading(path);
    if (!file.exists) {
        CAM_LOG_AS(request.procedure, request.not_exist_level, "file %s not exist. \r\n", path);
        return {};
    }
    const long size = file.regular ? FileSize(file.handle.get()) : -1;
    if (size < request.min_size || size > kMaxFileSize) {
        CAM_LOG_AS(request.procedure, kLogDebugging, "file %s size is incorrect. \r\n", path);
        return {};
    }
    CAM_LOG_AS(request.procedure, kLogDebugging, "binary size=%d bytes\r\n",
               static_cast<int>(size));

    Image image;
    image.size = static_cast<std::size_t>(size);
    image.data.reset(new (std::nothrow) unsigned char[image.size + request.padding]);
    if (image.data == nullptr) {
        if (request.log_allocation) {
            CAM_LOG_AS(request.procedure, kLogFatal,
                       "data pointer for loading firmware is NULL!!!\r\n");
        }
        CAM_LOG_AS(request.procedure, kLogFatal, "Update flash failed.\r\n");
        return {};
    }
    if (std::fread(image.data.get(), 1, image.size, file.handle.get()) != image.size) {
        CAM_LOG_AS(request.procedure, kLogFatal, "Update flash failed.\r\n");
        return {};
    }
    std::fill_n(image.data.get() + image.size, request.padding, static_cast<unsigned char>(0));
    return image;
}
