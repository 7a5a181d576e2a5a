// What a call is made for.
#ifndef TESTS_SWEEP_LABELS_H
#define TESTS_SWEEP_LABELS_H

#include <map>
#include <string>

#include "virtual_camera/standin/call.h"

namespace sweep {

/// "probe set", "stream target", ...; "?" for a request nobody knows.
std::string RequestName(const vcam::standin::Call& call);

/// Names calls, remembering what earlier calls tell about later ones.
class Labels {
public:
    std::string Of(const vcam::standin::Call& call) const;
    /// After Of, for every submission and every freeing of a transfer.
    void Remember(const vcam::standin::Call& call);

private:
    std::map<const void*, std::string> m_submitted;  ///< endpoint by transfer
};

}  // namespace sweep

#endif
