// What happens inside a trial's process.
#ifndef TESTS_PAIRS_PLAY_H
#define TESTS_PAIRS_PLAY_H

#include "tests/pairs/trial.h"

namespace pairs {

/// Writes a line per fact to the report: "steps N", "held WHERE", "fail WHAT";
/// everything behind "stacks" is stacks. Ends the process when the limit is over.
void Play(const Trial& trial, int report);

}  // namespace pairs

#endif
