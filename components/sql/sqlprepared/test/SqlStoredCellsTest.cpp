// What `TableWriter` stores is what `Table` stores, and what `Statement` reads is what `Table`
// reads.

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "support/BothWays.h"
#include "support/Prepared.h"

using namespace sqltest;

namespace
{

/// How a cell of a record is set, and whether a number column takes it.
struct Kind
{
    std::string name;
    std::function<void(sql::Record&, int)> set;
    bool isNumber;
};

Kind number(const std::string& text)
{
    return {text, [text](sql::Record& record, int column) { record.setString(column, text); },
            true};
}

Kind number(double value)
{
    return {"double " + std::to_string(value),
            [value](sql::Record& record, int column) { record.setDouble(column, value); },
            std::isfinite(value)};
}

Kind integer(sql::integer value)
{
    return {"integer " + std::to_string(value),
            [value](sql::Record& record, int column) { record.setInteger(column, value); }, true};
}

Kind text(const std::string& value)
{
    Kind kind = number(value);
    kind.isNumber = false;
    return kind;
}

const double doubles[] = {0.0,
                          -0.0,
                          1.0,
                          -1.0,
                          0.5,
                          0.1,
                          1.0 / 3,
                          -2.0 / 3,
                          1e300,
                          -1e300,
                          5e-324,
                          1e-8,
                          4e-9,
                          6e-9,
                          1e15,
                          1e16,
                          123456789012345678.0,
                          999999999999.999,
                          9999999999999.999,
                          0.001,
                          0.0005,
                          61.499999999,
                          2147483648.0,
                          9223372036854775808.0,
                          1.7976931348623157e308};

const char* const numbersAsTexts[] = {"7",
                                      "7.0",
                                      "1e3",
                                      "1E3",
                                      "1e+3",
                                      "1e-3",
                                      "007",
                                      "+7",
                                      "-7",
                                      ".5",
                                      "5.",
                                      "-.5",
                                      "+5.",
                                      "0",
                                      "-0",
                                      "+0",
                                      "0.0",
                                      "-0.0",
                                      "00",
                                      "0e0",
                                      "1e400",
                                      "-1e400",
                                      "1e-400",
                                      "9223372036854775807",
                                      "9223372036854775808",
                                      "-9223372036854775808",
                                      "-9223372036854775809",
                                      "18446744073709551616",
                                      "999999999999999999",
                                      "9999999999999999999",
                                      "1234567890123456789012345678901234567890",
                                      "0.1234567890123456789",
                                      "123456789012.125",
                                      "1234567890123.125",
                                      "12.1250000000000000000",
                                      "12.1250000000000000001",
                                      "0.12345",
                                      "100.000",
                                      "100.0001",
                                      "1.5e2",
                                      "15e-1",
                                      "2.50e+00",
                                      "000000000000000000000007",
                                      "0000000000001.5",
                                      "9007199254740993",
                                      "9007199254740993.0"};

std::vector<Kind> kinds()
{
    std::vector<Kind> all = {
        {"null", [](sql::Record& record, int column) { record.setNull(column); }, true},
        {"true", [](sql::Record& record, int column) { record.setBool(column, true); }, true},
        {"false", [](sql::Record& record, int column) { record.setBool(column, false); }, true},
        {"time", [](sql::Record& record, int column) { record.setTime(column, sql::Time(1000)); },
         true},
        {"time before 1970",
         [](sql::Record& record, int column) { record.setTime(column, sql::Time(-7)); }, true},
        integer(0),
        integer(-1),
        integer(999999999999999999),
        integer(-1000000000000000000),
        integer(std::numeric_limits<sql::integer>::max()),
        integer(std::numeric_limits<sql::integer>::min())};
    for (double value : doubles)
        all.push_back(number(value));
    for (const char* digits : numbersAsTexts)
        all.push_back(number(std::string(digits)));
    return all;
}

std::vector<Kind> texts()
{
    std::vector<Kind> all;
    for (const char* words : {"abc", "", "'", "it's", "''", "\"", "1e", "nan", "a\nb", "%s", "\\",
                              "null", "x'00'", "\xff\xfe", "\xc3", "f\xc3\xbcr", " 7", "7 "})
        all.push_back(text(words));
    all.push_back(text(std::string(1000000, 'x')));
    all.push_back(text(std::string(100, '\'')));
    return all;
}

/// A database file with a table of its own kind of writing.
class Side
{
public:
    Side(const std::string& name, const std::vector<sql::Field>& columns)
        : table(connection.db, name, endedBy(columns).data())
    {
        connection.run("pragma synchronous = off; pragma journal_mode = memory");
        EXPECT_TRUE(table.create());
    }

