#include "tests/sweep/fault.h"

#include <sstream>
#include <stdexcept>
#include <vector>

namespace sweep {
namespace {

constexpr Kind kKinds[] = {Kind::kNone, Kind::kCode, Kind::kCompletion, Kind::kShortReply,
                           Kind::kUnplug};

}  // namespace

const char* NameOf(Kind kind)
{
    switch (kind) {
    case Kind::kNone:
        return "none";
    case Kind::kCode:
        return "code";
    case Kind::kCompletion:
        return "completion";
    case Kind::kShortReply:
        return "short";
    case Kind::kUnplug:
        return "unplug";
    }
    return "";
}

std::string Fault::ToString() const
{
    return scenario + "/" + phase + "/" + call + "/" + std::to_string(nth) + "/" + NameOf(kind) +
           "/" + std::to_string(code);
}

Fault Fault::Parse(const std::string& text)
{
    std::vector<std::string> words;
    std::istringstream stream(text);
    for (std::string word; std::getline(stream, word, '/');)
        words.push_back(word);
    if (words.size() != 6)
        throw std::invalid_argument("not a fault: " + text);
    for (const Kind kind : kKinds) {
        if (words[4] == NameOf(kind))
            return {words[0], words[1], words[2], std::stoul(words[3]), kind, std::stoi(words[5])};
    }
    throw std::invalid_argument("no such kind of fault: " + text);
}

}  // namespace sweep
