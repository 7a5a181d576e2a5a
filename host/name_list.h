// Names typed by people: compared without regard to case and dashes.
#ifndef TORVIK_HOST_NAME_LIST_H
#define TORVIK_HOST_NAME_LIST_H

#include <string>

namespace host {

/// Lower case, with '-' for '_'.
std::string PlainName(const std::string& name);
bool SameName(const std::string& a, const std::string& b);

/// "a, b, c"
template <typename List, typename NameOf>
std::string JoinNames(const List& list, NameOf nameOf)
{
    std::string text;
    for (const auto& item : list) {
        text += text.empty() ? "" : ", ";
        text += nameOf(item);
    }
    return text;
}

}  // namespace host

#endif