    std::string rows() { return rowsOf(table); }

    const TemporaryFile file;
    Connection connection{file.path};
    sql::Table table;

private:
    static std::vector<sql::Field> endedBy(std::vector<sql::Field> columns)
    {
        columns.emplace_back();
        return columns;
    }
};

const std::vector<sql::Field> cellColumns = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("i", sql::type_int, 0),
    sql::Field("f", sql::type_float, 0),
    sql::Field("b", sql::type_bool, 0),
    sql::Field("t", sql::type_time, 0),
    sql::Field("s", sql::type_text, 0),
};

// One kind of cell in each type of column

class StoredCellsTest : public Test
{
protected:
    StoredCellsTest() { setTraceLevel(0); }

    void expectSameFile(const Kind& kind, int column)
    {
        sql::Record record(byTable.table.fields());
        record.setInteger(0, ++id);
        kind.set(record, column);
        EXPECT_TRUE(byTable.table.addRecord(record)) << kind.name;
        EXPECT_TRUE(writer.insert(record)) << kind.name << ": " << words(writer.error());
        EXPECT_EQ(id, writer.insertId());

        // Over a row of other cells.
        sql::Record other(byTable.table.fields());
        other.setInteger(0, ++id);
        EXPECT_TRUE(byTable.table.addRecord(other));
        EXPECT_TRUE(writer.insert(other));
        kind.set(other, column);
        EXPECT_TRUE(byTable.table.updateRecord(other));
        EXPECT_TRUE(id % 4 == 0 ? writer.update(other) : writer.upsert(other));
    }

    /// The same rows in both files, and as both read them.
    void expectSameRows()
    {
        EXPECT_EQ(byTable.rows(), byWriter.rows());
        EXPECT_TRUE(byTable.table.open("", "id"));
        sql::Statement reader;
        EXPECT_TRUE(reader.select(byWriter.table, "", "id"));
        sql::Record record(byWriter.table.fields());
        for (int i = 0; i < byTable.table.recordCount(); ++i) {
            ASSERT_TRUE(reader.next());
            EXPECT_TRUE(reader.read(record));
            EXPECT_EQ(byTable.table.getRecord(i)->dump(true), record.dump(true));
        }
        EXPECT_FALSE(reader.next());
        takeEvents();
    }

    sql::integer id = 0;
    Side byTable{"item", cellColumns};
    Side byWriter{"item", cellColumns};
    sql::TableWriter writer{byWriter.table};
};

TEST_F(StoredCellsTest, NumbersAreTheSameInNumberColumns)
{
    for (const Kind& kind : kinds())
        for (int column = 1; column <= 4; ++column)
            if (kind.isNumber)
                expectSameFile(kind, column);
    expectSameRows();
}

TEST_F(StoredCellsTest, EverythingIsTheSameInATextColumn)
{
    for (const Kind& kind : kinds())
        expectSameFile(kind, 5);
    for (const Kind& kind : texts())
        expectSameFile(kind, 5);
    expectSameRows();
}

TEST_F(StoredCellsTest, TimeCellsAreTheSameWhateverTextTheyHold)
{
    for (const Kind& kind : texts())
        expectSameFile(kind, 4);
    const auto timeCell = [](const char* digits) {
        return [digits](sql::Record& record, int column) {
            record.initColumnValue(column, digits, sql::type_time);
        };
    };
    for (int column = 1; column <= 5; ++column)
        for (const char* digits : {"1000", "abc", "", "7.9", "99999999999999999999"})
            expectSameFile({digits, timeCell(digits), true}, column);
    expectSameRows();
}

TEST_F(StoredCellsTest, KeysAreTheSameHoweverTheyAreWritten)
{
    for (const char* key : {"7", "8.0", "1e3", "009", "+11", "12.", "9223372036854775807",
                            "0000000000000000000000013"}) {
        sql::Record record(byTable.table.fields());
        record.setString(0, key);
        EXPECT_TRUE(byTable.table.addRecord(record)) << key;
        EXPECT_TRUE(writer.insert(record)) << key;
        record.setString(5, "updated");
        EXPECT_TRUE(byTable.table.updateRecord(record));
        EXPECT_TRUE(writer.update(record));
        EXPECT_EQ(1, writer.changes()) << key;
    }
    expectSameRows();
    sql::Record half(byTable.table.fields());
    half.setString(0, "7.5");
    EXPECT_FALSE(byTable.table.addRecord(half));
    EXPECT_FALSE(writer.insert(half));
}

