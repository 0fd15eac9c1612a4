// An operator new that throws on demand, and a watch over what the library hands to
// SQLite: an exception that left its callback would end the program.

#include <cstdlib>
#include <new>

#include <sqlite3.h>

#include "Injector.h"
#include "platform/Interposed.h"
#include "Sweep.h"

void* operator new(std::size_t size)
{
    if (faults::injector.strikes())
        throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

// Sanitizers have their own, which would bypass the one above.
void* operator new[](std::size_t size)
{
    return operator new(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept
{
    std::free(memory);
}

namespace
{

using Callback = int (*)(void*, int, char**, char**);

struct Call
{
    Callback callback;
    void* param;
};

int withoutExceptions(void* call, int count, char** cells, char** names) noexcept
{
    const Call& made = *static_cast<Call*>(call);
    return made.callback(made.param, count, cells, names);
}

} // namespace

extern "C" int sqlite3_exec(sqlite3* db, const char* sql, Callback callback, void* param,
                            char** error)
{
    static const auto real = SQLW_REAL(sqlite3_exec);
    Call call = {callback, param};
    return real(db, sql, callback ? withoutExceptions : nullptr, &call, error);
}

int main(int argc, char** argv)
{
    return faults::sweep(argc, argv, 1);
}
