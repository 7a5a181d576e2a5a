// Loading an image file into memory.
#ifndef TORVIK_FIRMWARE_IMAGE_FILE_H
#define TORVIK_FIRMWARE_IMAGE_FILE_H

#include <cstdio>
#include <memory>

/// Nothing that this library reads into memory is larger.
constexpr long kMaxFileSize = 64L << 20;

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FileHandle = std::unique_ptr<std::FILE, FileCloser>;

/// Opens for reading; null when that fails. Never blocks on a pipe, which
/// opens as an empty handle with `regular` false like any special file.
struct OpenedFile {
    FileHandle handle;
    bool exists;   ///< can be opened
    bool regular;  ///< `handle` is valid
};
OpenedFile OpenForReading(const char* path);

/// Size in bytes, by seeking to the end and back to the start; negative when
/// that fails.
long FileSize(std::FILE* file);

/// What one download procedure wants of its image.
struct ImageRequest {
    const char* procedure;      ///< logs under this name
    unsigned not_exist_level;   ///< of the log line for a missing file
    long min_size;              ///< a smaller file is refused, bytes
    std::size_t padding;        ///< zeroed bytes behind the image
    bool log_allocation;        ///< has a log line of its own for failed allocation
};

struct Image {
    std::unique_ptr<unsigned char[]> data;  ///< null when loading failed (and was logged)
    std::size_t size = 0;                   ///< bytes, padding not included
};

Image LoadImage(const char* path, const ImageRequest& request);

#endif
