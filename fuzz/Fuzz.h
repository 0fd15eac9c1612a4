// What the harnesses have in common.

#ifndef SQLW_FUZZ_H
#define SQLW_FUZZ_H

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "Sql.h"

namespace fuzz
{

/// What a harness does with an input.
void tryInput(FuzzedDataProvider& input);

/// What must hold for every input.
inline void require(bool holds, const char* what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

inline bool isBlank(char character)
{
    return std::isspace(static_cast<unsigned char>(character)) != 0;
}

/// The text as SQL sees it: up to its first NUL byte.
inline std::string upToNul(const std::string& text)
{
    return text.c_str();
}

} // namespace fuzz

#endif
