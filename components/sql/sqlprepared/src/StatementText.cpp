#include "StatementText.h"

#include <cstdio>

namespace sql
{

// What is written, of which columns.
enum : unsigned { ofKeys = 1, ofOthers = 2, names = 4, parameters = 8 };
static const unsigned ofAll = ofKeys | ofOthers;
static const unsigned pairs = names | parameters;

static bool addColumns(string& sql, const FieldSet& fields, unsigned what, const char* separator)
{
    bool hasAdded = false;
    for (int i = 0; i < fields.count(); ++i) {
        const Field& field = *fields.getByIndex(i);
        if (!(what & (field.isPrimaryKey() ? ofKeys : ofOthers)))
            continue;
        if (hasAdded)
            sql += separator;
        if (what & names)
            sql += field.getName();
        if ((what & pairs) == pairs)
            sql += "=";
        if (what & parameters) {
            char parameter[12];
            std::snprintf(parameter, sizeof(parameter), "?%d", i + 1);
            sql += parameter;
        }
        hasAdded = true;
    }
    return hasAdded;
}

void addStatement(string& sql, const char* pattern, const Table& table)
{
    const FieldSet& fields = table.fields();
    for (pattern = addPlainPart(sql, pattern); *pattern != '\0';
         pattern = addPlainPart(sql, pattern + 1)) {
        switch (*pattern) {
            case 't':
                sql += table.name();
                break;
            case 'n':
                addColumns(sql, fields, ofAll | names, ", ");
                break;
            case 'p':
                addColumns(sql, fields, ofAll | parameters, ", ");
                break;
            case 'a':
                if (!addColumns(sql, fields, ofOthers | pairs, ", "))
                    addColumns(sql, fields, ofKeys | pairs, ", ");
                break;
            case 'k':
                addColumns(sql, fields, ofKeys | names, ",");
                break;
            case 'c':
                addColumns(sql, fields, ofKeys | pairs, " and ");
                break;
        }
    }
}

} // namespace sql
