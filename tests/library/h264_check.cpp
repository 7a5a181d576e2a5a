#include "tests/library/h264_check.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/log.h>
}

namespace library_test {
namespace {

std::mutex g_mutex;  // guards g_errors
std::vector<std::string>* g_errors = nullptr;

void Log(void*, int level, const char* format, va_list arguments)
{
    // A missing picture is concealed and mentioned in passing only.
    const bool gap = std::strstr(format, "Frame num gap") != nullptr;
    if (level > AV_LOG_ERROR && !gap)
        return;
    char text[256];
    std::vsnprintf(text, sizeof text, format, arguments);
    const std::lock_guard<std::mutex> guard(g_mutex);
    if (g_errors != nullptr)
        g_errors->push_back(text);
}

struct ContextFree {
    void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameFree {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFree {
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};

}  // namespace

DecodeResult DecodeH264(const std::vector<std::vector<unsigned char>>& units)
{
    DecodeResult result;
    {
        const std::lock_guard<std::mutex> guard(g_mutex);
        g_errors = &result.errors;
    }
    av_log_set_callback(Log);
    const std::unique_ptr<AVCodecContext, ContextFree> decoder(
        avcodec_alloc_context3(avcodec_find_decoder(AV_CODEC_ID_H264)));
    decoder->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_CAREFUL;
    decoder->error_concealment = 0;
    decoder->thread_count = 1;
    if (avcodec_open2(decoder.get(), nullptr, nullptr) < 0)
        result.errors.push_back("the decoder does not open");
    const std::unique_ptr<AVFrame, FrameFree> frame(av_frame_alloc());
    const std::unique_ptr<AVPacket, PacketFree> packet(av_packet_alloc());
    const auto take = [&] {
        while (avcodec_receive_frame(decoder.get(), frame.get()) == 0) {
            ++result.pictures;
            if (frame->decode_error_flags != 0 || (frame->flags & AV_FRAME_FLAG_CORRUPT) != 0)
                result.errors.push_back("damaged picture");
        }
    };
    for (const auto& unit : units) {
        if (av_new_packet(packet.get(), static_cast<int>(unit.size())) < 0)
            break;
        std::memcpy(packet->data, unit.data(), unit.size());
        if (avcodec_send_packet(decoder.get(), packet.get()) < 0)
            result.errors.push_back("refused packet");
        av_packet_unref(packet.get());
        take();
    }
    avcodec_send_packet(decoder.get(), nullptr);
    take();
    const std::lock_guard<std::mutex> guard(g_mutex);
    g_errors = nullptr;
    return result;
}

}  // namespace library_test
