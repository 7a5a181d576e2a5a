#include "host/text_table.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace host {

TextTable::TextTable(const std::vector<std::string>& headings)
{
    std::vector<std::string> row;
    for (const std::string& heading : headings) {
        const bool right = !heading.empty() && heading.front() == '>';
        m_right.push_back(right);
        row.push_back(right ? heading.substr(1) : heading);
    }
    m_rows.push_back(std::move(row));
}

void TextTable::Row(std::vector<std::string> cells)
{
    cells.resize(m_right.size());
    m_rows.push_back(std::move(cells));
}

std::string TextTable::Text() const
{
    std::vector<std::size_t> widths(m_right.size(), 0);
    for (const auto& row : m_rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row[i].size());
        }
    }
    std::string text;
    for (const auto& row : m_rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - row[i].size(), ' ');
            line += (i == 0 ? "" : "  ") + (m_right[i] ? padding + row[i] : row[i] + padding);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string Fixed1(double value)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

}  // namespace host
