// What a function needs to replace one of SQLite's in a program, and to call the original.

#ifndef SQLW_TEST_INTERPOSED_H
#define SQLW_TEST_INTERPOSED_H

#include <dlfcn.h>

namespace platform
{

/// Counts the functions of a kind that the program is in: SQLite calls its own as well.
class Within
{
public:
    explicit Within(int& depth) : _depth(depth) { ++_depth; }
    ~Within() { --_depth; }
    Within(const Within&) = delete;
    Within& operator=(const Within&) = delete;

private:
    int& _depth;
};

/// The original function, which another one replaces in the program.
template <typename Function> Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace platform

#define SQLW_REAL(function) platform::real(&function, #function)

#endif
