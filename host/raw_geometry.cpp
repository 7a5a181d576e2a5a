#include "host/raw_geometry.h"

namespace host {
namespace {

constexpr PictureSize kSizes[] = {
    {160, 120}, {176, 144},  {320, 180},  {320, 240},  {352, 288},   {424, 240},
    {432, 240}, {480, 270},  {640, 360},  {640, 480},  {800, 448},   {800, 600},
    {848, 480}, {864, 480},  {960, 540},  {960, 720},  {1024, 576},  {1024, 768},
    {1280, 720}, {1280, 960}, {1600, 896}, {1920, 1080},
};

std::size_t ImageBytes(CAM_STREAM stream, PictureSize size)
{
    const auto pixels =
        static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
    switch (stream) {
    case CAM_STREAM_GRAY:
        return pixels;
    case CAM_STREAM_YUYV:
        return pixels * 2;
    default:
        return pixels * 3 / 2;
    }
}

}  // namespace

PictureSize RawPictureSize(CAM_STREAM stream, std::size_t bytes, PictureSize preferred)
{
    if (bytes != 0 && ImageBytes(stream, preferred) == bytes) {
        return preferred;
    }
    for (const PictureSize& size : kSizes) {
        if (ImageBytes(stream, size) == bytes) {
            return size;
        }
    }
    return {};
}

}  // namespace host
