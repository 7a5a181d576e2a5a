#include "virtual_camera/model/media.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "virtual_camera/model/digest.h"

namespace vcam {
namespace {

Bytes ReadFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("virtual camera: cannot read " + path);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

unsigned Distance(unsigned a, unsigned b)
{
    return a > b ? a - b : b - a;
}

}  // namespace

std::shared_ptr<const Media> Media::Load(const std::string& folder)
{
    static std::mutex lock;
    static std::map<std::string, std::shared_ptr<const Media>> loaded;
    const std::lock_guard<std::mutex> guard(lock);
    auto& media = loaded[folder];
    if (!media)
        media.reset(new Media(folder));
    return media;
}

Media::Media(const std::string& folder)
{
    const std::string list = folder + "/media.txt";
    std::ifstream file(list);
    if (!file)
        throw std::runtime_error("virtual camera: cannot read " + list);
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string kind, name;
        if (!(words >> kind >> name) || kind[0] == '#')
            continue;
        const std::string path = folder + "/" + name;
        bool good = true;
        if (kind == "h264") {
            Clip clip{};
            good = bool(words >> clip.width >> clip.height >> clip.fps >> clip.kbps);
            clip.data = ReadFile(path);
            clip.frames = SplitPictures(clip.data);
            for (std::size_t i = 0; i < clip.frames.size(); ++i)
                if (clip.frames[i].key)
                    clip.keys.push_back(i);
            good = good && !clip.keys.empty() && clip.keys[0] == 0;
            m_clips.push_back(std::move(clip));
        } else if (kind == "jpeg") {
            Still still{};
            good = bool(words >> still.width >> still.height);
            still.data = ReadFile(path);
            still.digest = Digest(still.data.data(), still.data.size());
            m_stills.push_back(std::move(still));
        } else if (kind == "i420") {
            good = bool(words >> m_picture.width >> m_picture.height);
            m_picture.data = ReadFile(path);
            good = good && m_picture.data.size() == m_picture.width * m_picture.height * 3 / 2;
        } else if (kind == "wav") {
            m_speech = ParseWave(ReadFile(path));
        } else {
            good = false;
        }
        if (!good)
            throw std::runtime_error("virtual camera: " + list + ": bad line: " + line);
    }
    if (m_clips.empty() || m_stills.empty() || m_picture.data.empty() || m_speech.samples.empty())
        throw std::runtime_error("virtual camera: " + list + " is not complete");
}

const Clip& Media::BestClip(unsigned width, unsigned height, unsigned fps, unsigned kbps) const
{
    const Clip* best = nullptr;
    std::uint64_t best_distance = 0;
    for (const Clip& clip : m_clips) {
        const std::uint64_t distance =
            (std::uint64_t{Distance(clip.width, width) + Distance(clip.height, height)} << 40) +
            (std::uint64_t{Distance(clip.fps, fps)} << 24) + Distance(clip.kbps, kbps);
        if (!best || distance < best_distance) {
            best = &clip;
            best_distance = distance;
        }
    }
    return *best;
}

const Still& Media::BestStill(unsigned width, std::size_t n) const
{
    unsigned best = m_stills[0].width;
    for (const Still& still : m_stills)
        if (Distance(still.width, width) < Distance(best, width))
            best = still.width;
    std::vector<const Still*> choice;
    for (const Still& still : m_stills)
        if (still.width == best)
            choice.push_back(&still);
    return *choice[n % choice.size()];
}

std::vector<ClipFrame> SplitPictures(const Bytes& stream)
{
    enum : std::uint8_t { kPSlice = 0x41, kIdrSlice = 0x65, kSequenceParameters = 0x67 };
    std::vector<ClipFrame> frames;
    std::size_t position = 0;
    for (std::size_t i = 0; i + 4 < stream.size(); ++i) {
        if (stream[i] != 0 || stream[i + 1] != 0 || stream[i + 2] != 0 || stream[i + 3] != 1)
            continue;
        const std::uint8_t header = stream[i + 4];
        if (header != kSequenceParameters && header != kPSlice)
            continue;
        if (i > 0)
            frames.push_back({position, i - position, 0, false});
        position = i;
    }
    if (position < stream.size())
        frames.push_back({position, stream.size() - position, 0, false});
    for (ClipFrame& frame : frames) {
        frame.key = stream[frame.offset + 4] != kPSlice;
        frame.digest = Digest(stream.data() + frame.offset, frame.size);
    }
    return frames;
}

Sound ParseWave(const Bytes& file)
{
    Sound sound;
    std::size_t position = 12;
    while (position + 8 <= file.size()) {
        const std::string id(file.begin() + static_cast<std::ptrdiff_t>(position),
                             file.begin() + static_cast<std::ptrdiff_t>(position + 4));
        const auto size = static_cast<std::size_t>(LoadLe(&file[position + 4], 4));
        position += 8;
        if (size > file.size() - position)
            break;
        if (id == "fmt " && size >= 16) {
            if (LoadLe(&file[position], 2) != 1 || LoadLe(&file[position + 2], 2) != 1 ||
                LoadLe(&file[position + 14], 2) != 16)
                throw std::runtime_error("virtual camera: speech must be 16-bit mono PCM");
            sound.rate = static_cast<unsigned>(LoadLe(&file[position + 4], 4));
        } else if (id == "data") {
            for (std::size_t i = 0; i + 2 <= size; i += 2)
                sound.samples.push_back(static_cast<std::int16_t>(LoadLe(&file[position + i], 2)));
        }
        position += size + (size & 1);
    }
    if (sound.rate == 0 || sound.samples.empty())
        throw std::runtime_error("virtual camera: speech file without samples");
    return sound;
}

}  // namespace vcam
