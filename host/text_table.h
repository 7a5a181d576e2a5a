// Columns that line up.
#ifndef TORVIK_HOST_TEXT_TABLE_H
#define TORVIK_HOST_TEXT_TABLE_H

#include <string>
#include <vector>

namespace host {

class TextTable {
public:
    /// A heading that starts with '>' makes its column right-aligned.
    explicit TextTable(const std::vector<std::string>& headings);
    void Row(std::vector<std::string> cells);
    /// Whole table, every line ended.
    std::string Text() const;

private:
    std::vector<bool> m_right;
    std::vector<std::vector<std::string>> m_rows;
};

/// One decimal.
std::string Fixed1(double value);

}  // namespace host

#endif
