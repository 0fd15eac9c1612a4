#include "SqlTableCheck.h"

#include "Companion.h"

namespace sql
{

std::vector<Finding> checkDescription(const string& /*table*/, const FieldSet& /*fields*/)
{
    return {};
}

std::vector<Finding> checkTable(Table& table)
{
    return checkDescription(table.name(), table.fields());
}

} // namespace sql
