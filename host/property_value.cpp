// Property values from and to text.
#include <charconv>
#include <cstdlib>

#include "host/host_error.h"
#include "host/name_list.h"
#include "host/property_table.h"
#include "host/streams.h"

namespace host {
namespace {

[[noreturn]] void Refuse(const std::string& what, const std::string& text,
                         const std::string& expected)
{
    throw HostError(kExitUsage, "bad " + what + " '" + text + "': expected " + expected);
}

std::int32_t Packed(Pair pair)
{
    const auto bits = static_cast<std::uint32_t>(pair.first) |
                      (static_cast<std::uint32_t>(pair.second) << 16);
    return static_cast<std::int32_t>(bits);
}

bool IsNumber(const std::string& text)
{
    return !text.empty() && (std::isdigit(static_cast<unsigned char>(text.back())) != 0) &&
           text.find_first_not_of("-0123456789") == std::string::npos;
}

std::int32_t ParseOne(const PropertyInfo& property, const std::string& text)
{
    const std::string what = property.name;
    switch (property.form) {
    case ValueForm::kSize:
    case ValueForm::kPoint:
        return Packed(ParsePair(text, what));
    case ValueForm::kSignal:
        if (!IsNumber(text)) {
            return static_cast<std::int32_t>(SignalByName(text).type);
        }
        break;
    case ValueForm::kFrequency:
        if (SameName(text, "60hz")) {
            return 1;
        }
        if (SameName(text, "50hz")) {
            return 2;
        }
        Refuse(what, text, "50Hz or 60Hz");
    default:
        break;
    }
    return static_cast<std::int32_t>(
        ParseNumber(text, what, property.least, property.greatest));
}

}  // namespace

long long ParseNumber(const std::string& text, const std::string& what, long long least,
                      long long greatest)
{
    const std::string expected =
        least == greatest
            ? std::to_string(least)
            : "a number from " + std::to_string(least) + " to " + std::to_string(greatest);
    const bool hex = text.compare(0, 2, "0x") == 0;
    const char* begin = text.c_str() + (hex ? 2 : 0);
    const char* end = text.c_str() + text.size();
    long long value = 0;
    const std::from_chars_result result = std::from_chars(begin, end, value, hex ? 16 : 10);
    if (result.ec != std::errc() || result.ptr != end || value < least || value > greatest) {
        Refuse(what, text, expected);
    }
    return value;
}

Pair ParsePair(const std::string& text, const std::string& what)
{
    const std::size_t middle = text.find_first_of("x,");
    if (middle == std::string::npos) {
        Refuse(what, text, "two numbers such as 1280x720");
    }
    return {static_cast<int>(ParseNumber(text.substr(0, middle), what, 0, 65535)),
            static_cast<int>(ParseNumber(text.substr(middle + 1), what, 0, 65535))};
}

CAM_PROP_VALUE ParsePropertyValue(const PropertyInfo& property,
                                  const std::vector<std::string>& words)
{
    CAM_PROP_VALUE value = {0, {0, 0}};
    if (!property.settable) {
        throw HostError(kExitUsage, std::string(property.name) + " can only be read");
    }
    if (property.form == ValueForm::kNothing) {
        return value;
    }
    if (words.empty()) {
        throw HostError(kExitUsage, std::string(property.name) + " needs a value");
    }
    value.value = ParseOne(property, words[0]);
    for (std::size_t i = 1; i < words.size() && i < 3; ++i) {
        const std::string what = std::string(property.name) + " operand";
        value.res[i - 1] =
            property.form == ValueForm::kPoint && words[i].find_first_of("x,") != std::string::npos
                ? Packed(ParsePair(words[i], what))
                : static_cast<std::int32_t>(ParseNumber(words[i], what, INT32_MIN, INT32_MAX));
    }
    return value;
}

std::string PropertyValueText(const PropertyInfo& property, std::int32_t value)
{
    if (property.form == ValueForm::kSize) {
        const auto bits = static_cast<std::uint32_t>(value);
        return std::to_string(bits & 0xFFFF) + "x" + std::to_string(bits >> 16);
    }
    return std::to_string(value);
}

std::string PropertyRangeText(const PropertyInfo& property)
{
    switch (property.form) {
    case ValueForm::kSize:
        return "WIDTHxHEIGHT";
    case ValueForm::kPoint:
        return "0..65535 each";
    case ValueForm::kFrequency:
        return "50Hz, 60Hz";
    case ValueForm::kSignal:
        return "name or 0..8";
    case ValueForm::kNothing:
        return "-";
    default:
        break;
    }
    if (property.least == property.greatest) {
        return std::to_string(property.least);
    }
    return std::to_string(property.least) + ".." + std::to_string(property.greatest);
}

}  // namespace host
