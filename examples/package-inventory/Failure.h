/// @file
/// How the program gives up.

#ifndef SQLW_EXAMPLE_FAILURE_H
#define SQLW_EXAMPLE_FAILURE_H

#include <stdexcept>

namespace inventory
{

/// What went wrong and what to do about it, as one line for the user. The library reports failures
/// by results; this program turns them into this exception, for all it can do is to stop.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

} // namespace inventory

#endif
