// Received frames matched with those that the virtual camera sent.
#ifndef TESTS_LIBRARY_SENT_FRAMES_H
#define TESTS_LIBRARY_SENT_FRAMES_H

#include <vector>

#include "tests/support/frame_collector.h"
#include "virtual_camera/model/traffic.h"

namespace library_test {

/// A frame as the encoder made it, put together again from the records that
/// the observer got.
struct Match {
    vcam::SentFrame sent;
    std::vector<unsigned char> data;
    std::size_t pieces = 0;
};

/// Finds each received frame among those sent, in order; a frame may come in
/// pieces with one stamp. Received data that was never sent ends the list.
inline std::vector<Match> MatchFrames(const std::vector<vcam::SentFrame>& sent,
                                      const std::vector<test_support::CollectedFrame>& received,
                                      bool* everything)
{
    std::vector<Match> matches;
    std::size_t next = 0;
    for (std::size_t at = 0; at < received.size();) {
        bool found = false;
        for (std::size_t candidate = next; candidate < sent.size() && !found; ++candidate) {
            Match match{sent[candidate], {}, 0};
            std::size_t end = at;
            while (end < received.size() && match.data.size() < match.sent.size &&
                   received[end].timestamp == received[at].timestamp) {
                match.data.insert(match.data.end(), received[end].data.begin(),
                                  received[end].data.end());
                ++end;
            }
            match.pieces = end - at;
            found = match.data.size() == match.sent.size &&
                    vcam::Digest(match.data.data(), match.data.size()) == match.sent.digest;
            if (found) {
                next = candidate + 1;
                at = end;
                matches.push_back(std::move(match));
            }
        }
        if (!found) {
            *everything = false;
            return matches;
        }
    }
    *everything = true;
    return matches;
}

}  // namespace library_test

#endif
