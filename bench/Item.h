// What every contestant stores and gives back.

#ifndef SQLW_BENCH_ITEM_H
#define SQLW_BENCH_ITEM_H

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

/// Items with the ids 1 to `count`, the same ones for the same `seed`. Names have 8 to 40 bytes,
/// and one in fifty holds a quote; prices are below 1000.
std::vector<Item> makeItems(std::size_t count, unsigned seed);

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

} // namespace bench

#endif
