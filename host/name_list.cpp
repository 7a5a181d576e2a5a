#include "host/name_list.h"

#include <cctype>

namespace host {

std::string PlainName(const std::string& name)
{
    std::string plain;
    for (char c : name) {
        plain += c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return plain;
}

bool SameName(const std::string& a, const std::string& b)
{
    return PlainName(a) == PlainName(b);
}

}  // namespace host
