#include "tests/host/movie_check.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

#include <memory>

namespace host_test {
namespace {

struct Free {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
template <typename T>
using Av = std::unique_ptr<T, Free>;

class TrackDecoder {
public:
    explicit TrackDecoder(const AVStream* stream) : m_base(av_q2d(stream->time_base))
    {
        const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
        m_facts.codec = avcodec_get_name(stream->codecpar->codec_id);
        m_facts.width = stream->codecpar->width;
        m_facts.height = stream->codecpar->height;
        m_codec.reset(avcodec_alloc_context3(codec));
        avcodec_parameters_to_context(m_codec.get(), stream->codecpar);
        // Damage must be reported, not painted over.
        m_codec->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
        m_facts.errors += avcodec_open2(m_codec.get(), codec, nullptr) < 0 ? 1 : 0;
    }

    /// Null flushes.
    void Decode(const AVPacket* packet)
    {
        if (packet != nullptr) {
            const double time = static_cast<double>(packet->pts) * m_base;
            m_facts.first = m_facts.packets == 0 ? time : m_facts.first;
            m_facts.rising = m_facts.rising && (m_facts.packets == 0 || time > m_facts.last);
            m_facts.last = time;
            ++m_facts.packets;
        }
        m_facts.errors += avcodec_send_packet(m_codec.get(), packet) < 0 ? 1 : 0;
        while (avcodec_receive_frame(m_codec.get(), m_frame.get()) == 0) {
            ++m_facts.frames;
            m_facts.errors += m_frame->decode_error_flags != 0 ? 1 : 0;
        }
    }

    const TrackFacts& Facts() const { return m_facts; }

private:
    double m_base;
    Av<AVCodecContext> m_codec;
    Av<AVFrame> m_frame{av_frame_alloc()};
    TrackFacts m_facts;
};

}  // namespace

MovieFacts CheckMovie(const std::string& path)
{
    MovieFacts facts;
    AVFormatContext* raw = nullptr;
    if (avformat_open_input(&raw, path.c_str(), nullptr, nullptr) < 0) {
        return facts;
    }
    const Av<AVFormatContext> format(raw);
    facts.opened = avformat_find_stream_info(raw, nullptr) >= 0;
    facts.duration = static_cast<double>(raw->duration) / AV_TIME_BASE;
    std::vector<std::unique_ptr<TrackDecoder>> decoders;
    for (unsigned i = 0; i < raw->nb_streams; ++i) {
        decoders.push_back(std::make_unique<TrackDecoder>(raw->streams[i]));
    }
    const Av<AVPacket> packet(av_packet_alloc());
    while (av_read_frame(raw, packet.get()) >= 0) {
        decoders[static_cast<std::size_t>(packet->stream_index)]->Decode(packet.get());
        av_packet_unref(packet.get());
    }
    for (const auto& decoder : decoders) {
        decoder->Decode(nullptr);
        facts.tracks.push_back(decoder->Facts());
    }
    return facts;
}

}  // namespace host_test