// What `Table` runs as SQL, or fails to store.

TEST_F(StoredCellsTest, TextThatIsNoNumberIsRefusedInNumberColumns)
{
    for (const char* words :
         {"abc", "", "1e", "nan", "inf", "2+3", "true", "null", "0x1F", " 7", "'x'", "7)--"})
        for (int column = 0; column < 4; ++column) {
            sql::Record record(byTable.table.fields());
            record.setString(column, words);
            EXPECT_FALSE(writer.insert(record)) << words;
            EXPECT_EQ(20, writer.error().code());
        }
    EXPECT_EQ("", byWriter.rows());
}

TEST_F(StoredCellsTest, TextWithNulByteIsStoredAndReadWhole)
{
    const std::string nul("a\0b", 3);
    sql::Record record(byTable.table.fields());
    record.setInteger(0, 1);
    record.setString(5, nul);
    EXPECT_FALSE(byTable.table.addRecord(record));
    EXPECT_TRUE(writer.insert(record));
    sql::Record back(byWriter.table.fields());
    sql::Statement reader;
    EXPECT_TRUE(reader.selectByKey(byWriter.table));
    EXPECT_TRUE(reader.find(1, back));
    EXPECT_EQ(nul, back.getValue(5)->asString());
}

// Random writes

class RandomChoices : public Choices
{
public:
    unsigned bits() override { return static_cast<unsigned>(_random()); }
    unsigned below(unsigned limit) override { return bits() % limit; }
    std::string text() override
    {
        const char* const parts[] = {"'", "a",    "\"", "null", "7",
                                     " ", "\xff", "--", ";",    "\xc3\xa9"};
        std::string result;
        for (unsigned left = below(12); left > 0; --left)
            result += parts[below(10)];
        return result;
    }

private:
    std::mt19937 _random{1};
};

class RandomWritesTest : public Test, public ::testing::WithParamInterface<sql::field_type>
{
};

TEST_P(RandomWritesTest, GiveTheSameFile)
{
    setTraceLevel(0);
    RandomChoices choices;
    BothWays ways(GetParam());
    for (int round = 0; round < 100 && !HasFailure(); ++round) {
        for (int i = 0; i < 500; ++i)
            ASSERT_EQ("", ways.write(choices));
        EXPECT_EQ("", ways.difference());
        ways.clear();
        takeEvents();
    }
    EXPECT_LT(15000, ways.accepted()) << "most are to be written";
    RecordProperty("accepted", ways.accepted());
}

INSTANTIATE_TEST_SUITE_P(IntegerAndTextKeys, RandomWritesTest,
                         ::testing::Values(sql::type_int, sql::type_text));

// Numbers as texts

TEST(StoredDoublesTest, AreReadWithTheTextOfSqlite)
{
    Connection memory(":memory:");
    sql::Statement reader;
    EXPECT_TRUE(reader.prepare(memory.db, "select ?1, cast(?1 as text)"));
    const sql::FieldSet fields(
        {sql::Field("number", sql::type_float, 0), sql::Field("text", sql::type_text, 0)});
    sql::Record record(fields);
    const auto expectTextOf = [&](double number) {
        EXPECT_TRUE(reader.bindDouble(1, number));
        ASSERT_TRUE(reader.next());
        EXPECT_TRUE(reader.read(record));
        ASSERT_EQ(record.getValue(1)->asString(), record.getValue(0)->asString()) << number;
    };
    for (double number : {0.0,        -0.0,           1.0,       -1.0,
                          1e-4,       9.7658e-4,      9.9999e-4, 1e-3,
                          1.00001e-3, 99999.99999999, 1e5,       9999999.99999999,
                          1e7,        1e15,           1e16,      1e-5,
                          5e-324,     1e300,          0.1,       0.30000000000000004,
                          1.0 / 3})
        expectTextOf(number);
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        double scale = 1;
        for (unsigned zeros = static_cast<unsigned>(random() % 10); zeros > 0; --zeros)
            scale *= 10;
        const double digits = static_cast<double>(random()) - 2147483648.0;
        expectTextOf(digits / scale);
        expectTextOf(digits * scale);
        expectTextOf(std::ldexp(digits, static_cast<int>(random() % 80) - 60));
        expectTextOf(std::nextafter(digits / scale, 0));
    }
}

} // namespace
