// Decodes a whole file and tells what was in it.
#ifndef TORVIK_TESTS_HOST_MOVIE_CHECK_H
#define TORVIK_TESTS_HOST_MOVIE_CHECK_H

#include <string>
#include <vector>

namespace host_test {

struct TrackFacts {
    std::string codec;
    int width = 0;
    int height = 0;
    int packets = 0;
    int frames = 0;      ///< decoded
    int errors = 0;      ///< of the decoder
    double first = 0;    ///< seconds
    double last = 0;     ///< start of the last packet
    bool rising = true;  ///< every packet later than the one before
};

struct MovieFacts {
    bool opened = false;
    double duration = 0;
    std::vector<TrackFacts> tracks;
};

MovieFacts CheckMovie(const std::string& path);

}  // namespace host_test

#endif
