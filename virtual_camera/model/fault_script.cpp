// The language of fault scripts.
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>
#include <stdexcept>

#include "virtual_camera/model/faults.h"

namespace vcam {
namespace {

const std::map<std::string, FaultPoint> kPoints = {
    {"container", FaultPoint::kContainer},
    {"payload", FaultPoint::kPayload},
    {"iso", FaultPoint::kIso},
    {"control", FaultPoint::kControl},
    {"block", FaultPoint::kBulkOut},
    {"time", FaultPoint::kTime},
};

enum class Value { kNone, kNeeded, kOptional };

struct ActionRow {
    FaultAction action;
    Value value;
    const char* points;  ///< first letters of the points where it makes sense
};

const std::map<std::string, ActionRow> kActions = {
    {"lose", {FaultAction::kLose, Value::kNone, "cbi"}},
    {"truncate", {FaultAction::kTruncate, Value::kNeeded, "c"}},
    {"pad", {FaultAction::kPad, Value::kNeeded, "c"}},
    {"garble", {FaultAction::kGarble, Value::kNone, "c"}},
    {"err", {FaultAction::kErr, Value::kNone, "p"}},
    {"extra-err", {FaultAction::kExtraErr, Value::kNone, "p"}},
    {"header", {FaultAction::kHeader, Value::kNeeded, "p"}},
    {"short", {FaultAction::kShort, Value::kNeeded, "pC"}},
    {"timeout", {FaultAction::kTimeout, Value::kNone, "piCb"}},
    {"stall", {FaultAction::kStall, Value::kNone, "piCb"}},
    {"halt", {FaultAction::kHalt, Value::kNone, "p"}},
    {"overflow", {FaultAction::kOverflow, Value::kNone, "piCb"}},
    {"error", {FaultAction::kError, Value::kNone, "piCb"}},
    {"delay", {FaultAction::kDelay, Value::kNeeded, "piC"}},
    {"unplug", {FaultAction::kUnplug, Value::kOptional, "cpiCbt"}},
};

char PointLetter(FaultPoint point)
{
    switch (point) {
        case FaultPoint::kContainer:
            return 'c';
        case FaultPoint::kPayload:
            return 'p';
        case FaultPoint::kIso:
            return 'i';
        case FaultPoint::kControl:
            return 'C';
        case FaultPoint::kBulkOut:
            return 'b';
        case FaultPoint::kTime:
            break;
    }
    return 't';
}

class Line
{
public:
    explicit Line(const std::string& text) : m_words(text) {}

    bool Next(std::string& word) { return bool(m_words >> word); }

    std::string Word()
    {
        std::string word;
        if (!Next(word))
            throw std::invalid_argument("the line ends too early");
        return word;
    }

    std::uint64_t Number() { return ToNumber(Word()); }

    static std::uint64_t ToNumber(const std::string& word)
    {
        std::size_t used = 0;
        std::uint64_t number = 0;
        try {
            number = std::stoull(word, &used, 0);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used == 0 || used != word.size() || word[0] == '-')
            throw std::invalid_argument("\"" + word + "\" is no number");
        return number;
    }

    std::uint8_t Byte()
    {
        const std::uint64_t number = Number();
        if (number > 255)
            throw std::invalid_argument("a byte is needed");
        return static_cast<std::uint8_t>(number);
    }

private:
    std::istringstream m_words;
};

/// "every N", "at N", "from N [to M]" or "always".
void ParseMoments(Line& line, std::string& word, Fault& fault)
{
    if (word == "always") {
        word = line.Word();
    } else if (word == "every") {
        fault.first = fault.step = line.Number();
        word = line.Word();
    } else if (word == "at") {
        fault.first = fault.last = line.Number();
        word = line.Word();
    } else if (word == "from") {
        fault.first = line.Number();
        word = line.Word();
        if (word == "to") {
            fault.last = line.Number();
            word = line.Word();
        }
    } else {
        throw std::invalid_argument("every, at, from or always is needed, not \"" + word + "\"");
    }
    if (fault.first == 0)
        throw std::invalid_argument("counting starts at 1");
}

Fault ParseFault(FaultPoint point, Line& line)
{
    Fault fault;
    fault.point = point;
    std::string word = line.Word();
    for (; point == FaultPoint::kControl; word = line.Word()) {
        if (word == "type")
            fault.request_type = line.Byte();
        else if (word == "request")
            fault.request = line.Byte();
        else if (word == "entity")
            fault.entity = line.Byte();
        else if (word == "selector")
            fault.selector = line.Byte();
        else
            break;
    }
    ParseMoments(line, word, fault);

    const auto action = kActions.find(word);
    if (action == kActions.end() ||
        std::string(action->second.points).find(PointLetter(point)) == std::string::npos)
        throw std::invalid_argument("\"" + word + "\" cannot happen here");
    fault.action = action->second.action;
    if (action->second.value == Value::kNeeded)
        fault.value = static_cast<std::int64_t>(line.Number());
    if (line.Next(word)) {
        if (action->second.value != Value::kOptional || word != "back")
            throw std::invalid_argument("\"" + word + "\" is one word too many");
        fault.value = static_cast<std::int64_t>(line.Number());
        if (line.Next(word))
            throw std::invalid_argument("\"" + word + "\" is one word too many");
    }
    return fault;
}

}  // namespace

Script ParseScript(const std::string& text, const CameraOptions& options)
{
    Script script{options, {}};
    std::istringstream lines(text);
    std::string content;
    for (int number = 1; std::getline(lines, content); ++number) {
        content = content.substr(0, content.find('#'));
        Line line(content);
        std::string word;
        if (!line.Next(word))
            continue;
        try {
            const auto point = kPoints.find(word);
            if (word == "set") {
                const std::string name = line.Word();
                ApplySetting(script.options, name, line.Word());
            } else if (point != kPoints.end()) {
                script.faults.push_back(ParseFault(point->second, line));
            } else {
                throw std::invalid_argument("\"" + word + "\" begins no line");
            }
        } catch (const std::invalid_argument& problem) {
            throw std::invalid_argument("line " + std::to_string(number) + ": " + problem.what());
        }
    }
    return script;
}

Script LoadScript(const std::string& path, const CameraOptions& options)
{
    std::ifstream file(path);
    if (!file)
        throw std::runtime_error("virtual camera: cannot read " + path);
    const std::string text((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    return ParseScript(text, options);
}

}  // namespace vcam
