#include "Companion.h"

#include <cstring>

namespace sql
{

int countKeys(const FieldSet& fields)
{
    int keys = 0;
    for (int i = 0; i < fields.count(); ++i)
        if (fields.getByIndex(i)->isPrimaryKey())
            ++keys;
    return keys;
}

const char* addPlainPart(string& text, const char* pattern)
{
    const size_t size = std::strcspn(pattern, "%");
    text.append(pattern, size);
    return pattern[size] == '%' ? pattern + size + 1 : pattern + size;
}

int positionOf(const FieldSet& fields, const string& name)
{
    const Field* const field = fields.getByName(name);
    for (int i = 0; i < fields.count(); ++i)
        if (fields.getByIndex(i) == field)
            return i;
    return -1;
}

} // namespace sql
