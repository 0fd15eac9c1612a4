// What the contestants have to do.

#ifndef SQLW_BENCH_WORKLOAD_H
#define SQLW_BENCH_WORKLOAD_H

#include "Contestant.h"

namespace bench
{

/// One thing to do with a table. A run is `prepare`, then `run`, the only part that is measured,
/// then `check`, which throws when the table or the reading is wrong.
struct Workload
{
    const char* name;
    void (*prepare)(Contestant& contestant, const Data& data);
    Reading (*run)(Contestant& contestant, const Data& data);
    void (*check)(Contestant& contestant, const Data& data, const Reading& reading);
};

const std::vector<Workload>& workloads();
/// The workload with this name. Throws when there is none.
const Workload& workload(const std::string& name);

} // namespace bench

#endif
