#include "Companion.h"

namespace sql
{

const Field* onlyKey(const FieldSet& fields)
{
    const Field* key = nullptr;
    for (int i = 0; i < fields.count(); ++i) {
        const Field* const field = fields.getByIndex(i);
        if (!field->isPrimaryKey())
            continue;
        if (key)
            return nullptr;
        key = field;
    }
    return key;
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
