#include "tests/sweep/facts.h"

#include <nlohmann/json.hpp>

namespace sweep {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Occurrence, call, step, label, nth_of_label, in)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Facts, complete, injected, where, statuses, results, open,
                                   misuse, threads_left, files_left, memory_left, calls)

std::string ToText(const Facts& facts)
{
    return nlohmann::json(facts).dump();
}

Facts FactsFromText(const std::string& text)
{
    return nlohmann::json::parse(text).get<Facts>();
}

}  // namespace sweep
