// Descriptions of tables, good and bad.

#include "Fuzz.h"

void fuzz::tryInput(FuzzedDataProvider& input)
{
    std::vector<sql::Field> fields;
    while (input.remaining_bytes() > 0 && fields.size() < 20)
        fields.emplace_back(input.ConsumeRandomLengthString(12),
                            static_cast<sql::field_type>(input.ConsumeIntegralInRange(-1, 5)),
                            input.ConsumeIntegral<int>());
    fields.emplace_back();

    bool wrongKey = false;
    bool key = false;
    int described = 0;
    for (const sql::Field& field : fields) {
        if (field.isEndingField() || wrongKey)
            break;
        ++described;
        key = key || field.isPrimaryKey();
        wrongKey = field.isPrimaryKey() && field.getType() != sql::type_int &&
                   field.getType() != sql::type_text;
    }

    sql::FieldSet set(nullptr);
    require(set.initFieldSet(fields.data()) == (key && !wrongKey), "valid or not");
    require(set.count() == (wrongKey ? 0 : described), "kept, or emptied");
    for (int i = 0; i < set.count(); ++i) {
        require(set.getByIndex(i)->getIndex() == i, "numbered");
        const sql::Field* found = set.getByName(set.getByIndex(i)->getName());
        require(found && found->getIndex() <= i, "found by name");
        found->dump();
    }
    set.getDefinition();
    set.toSql();
    set.dump();
    set.getKeyIdName();
    const sql::FieldSet vectorMade(fields);
    require(vectorMade.count() == static_cast<int>(fields.size()), "a vector is taken as it is");
}
