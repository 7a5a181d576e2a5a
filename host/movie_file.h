// A Matroska file with H.264 and, when there is a microphone, its PCM.
#ifndef TORVIK_HOST_MOVIE_FILE_H
#define TORVIK_HOST_MOVIE_FILE_H

#include <cstdint>
#include <string>

#include "host/access_unit.h"

struct AVFormatContext;
struct AVPacket;

namespace host {

/// Stream copy: nothing is encoded anew. Every failure to write throws, with
/// the file's name and the system's reason. Times in microseconds from the
/// start of the recording.
class MovieFile {
public:
    /// Creates the file and writes its head. `parameterSets` with start codes;
    /// empty when there is no video.
    MovieFile(const std::string& path, const Bytes& parameterSets, const Bytes& firstPicture,
              bool audio);
    ~MovieFile();
    MovieFile(const MovieFile&) = delete;
    MovieFile& operator=(const MovieFile&) = delete;

    void AddVideo(const Bytes& unit, std::int64_t timeUs, bool keyFrame);
    void AddAudio(const Bytes& pcm, std::int64_t timeUs);
    /// Writes the index and closes. Without it the file plays, but cannot be
    /// sought in.
    void Finish();

    bool HasAudio() const { return m_audio_stream >= 0; }
    const std::string& Path() const { return m_path; }

private:
    void Open();
    void Release();
    void AddStream(bool video, const Bytes& parameterSets, const Bytes& firstPicture);
    void Write(int stream, const Bytes& data, std::int64_t timeUs, std::int64_t durationUs,
               int flags);
    void Check(int result) const;

    std::string m_path;
    AVFormatContext* m_format = nullptr;
    AVPacket* m_packet = nullptr;
    int m_video_stream = -1;
    int m_audio_stream = -1;
    std::int64_t m_last_video = -1;
};

}  // namespace host

#endif
