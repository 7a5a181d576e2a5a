// The camera's properties as people name them.
#ifndef TORVIK_HOST_PROPERTY_TABLE_H
#define TORVIK_HOST_PROPERTY_TABLE_H

#include <string>
#include <vector>

#include "api/camera_property.h"

namespace host {

/// How a value is written on the command line.
enum class ValueForm {
    kNumber,
    kSize,       ///< 1280x720
    kPoint,      ///< x,y and in the second value w,h
    kSignal,     ///< name of a signal type
    kFrequency,  ///< 50Hz or 60Hz
    kNothing,    ///< the value does not matter
};

enum class Reading {
    kNever,
    kPlain,
    kSelfTest,    ///< answers after seconds, so only when asked for by name
    kFromDevice,  ///< the property answers something else; the camera knows
};

struct PropertyInfo {
    CAM_PROPERTY id;
    const char* name;
    const char* unit;
    ValueForm form;
    std::int32_t least;
    std::int32_t greatest;
    Reading reading;
    bool settable;
    const char* note;
};

const std::vector<PropertyInfo>& Properties();
/// By name or by number; throws a usage error.
const PropertyInfo& PropertyByName(const std::string& name);

/// Throws a usage error for what does not fit the property's form and range.
CAM_PROP_VALUE ParsePropertyValue(const PropertyInfo& property,
                                  const std::vector<std::string>& words);
std::string PropertyValueText(const PropertyInfo& property, std::int32_t value);
std::string PropertyRangeText(const PropertyInfo& property);

/// Decimal or 0x...; throws a usage error that names `what`.
long long ParseNumber(const std::string& text, const std::string& what, long long least,
                      long long greatest);
/// "AxB" or "A,B", each 0 to 65535.
struct Pair {
    int first = 0;
    int second = 0;
};
Pair ParsePair(const std::string& text, const std::string& what);

}  // namespace host

#endif
