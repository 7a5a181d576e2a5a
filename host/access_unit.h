// Puts the pieces of one H.264 picture together.
#ifndef TORVIK_HOST_ACCESS_UNIT_H
#define TORVIK_HOST_ACCESS_UNIT_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace host {

using Bytes = std::vector<std::uint8_t>;

/// What an Annex B byte stream (ITU-T H.264, Annex B) holds.
struct UnitContents {
    bool picture = false;    ///< at least one slice
    bool key_frame = false;  ///< an IDR slice
    Bytes parameter_sets;    ///< sequence and picture parameter sets, with start codes
};
UnitContents ScanUnits(const Bytes& data);

/// The driver may hand a key frame over in three pieces: sequence parameter
/// set, picture parameter set, picture. Players want one packet.
class AccessUnitAssembler {
public:
    /// True when `unit` now holds a whole picture: the pieces held back so far
    /// and this one.
    bool Add(Bytes&& piece, Bytes& unit);

private:
    Bytes m_held;
};

}  // namespace host

#endif
