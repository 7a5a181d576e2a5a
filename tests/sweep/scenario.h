// The stretches of a camera's life over which faults are swept.
#ifndef TESTS_SWEEP_SCENARIO_H
#define TESTS_SWEEP_SCENARIO_H

#include <cstddef>
#include <string>
#include <vector>

#include "tests/sweep/facts.h"
#include "tests/sweep/fault.h"

namespace sweep {

class Stage;

struct Scenario {
    const char* name;
    std::vector<std::string> swept;  ///< phases
    std::vector<std::string> steps;  ///< see Stage
    void (*prepare)();               ///< writes the television's files
    void (*play)(Stage&);
};

const std::vector<Scenario>& Scenarios();
/// Throws std::invalid_argument.
const Scenario& FindScenario(const std::string& name);

/// In the worker process.
Facts Play(const Scenario& scenario, const Fault& fault);

void PlayRecording(Stage& stage);
void PlaySignalTypes(Stage& stage);
void PlayRestart(Stage& stage);
void PlayAbandoned(Stage& stage);
void PlayWatch(Stage& stage);
void PlayBulkBootLoader(Stage& stage);
void PlayUvcBootLoader(Stage& stage);
void PlayUpdateFirmware(Stage& stage);
void PlayChecksum(Stage& stage);
void PlayPcsync(Stage& stage);
void PlayUvcDownload(Stage& stage);
void PlayBootCode(Stage& stage);
void PlayWriteProtection(Stage& stage);

}  // namespace sweep

#endif
