// An operator new that throws when it is told to.

#include <cstdlib>
#include <new>

#include "Injector.h"
#include "Sweep.h"

void* operator new(std::size_t size)
{
    if (faults::injector.strikes())
        throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    std::free(memory);
}

int main(int argc, char** argv)
{
    return faults::sweep(argc, argv, 1);
}
