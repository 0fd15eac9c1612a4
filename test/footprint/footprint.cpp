// Measures what the library takes at run time, for a table of five columns, one of each type: the
// heap of each row that is held, and the stack of the call that goes deepest. Prints a line
// "name value" for each figure. Run it with LD_BIND_NOW=1: the dynamic linker otherwise looks up
// each function at its first call, on that call's stack.

#include <algorithm>
#include <cfloat>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <unordered_map>
#include <utility>
#include <vector>

#include <malloc.h>
#include <sqlite3.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include "platform/Platform.h"
#include "Sql.h"

// The heap: every block of C++ that is in use, and how much of it was asked for.

static std::unordered_map<void*, std::size_t>* blocks = nullptr; // null while nothing is counted

void* operator new(std::size_t size)
{
    void* memory = std::malloc(size);
    if (!memory)
        throw std::bad_alloc();
    if (auto* counted = blocks) {
        blocks = nullptr; // for the map's own blocks
        (*counted)[memory] = size;
        blocks = counted;
    }
    return memory;
}

static void release(void* memory)
{
    if (auto* counted = blocks) {
        blocks = nullptr;
        counted->erase(memory);
        blocks = counted;
    }
    std::free(memory);
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t) noexcept
{
    release(memory);
}

namespace
{

const sql::Field itemFields[] = {
    sql::Field("id", sql::type_int, sql::flag_primary_key),
    sql::Field("name", sql::type_text, sql::flag_not_null),
    sql::Field("price", sql::type_float, 0),
    sql::Field("active", sql::type_bool, 0),
    sql::Field("created", sql::type_time, 0),
    sql::Field(),
};

const int rows = 10000;

// 8 to 40 bytes: some stand inside a string, some do not.
std::string nameOf(int id)
{
    return std::string(static_cast<std::size_t>(8 + id % 33), 'n');
}

sql::Record item(const sql::Table& table, int id)
{
    sql::Record record(table.fields());
    record.setInteger("id", id);
    record.setString("name", nameOf(id));
    record.setDouble("price", id / 8.0);
    record.setBool("active", id % 2 == 0);
    record.setTime("created", sql::Time(1600000000 + id));
    return record;
}

void fill(sql::Database& database, sql::Table& table)
{
    platform::setTraceLevel(0);
    database.transactionBegin();
    table.create();
    for (int id = 1; id <= rows; ++id)
        table.addRecord(item(table, id));
    database.transactionCommit();
    platform::setTraceLevel(9);
}

double perRow(std::size_t bytes)
{
    return static_cast<double>(bytes) / rows;
}

void measureHeap()
{
    sql::Database database;
    database.open(":memory:", sql::Database::read_write_create, false, 0);
    sql::Table table(database.getHandle(), "item", itemFields);
    fill(database, table);

    platform::setTraceLevel(0);
    std::unordered_map<void*, std::size_t> held;
    blocks = &held;
    table.open();
    blocks = nullptr;
    if (table.recordCount() != rows)
        std::abort();

    std::size_t asked = 0;
    std::size_t taken = 0;
    for (const auto& block : held) {
        asked += block.second;
        taken += malloc_usable_size(block.first) + sizeof(std::size_t); // and its header
    }
    std::size_t longTexts = 0;
    for (int id = 1; id <= rows; ++id)
        if (nameOf(id).size() > std::string().capacity())
            longTexts += nameOf(id).size() + 1;
    const std::size_t cells = 5 * sizeof(sql::Value) + sizeof(sql::Record);
    std::printf("heap_per_row %.1f\n", perRow(taken));
    std::printf("heap_bar %.1f\n", static_cast<double>(cells) + perRow(longTexts + taken - asked));
}

// The stack: a call runs on one that was filled with a pattern, and what it overwrote was used.

const std::size_t stackSize = 1 << 20;
const unsigned char pattern = 0xA5;

ucontext_t caller;
std::function<void()> work;
unsigned char* entry = nullptr;

void runWork()
{
    entry = static_cast<unsigned char*>(__builtin_frame_address(0));
    work();
}

std::size_t stackOf(const std::function<void()>& call)
{
    static unsigned char* const stack = static_cast<unsigned char*>(
        mmap(nullptr, stackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    std::fill(stack, stack + stackSize, pattern);
    work = call;
    ucontext_t context;
    getcontext(&context);
    context.uc_stack.ss_sp = stack;
    context.uc_stack.ss_size = stackSize;
    context.uc_link = &caller;
    makecontext(&context, runWork, 0);
    swapcontext(&caller, &context);
    const unsigned char* deepest =
        std::find_if(stack, stack + stackSize, [](unsigned char byte) { return byte != pattern; });
    return static_cast<std::size_t>(entry - deepest);
}

struct Call
{
    const char* name;
    std::function<void()> run;
};

// The stack of the call that goes deepest, and its name.
std::pair<std::size_t, const char*> deepestOf(const std::vector<Call>& calls)
{
    std::pair<std::size_t, const char*> deepest = {0, nullptr};
    for (const Call& call : calls)
        deepest = std::max(deepest, {stackOf(call.run), call.name},
                           [](const auto& a, const auto& b) { return a.first < b.first; });
    return deepest;
}

void measureStack(const std::string& path)
{
    sql::Database database;
    sql::Table table("item");
    sql::Table copy("copy");
    bool read = false;
    bool copied = false;
    const auto deepest = deepestOf({
        {"Database::open",
         [&] { database.open(path, sql::Database::read_write_create, false, 0); }},
        {"Database::setUserVersion", [&] { database.setUserVersion(1); }},
        {"Table::initTable", [&] { table.initTable(database.getHandle(), itemFields); }},
        {"Table::create", [&] { table.create(); }},
        {"Table::addRecord", [&] { table.addRecord(item(table, 1)); }},
        {"Table::addOrUpdateRecord", [&] { table.addOrUpdateRecord(1, item(table, 1)); }},
        {"Table::open", [&] { read = table.open("id > 0", "name") && table.recordCount() == 1; }},
        {"Table::getRecordByKeyId", [&] { table.getRecordByKeyId(1); }},
        {"Table::query", [&] { table.query("nonsense"); }},
        {"Table::backup",
         [&] {
             copy.initTable(database.getHandle(), itemFields);
             copied = copy.backup(table);
         }},
        {"Table::deleteRecord", [&] { table.deleteRecord(1); }},
        {"Table::truncate", [&] { table.truncate(); }},
        {"Table::remove", [&] { table.remove(); }},
        {"Value::setDouble", [] { sql::Value(sql::type_float).setDouble(DBL_MAX); }},
        {"Database::close", [&] { database.close(); }},
    });
    if (!read || !copied)
        std::abort();
    std::printf("stack %zu\nstack_call %s\n", deepest.first, deepest.second);
}

void measureStackOfSqlite(const std::string& path)
{
    sql::Database database;
    database.open(path, sql::Database::read_write_create, false, 0);
    std::vector<Call> calls;
    for (const char* sql :
         {"CREATE TABLE item (id INTEGER PRIMARY KEY, name TEXT NOT NULL)",
          "insert into item (id, name) values (1, 'n')", "update item set name='m' where id = 1",
          "select * from item where id > 0 order by name", "delete from item where id = 1",
          "drop table item"})
        calls.push_back({sql, [&database, sql] {
                             sqlite3_exec(database.getHandle(), sql, nullptr, nullptr, nullptr);
                         }});
    std::printf("stack_sqlite %zu\n", deepestOf(calls).first);
}

} // namespace

int main()
{
    char path[] = "/tmp/footprint-XXXXXX";
    const int file = mkstemp(path);
    if (file < 0) {
        std::perror(path);
        return 1;
    }
    close(file);
    platform::setTraceLevel(9); // every line of the log is written, as that takes the most
    measureStack(path);
    measureStackOfSqlite(path);
    unlink(path);
    measureHeap();
    return 0;
}
