#include "SqlValue.h"

#include <gtest/gtest.h>

#include "support/World.h"

using namespace sqltest;

namespace
{

const Source source("SqlValue");

} // namespace
