#include "host/access_unit.h"

#include <utility>

namespace host {
namespace {

constexpr int kSliceFirst = 1;
constexpr int kSliceIdr = 5;
constexpr int kSequenceParameters = 7;
constexpr int kPictureParameters = 8;

/// Position behind the next 00 00 01 at or after `from`, or the end.
std::size_t NextUnit(const Bytes& data, std::size_t from)
{
    for (std::size_t i = from; i + 3 <= data.size(); ++i) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
            return i + 3;
        }
    }
    return data.size();
}

/// End of the unit in front of the one that starts at `next`.
std::size_t UnitEnd(const Bytes& data, std::size_t begin, std::size_t next)
{
    std::size_t end = next < data.size() ? next - 3 : next;
    while (end > begin && data[end - 1] == 0) {
        --end;  // trailing zero bytes, the fourth byte of a long start code among them
    }
    return end;
}

}  // namespace

UnitContents ScanUnits(const Bytes& data)
{
    UnitContents contents;
    for (std::size_t begin = NextUnit(data, 0); begin < data.size();) {
        const std::size_t next = NextUnit(data, begin);
        const int type = data[begin] & 0x1F;
        contents.picture = contents.picture || (type >= kSliceFirst && type <= kSliceIdr);
        contents.key_frame = contents.key_frame || type == kSliceIdr;
        if (type == kSequenceParameters || type == kPictureParameters) {
            const std::size_t end = UnitEnd(data, begin, next);
            contents.parameter_sets.insert(contents.parameter_sets.end(), {0, 0, 0, 1});
            contents.parameter_sets.insert(contents.parameter_sets.end(),
                                           data.begin() + static_cast<std::ptrdiff_t>(begin),
                                           data.begin() + static_cast<std::ptrdiff_t>(end));
        }
        begin = next;
    }
    return contents;
}

bool AccessUnitAssembler::Add(Bytes&& piece, Bytes& unit)
{
    if (m_held.empty()) {
        m_held = std::move(piece);
    } else {
        m_held.insert(m_held.end(), piece.begin(), piece.end());
    }
    // The whole is looked at, not the piece: the driver cuts at fixed places,
    // which may lie inside a start code.
    if (!ScanUnits(m_held).picture) {
        return false;
    }
    unit = std::move(m_held);
    m_held.clear();
    return true;
}

}  // namespace host
