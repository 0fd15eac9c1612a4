// What functions need that take the place of SQLite's in a program, and call those.

#ifndef SQLW_TEST_INTERPOSED_H
#define SQLW_TEST_INTERPOSED_H

#include <dlfcn.h>

namespace platform
{

/// Counts into how many functions of a kind the program has gone: SQLite calls its own as well.
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

/// The function itself, whose place in the program another has taken.
template <typename Function> Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace platform

#define SQLW_REAL(function) platform::real(&function, #function)

#endif
