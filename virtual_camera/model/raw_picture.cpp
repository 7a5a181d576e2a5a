#include "virtual_camera/model/raw_picture.h"

#include <cstring>

namespace vcam {
namespace {

constexpr RawSize kWindow{640, 480};

/// Goes up and down between 0 and `range` in steps of two.
unsigned Swing(std::uint64_t n, unsigned range)
{
    const unsigned half = range / 2;
    if (half == 0)
        return 0;
    const auto phase = static_cast<unsigned>(n % (2 * half));
    return 2 * (phase < half ? phase : 2 * half - phase);
}

/// The window's place in the source; even, so that chroma stays aligned.
struct Window {
    const std::uint8_t *luma, *cb, *cr;
    std::size_t luma_stride, chroma_stride;

    Window(const Picture& source, std::uint64_t n)
        : luma_stride(source.width), chroma_stride(source.width / 2)
    {
        const unsigned x = Swing(n, source.width - kWindow.width);
        const unsigned y = Swing(n * 2 / 3, source.height - kWindow.height);
        const std::size_t plane = luma_stride * source.height;
        const std::size_t chroma = std::size_t{y / 2} * chroma_stride + x / 2;
        luma = source.data.data() + std::size_t{y} * luma_stride + x;
        cb = source.data.data() + plane + chroma;
        cr = source.data.data() + plane + plane / 4 + chroma;
    }
};

void DrawGray(const Window& window, std::uint8_t* to)
{
    const RawSize size = RawPictureSize(RawFormat::kGray);
    for (unsigned y = 0; y < size.height; ++y) {
        const std::uint8_t* upper = window.luma + 2 * y * window.luma_stride;
        const std::uint8_t* lower = upper + window.luma_stride;
        for (unsigned x = 0; x < size.width; ++x) {
            const unsigned sum =
                2U + upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
            *to++ = static_cast<std::uint8_t>(sum / 4);
        }
    }
}

void DrawSemiPlanar(const Window& window, const std::uint8_t* first, const std::uint8_t* second,
                    std::uint8_t* to)
{
    for (unsigned y = 0; y < kWindow.height; ++y, to += kWindow.width)
        std::memcpy(to, window.luma + y * window.luma_stride, kWindow.width);
    for (unsigned y = 0; y < kWindow.height / 2; ++y) {
        for (unsigned x = 0; x < kWindow.width / 2; ++x) {
            *to++ = first[y * window.chroma_stride + x];
            *to++ = second[y * window.chroma_stride + x];
        }
    }
}

void DrawYuy2(const Window& window, std::uint8_t* to)
{
    for (unsigned y = 0; y < kWindow.height; ++y) {
        const std::uint8_t* luma = window.luma + y * window.luma_stride;
        const std::uint8_t* cb = window.cb + y / 2 * window.chroma_stride;
        const std::uint8_t* cr = window.cr + y / 2 * window.chroma_stride;
        for (unsigned x = 0; x < kWindow.width / 2; ++x) {
            *to++ = luma[2 * x];
            *to++ = cb[x];
            *to++ = luma[2 * x + 1];
            *to++ = cr[x];
        }
    }
}

}  // namespace

RawSize RawPictureSize(RawFormat format)
{
    return format == RawFormat::kGray ? RawSize{kWindow.width / 2, kWindow.height / 2} : kWindow;
}

std::size_t RawPictureBytes(RawFormat format)
{
    const RawSize size = RawPictureSize(format);
    const std::size_t pixels = std::size_t{size.width} * size.height;
    switch (format) {
        case RawFormat::kGray:
            return pixels;
        case RawFormat::kNv12:
        case RawFormat::kNv21:
            return pixels * 3 / 2;
        case RawFormat::kYuy2:
            break;
    }
    return pixels * 2;
}

void DrawRawPicture(const Picture& source, RawFormat format, std::uint64_t n, std::uint8_t* to)
{
    const Window window(source, n);
    switch (format) {
        case RawFormat::kGray:
            DrawGray(window, to);
            break;
        case RawFormat::kNv12:
            DrawSemiPlanar(window, window.cb, window.cr, to);
            break;
        case RawFormat::kNv21:
            DrawSemiPlanar(window, window.cr, window.cb, to);
            break;
        case RawFormat::kYuy2:
            DrawYuy2(window, to);
            break;
    }
}

}  // namespace vcam
