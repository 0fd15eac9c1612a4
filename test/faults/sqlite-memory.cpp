// An allocator for SQLite whose allocations fail on demand.

#include <sqlite3.h>

#include "Injector.h"
#include "Sweep.h"

namespace
{

sqlite3_mem_methods real;

void* allocate(int size)
{
    return faults::injector.strikes() ? nullptr : real.xMalloc(size);
}

void* reallocate(void* memory, int size)
{
    return faults::injector.strikes() ? nullptr : real.xRealloc(memory, size);
}

} // namespace

int main(int argc, char** argv)
{
    sqlite3_config(SQLITE_CONFIG_GETMALLOC, &real);
    sqlite3_mem_methods faulty = real;
    faulty.xMalloc = allocate;
    faulty.xRealloc = reallocate;
    sqlite3_config(SQLITE_CONFIG_MALLOC, &faulty);
    sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0); // or small allocations would not be seen
    return faults::sweep(argc, argv, 23);
}
