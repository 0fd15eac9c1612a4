#include "TextTable.h"

#include <algorithm>
#include <ostream>
#include <utility>

#include "Terminal.h"

namespace support
{

TextTable::TextTable(std::string alignments) : _alignments(std::move(alignments)) {}

void TextTable::add(std::vector<std::string> cells)
{
    cells.resize(_alignments.size());
    _rows.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out) const
{
    std::vector<std::size_t> widths(_alignments.size());
    for (const std::vector<std::string>& row : _rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], widthOf(row[i]));

    for (const std::vector<std::string>& row : _rows) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string blanks(widths[i] - widthOf(row[i]), ' ');
            line += i == 0 ? "" : "  ";
            line += _alignments[i] == 'r' ? blanks + row[i] : row[i] + blanks;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    }
}

} // namespace support
