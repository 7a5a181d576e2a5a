#include "host/movie_file.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/mem.h>
}

#include <cerrno>
#include <cstring>
#include <memory>

#include "host/av_text.h"
#include "host/host_error.h"
#include "host/streams.h"

namespace host {
namespace {

constexpr AVRational kMicroseconds = {1, 1000000};

struct ParserDeleter {
    void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
};
struct CodecDeleter {
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
};

/// Picture size, as the parameter sets state it.
void ReadPictureSize(const Bytes& picture, AVCodecParameters* parameters)
{
    const std::unique_ptr<AVCodecParserContext, ParserDeleter> parser(
        av_parser_init(AV_CODEC_ID_H264));
    const std::unique_ptr<AVCodecContext, CodecDeleter> codec(avcodec_alloc_context3(nullptr));
    if (!parser || !codec) {
        return;
    }
    parser->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    Bytes padded(picture);
    padded.resize(picture.size() + AV_INPUT_BUFFER_PADDING_SIZE, 0);
    std::uint8_t* out = nullptr;
    int outSize = 0;
    av_parser_parse2(parser.get(), codec.get(), &out, &outSize, padded.data(),
                     static_cast<int>(picture.size()), AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
    parameters->width = parser->width;
    parameters->height = parser->height;
}

}  // namespace

std::string AvErrorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(error, text, sizeof text);
    return text;
}

MovieFile::MovieFile(const std::string& path, const Bytes& parameterSets,
                     const Bytes& firstPicture, bool audio)
    : m_path(path)
{
    try {
        Open();
        if (!parameterSets.empty()) {
            AddStream(true, parameterSets, firstPicture);
        }
        if (audio) {
            AddStream(false, {}, {});
        }
        Check(avformat_write_header(m_format, nullptr));
    } catch (...) {
        Release();
        throw;
    }
}

void MovieFile::Open()
{
    av_log_set_level(AV_LOG_FATAL);
    Check(avformat_alloc_output_context2(&m_format, nullptr, "matroska", m_path.c_str()));
    Check(avio_open(&m_format->pb, m_path.c_str(), AVIO_FLAG_WRITE));
    m_packet = av_packet_alloc();
    Check(m_packet == nullptr ? AVERROR(ENOMEM) : 0);
}

void MovieFile::Release()
{
    if (m_format != nullptr) {
        avio_closep(&m_format->pb);
    }
    avformat_free_context(m_format);
    av_packet_free(&m_packet);
}

MovieFile::~MovieFile()
{
    Release();
}

void MovieFile::Check(int result) const
{
    if (result < 0) {
        throw HostError(kExitFailed, "cannot write " + m_path + ": " + AvErrorText(result));
    }
}

void MovieFile::AddStream(bool video, const Bytes& parameterSets, const Bytes& firstPicture)
{
    AVStream* stream = avformat_new_stream(m_format, nullptr);
    if (stream == nullptr) {
        Check(AVERROR(ENOMEM));
    }
    AVCodecParameters* parameters = stream->codecpar;
    stream->time_base = kMicroseconds;
    if (!video) {
        parameters->codec_type = AVMEDIA_TYPE_AUDIO;
        parameters->codec_id = AV_CODEC_ID_PCM_S16LE;
        parameters->sample_rate = kCamAudioRate;
        parameters->bits_per_coded_sample = 16;
        parameters->block_align = kCamAudioChannels * 2;
        av_channel_layout_default(&parameters->ch_layout, kCamAudioChannels);
        m_audio_stream = stream->index;
        return;
    }
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = AV_CODEC_ID_H264;
    // With start codes here, the muxer turns these and every packet into the
    // length-prefixed form that the container asks for.
    parameters->extradata = static_cast<std::uint8_t*>(
        av_mallocz(parameterSets.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    if (parameters->extradata == nullptr) {
        Check(AVERROR(ENOMEM));
    }
    std::memcpy(parameters->extradata, parameterSets.data(), parameterSets.size());
    parameters->extradata_size = static_cast<int>(parameterSets.size());
    ReadPictureSize(firstPicture, parameters);
    m_video_stream = stream->index;
}

void MovieFile::Write(int stream, const Bytes& data, std::int64_t timeUs, std::int64_t durationUs,
                      int flags)
{
    // The muxer may hold the packet back, so it gets a copy of its own.
    Check(av_new_packet(m_packet, static_cast<int>(data.size())));
    std::memcpy(m_packet->data, data.data(), data.size());
    m_packet->stream_index = stream;
    m_packet->pts = timeUs;
    m_packet->dts = timeUs;
    m_packet->duration = durationUs;
    m_packet->flags = flags;
    av_packet_rescale_ts(m_packet, kMicroseconds, m_format->streams[stream]->time_base);
    Check(av_interleaved_write_frame(m_format, m_packet));
    Check(m_format->pb->error);
}

void MovieFile::AddVideo(const Bytes& unit, std::int64_t timeUs, bool keyFrame)
{
    // The container counts milliseconds, and no two pictures may share one.
    if (m_last_video >= 0 && timeUs < m_last_video + 1000) {
        timeUs = m_last_video + 1000;
    }
    m_last_video = timeUs;
    Write(m_video_stream, unit, timeUs, 0, keyFrame ? AV_PKT_FLAG_KEY : 0);
}

void MovieFile::AddAudio(const Bytes& pcm, std::int64_t timeUs)
{
    const auto duration = static_cast<std::int64_t>(pcm.size()) * 1000 / kAudioBytesPerMs;
    Write(m_audio_stream, pcm, timeUs, duration, AV_PKT_FLAG_KEY);
}

void MovieFile::Finish()
{
    Check(av_write_trailer(m_format));
    Check(m_format->pb->error);
    Check(avio_closep(&m_format->pb));
}

}  // namespace host
