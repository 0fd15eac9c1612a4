// Whether the rows held by a table and by a record set are still there.

#ifndef SQLW_DOCS_LIFETIMES_H
#define SQLW_DOCS_LIFETIMES_H

#include <sanitizer/asan_interface.h>

#include "snippets.h"

// Rows that ended have given their cells back; other rows may have taken the place of the `Record`.
class Cells
{
public:
    Cells(sql::Table& table, sql::RecordSet& set)
        : _ofTable(table.getRecord(0)->getValue(0)), _ofSet(set.getRecord(0)->getValue(0))
    {}

    Word fate() const { return Word{isGone(_ofTable) || isGone(_ofSet) ? "ends" : "stays"}; }

private:
    static bool isGone(const void* memory) { return __asan_address_is_poisoned(memory) != 0; }

    const sql::Value* _ofTable;
    const sql::Value* _ofSet;
};

#endif
