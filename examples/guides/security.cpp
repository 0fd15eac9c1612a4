// Security: texts from outside, permissions, what is left of deleted rows, and files from
// strangers.

#include <cstdio>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <iterator>
#include <string>

#include <sqlite3.h>
#include <sys/stat.h>

#include <Sql.h>

const sql::Field userColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                  sql::Field("name", sql::type_text, 0), sql::Field()};

bool open(sql::Database& database, const std::string& file)
{
    return database.open(file, sql::Database::read_write_create, false, 100);
}

bool run(sql::Database& database, const std::string& statement)
{
    return sql::RecordSet(database.getHandle()).query(statement);
}

void removeFile(const std::string& file)
{
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        std::remove((file + suffix).c_str());
}

void show(const char* what, const std::string& result)
{
    std::cout << what << ": " << result << "\n";
}

void show(const char* what, bool result)
{
    show(what, std::string(result ? "yes" : "no"));
}

// Texts from outside

void askByText(sql::Table& users)
{
    const std::string name = "x'; delete from user; --"; // typed in by a stranger
    users.open("name = '" + sql::quoteStr(name) + "'");
    show("rows, after a quoted text", std::to_string(users.totalRecordCount()));
    users.open("name = '" + name + "'");
    show("rows, after one without quotes", std::to_string(users.totalRecordCount()));
}

// Permissions

std::string permissions(const std::string& file)
{
    struct stat status = {};
    char text[8] = "none";
    if (stat(file.c_str(), &status) == 0)
        std::snprintf(text, sizeof text, "%03o", static_cast<unsigned>(status.st_mode & 0777));
    return text;
}

void makePrivate(const std::string& file)
{
    removeFile(file);
    const mode_t former = umask(077); // nobody else may read what is made from here on
    sql::Database database;
    const bool done = open(database, file) && run(database, "create table t (a)");
    umask(former);
    show("made under umask 077", done ? permissions(file) : "failed");
    run(database, "begin; insert into t values (1)");
    show("its journal", permissions(file + "-journal"));
}

// Deleted rows

bool has(const std::string& file, const std::string& text)
{
    std::ifstream input(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(input)), {});
    return bytes.find(text) != std::string::npos;
}

void forget(const std::string& setting)
{
    removeFile("secret.db");
    sql::Database database;
    if (!open(database, "secret.db") || !run(database, setting) ||
        !run(database, "create table t (a); insert into t values ('PIN 4711'); delete from t"))
        return;
    show((setting + ", in the file").c_str(), has("secret.db", "4711"));
    if (setting.find("WAL") == std::string::npos)
        return;
    show("in its log", has("secret.db-wal", "4711"));
    run(database, "PRAGMA wal_checkpoint(TRUNCATE)");
    show("after a checkpoint that cuts it", has("secret.db-wal", "4711"));
}

// Files from strangers

bool makeStrange(const std::string& file, const std::string& contents)
{
    removeFile(file);
    sql::Database database;
    return open(database, file) && run(database, contents);
}

bool isSound(sql::Database& database)
{
    const sql::Field columns[] = {sql::Field("result", sql::type_text, sql::flag_primary_key),
                                  sql::Field()};
    sql::RecordSet check(database.getHandle(), columns);
    return check.query("PRAGMA quick_check") && check.count() == 1 &&
           check.getTopRecordFirstValue()->asString() == "ok";
}

// Opens a file that somebody else made, to read it.
bool openStrange(sql::Database& database, const std::string& file)
{
    if (!database.open(file, sql::Database::read_only, false, 1000))
        return false;
    sqlite3_limit(database.getHandle(), SQLITE_LIMIT_LENGTH, 1000000); // of a text, a row
    sqlite3_limit(database.getHandle(), SQLITE_LIMIT_SQL_LENGTH, 100000);
    return run(database, "PRAGMA trusted_schema = OFF; PRAGMA cell_size_check = ON;"
                         "PRAGMA query_only = ON; PRAGMA mmap_size = 0") &&
           isSound(database);
}

void readStrange(const char* what, const std::string& file)
{
    sql::Database database;
    if (!openStrange(database, file))
        return show(what, std::string("refused"));
    sql::Table users(database.getHandle(), "user", userColumns);
    if (!users.exists())
        return show(what, std::string("has no such table"));
    show(what, users.open() ? std::to_string(users.recordCount()) + " rows" : "not read");
}

void damage(const std::string& file)
{
    std::fstream bytes(file, std::ios::in | std::ios::out | std::ios::binary);
    bytes.seekp(4096 + 3); // the number of cells of the second page, which is the table's
    bytes.put('\x7f');
}

void meetStrangers()
{
    const std::string table = "create table user (id INTEGER PRIMARY KEY, name TEXT);"
                              "insert into user values (1, 'Ada');";
    makeStrange("friend.db", table);
    makeStrange("damaged.db", table);
    damage("damaged.db");
    makeStrange("view.db", "create view user as with recursive n(i) as (select 1 union all "
                           "select i + 1 from n) select i, 'x' from n");
    makeStrange("large.db", table + "insert into user values (2, hex(zeroblob(2000000)))");
    makeStrange("trigger.db", table + "create trigger t after insert on user "
                                      "begin delete from user; end");
    readStrange("a friend's file", "friend.db");
    readStrange("a damaged file", "damaged.db");
    readStrange("a view without an end", "view.db");
    readStrange("a text of 4 MB", "large.db");

    sql::Database database;
    sql::Table users("user");
    if (!open(database, "trigger.db") || !users.initTable(database.getHandle(), userColumns))
        return;
    show("a row is added", users.addRecord(sql::Record(users.fields())));
    show("rows, after the file's own trigger", std::to_string(users.totalRecordCount()));
}

int main()
{
    sql::Database database;
    removeFile("users.db");
    if (!open(database, "users.db"))
        return 1;
    sql::Table users(database.getHandle(), "user", userColumns);
    if (!users.create() || !users.addRecord(sql::Record(users.fields())))
        return 1;
    askByText(users);
    makePrivate("private.db");
    forget("PRAGMA secure_delete = OFF");
    forget("PRAGMA secure_delete = ON");
    forget("PRAGMA journal_mode = WAL; PRAGMA secure_delete = ON");
    meetStrangers();
    return 0;
}
