// What the contestants have to do.

#ifndef SQLW_BENCH_WORKLOAD_H
#define SQLW_BENCH_WORKLOAD_H

#include "Contestant.h"

namespace bench
{

/// The rows that a run is about, and what is asked for.
struct Data
{
    Data(std::size_t rowCount, std::size_t itemsPerRow);

    const Item* row(std::size_t index) const { return &items[index * itemsPerRow]; }
    const Item* changedRow(std::size_t index) const { return &changed[index * itemsPerRow]; }
    std::int64_t key(std::size_t index) const { return row(index)->id; }

    const std::size_t rows;
    const std::size_t itemsPerRow;
    const std::vector<Item> items;
    const std::vector<Item> changed;         ///< the same ids, other cells
    const std::vector<std::size_t> shuffled; ///< the positions of the rows
};

/// One thing to do with a table. A run is `prepare`, then `run`, the one part that is measured,
/// then `check`, which throws when the table or the reading is not as it should be.
struct Workload
{
    const char* name;
    void (*prepare)(Contestant& contestant, const Data& data);
    Reading (*run)(Contestant& contestant, const Data& data);
    void (*check)(Contestant& contestant, const Data& data, const Reading& reading);
};

const std::vector<Workload>& workloads();
/// The one with this name, which throws when there is none.
const Workload& workload(const std::string& name);

} // namespace bench

#endif
