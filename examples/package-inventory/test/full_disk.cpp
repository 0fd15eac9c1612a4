// The disk under the program: it has room for as many bytes as SQLW_TEST_ROOM says. Then it is full
// for one write, and has room again: SQLite gives some back when it rolls back. What goes to
// standard output and standard error takes no room.

#include <cerrno>
#include <cstdlib>

#include <dlfcn.h>
#include <unistd.h>

static bool hasRoom(int file, std::size_t size)
{
    static const char* const text = std::getenv("SQLW_TEST_ROOM");
    static std::size_t room = text ? std::strtoul(text, nullptr, 10) : 0;
    static bool wasFull = false;
    if (file <= STDERR_FILENO || wasFull)
        return true;
    if (size > room) {
        wasFull = true;
        errno = ENOSPC;
        return false;
    }
    room -= size;
    return true;
}

template <typename Function> static Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// SQLite writes by the first of these or by one of the others, as it was built.

extern "C" ssize_t write(int file, const void* data, std::size_t size)
{
    return hasRoom(file, size) ? real(&write, "write")(file, data, size) : -1;
}

extern "C" ssize_t pwrite(int file, const void* data, std::size_t size, off_t offset)
{
    return hasRoom(file, size) ? real(&pwrite, "pwrite")(file, data, size, offset) : -1;
}

extern "C" ssize_t pwrite64(int file, const void* data, std::size_t size, off64_t offset)
{
    return hasRoom(file, size) ? real(&pwrite64, "pwrite64")(file, data, size, offset) : -1;
}
