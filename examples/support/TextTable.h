/// @file
/// Lines of text in columns.

#ifndef SQLW_EXAMPLE_TEXT_TABLE_H
#define SQLW_EXAMPLE_TEXT_TABLE_H

#include <iosfwd>
#include <string>
#include <vector>

namespace support
{

/// Rows of cells, printed in columns as wide as they need to be.
class TextTable
{
public:
    /// `alignments` has an 'l' (left) or an 'r' (right) for each column.
    explicit TextTable(std::string alignments);

    void add(std::vector<std::string> cells);
    void print(std::ostream& out) const;

private:
    const std::string _alignments;
    std::vector<std::vector<std::string>> _rows;
};

} // namespace support

#endif
