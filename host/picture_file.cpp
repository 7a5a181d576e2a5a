#include "host/picture_file.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

#include <cerrno>
#include <cstdio>
#include <memory>

#include "host/av_text.h"
#include "host/host_error.h"

namespace host {
namespace {

struct Free {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};
template <typename T>
using Av = std::unique_ptr<T, Free>;

AVPixelFormat SourceFormat(CAM_STREAM stream)
{
    switch (stream) {
    case CAM_STREAM_GRAY:
        return AV_PIX_FMT_GRAY8;
    case CAM_STREAM_YUYV:
        return AV_PIX_FMT_YUYV422;
    case CAM_STREAM_NV21:
        return AV_PIX_FMT_NV21;
    default:
        return AV_PIX_FMT_NV12;
    }
}

int Checked(int result, const std::string& path)
{
    if (result < 0) {
        throw HostError(kExitFailed, "cannot make " + path + ": " + AvErrorText(result));
    }
    return result;
}

template <typename T>
T* Allocated(T* object, const std::string& path)
{
    if (object == nullptr) {
        Checked(AVERROR(ENOMEM), path);
    }
    return object;
}

Av<AVFrame> PngFrame(const std::string& path, CAM_STREAM stream, const Bytes& image,
                     PictureSize size)
{
    const AVPixelFormat from = SourceFormat(stream);
    const AVPixelFormat to = from == AV_PIX_FMT_GRAY8 ? AV_PIX_FMT_GRAY8 : AV_PIX_FMT_RGB24;
    std::uint8_t* planes[4] = {};
    int strides[4] = {};
    Checked(av_image_fill_arrays(planes, strides, image.data(), from, size.width, size.height, 1),
            path);
    Av<AVFrame> frame(Allocated(av_frame_alloc(), path));
    frame->format = to;
    frame->width = size.width;
    frame->height = size.height;
    Checked(av_frame_get_buffer(frame.get(), 0), path);
    if (from == to) {
        av_image_copy(frame->data, frame->linesize, const_cast<const std::uint8_t**>(planes),
                      strides, from, size.width, size.height);
        return frame;
    }
    const Av<SwsContext> scaler(Allocated(
        sws_getContext(size.width, size.height, from, size.width, size.height, to, SWS_BICUBIC,
                       nullptr, nullptr, nullptr),
        path));
    sws_scale(scaler.get(), planes, strides, 0, size.height, frame->data, frame->linesize);
    return frame;
}

}  // namespace

void WriteWholeFile(const std::string& path, const Bytes& data)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        throw SystemError("cannot write " + path, errno);
    }
    const bool written = std::fwrite(data.data(), 1, data.size(), file) == data.size();
    int error = written ? 0 : errno;
    if (std::fclose(file) != 0 && error == 0) {
        error = errno;  // a full disk may show only now
    }
    if (error != 0) {
        throw SystemError("cannot write " + path, error);
    }
}

void WritePng(const std::string& path, CAM_STREAM stream, const Bytes& image, PictureSize size)
{
    const Av<AVFrame> frame = PngFrame(path, stream, image, size);
    const AVCodec* encoder = Allocated(avcodec_find_encoder(AV_CODEC_ID_PNG), path);
    const Av<AVCodecContext> codec(Allocated(avcodec_alloc_context3(encoder), path));
    codec->width = size.width;
    codec->height = size.height;
    codec->pix_fmt = static_cast<AVPixelFormat>(frame->format);
    codec->time_base = {1, 1};
    const Av<AVPacket> packet(Allocated(av_packet_alloc(), path));
    Checked(avcodec_open2(codec.get(), encoder, nullptr), path);
    Checked(avcodec_send_frame(codec.get(), frame.get()), path);
    Checked(avcodec_receive_packet(codec.get(), packet.get()), path);
    WriteWholeFile(path, Bytes(packet->data, packet->data + packet->size));
}

}  // namespace host
