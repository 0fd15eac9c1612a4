// What every contestant stores and gives back.

#ifndef SQLW_BENCH_DATA_H
#define SQLW_BENCH_DATA_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

/// The cells of one row of the table item.
struct Item
{
    std::int64_t id;
    std::string name;
    double price;
    bool active;
    std::int64_t created; ///< seconds since the epoch
};

/// The rows of a run, and what is asked for. The ids are 1 to the number of items. Names have 8 to
/// 40 bytes, and one in fifty holds a quote; prices are below 1000.
struct Data
{
    Data(std::size_t rowCount, std::size_t itemsPerRow, const std::string& path);

    const Item* row(std::size_t index) const { return &items[index * itemsPerRow]; }
    const Item* changedRow(std::size_t index) const { return &changed[index * itemsPerRow]; }
    std::int64_t key(std::size_t index) const { return row(index)->id; }

    const std::size_t rows;
    const std::size_t itemsPerRow;
    const std::string path;                  ///< of the database
    const std::string secondPath;            ///< of the database that rows are copied to
    const std::vector<Item> items;           ///< the same ones in every run
    const std::vector<Item> changed;         ///< the same ids, other cells
    const std::vector<std::size_t> shuffled; ///< the positions of the rows
};

/// What was read: every cell of every item goes in, so that two readings are equal when cells and
/// order are.
struct Reading
{
    std::uint64_t items = 0;
    std::uint64_t order = 0; ///< of the ids
    std::uint64_t nameBytes = 0;
    double prices = 0.0;
    std::uint64_t actives = 0;
    std::int64_t created = 0;
    std::string lines; ///< of an export, which is read again when nothing is measured

    void add(std::int64_t id, std::size_t nameLength, double price, bool active,
             std::int64_t createdAt)
    {
        ++items;
        order = order * 31 + static_cast<std::uint64_t>(id);
        nameBytes += nameLength;
        prices += price;
        actives += active ? 1 : 0;
        created += createdAt;
    }
    void add(const Item& item)
    {
        add(item.id, item.name.size(), item.price, item.active, item.created);
    }
    bool operator==(const Reading& other) const;
};

/// Reads what was exported: a line for each row, its cells separated by tabs.
Reading readingOf(const std::string& lines);

} // namespace bench

#endif
