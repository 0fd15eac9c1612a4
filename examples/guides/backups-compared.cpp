// Backups compared: copies one database in six ways, and looks at what each copy has.

#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>

#include <Sql.h>
#include <SqlPrepared.h>

const sql::Field routeColumns[] = {sql::Field("id", sql::type_int, sql::flag_primary_key),
                                   sql::Field("name", sql::type_text, 0),
                                   sql::Field("km", sql::type_float, 0), sql::Field()};

bool run(sql::Database& database, const std::string& statement)
{
    return sql::RecordSet(database.getHandle()).query(statement);
}

// Unlike yours, these files need not survive a power cut, and the program need not wait for the
// disk.
bool open(sql::Database& database, const std::string& file)
{
    return database.open(file, sql::Database::read_write_create, false, 100) &&
           run(database, "PRAGMA synchronous = OFF");
}

// The ways

bool byTableBackup(sql::Database& source, const std::string& file)
{
    sql::Database copy;
    if (!open(copy, file))
        return false;
    sql::Table from(source.getHandle(), "route", routeColumns);
    sql::Table to(copy.getHandle(), "route", routeColumns);
    return to.backup(from) && to.totalRecordCount() >= 0; // two failed counts are equal
}

bool byCopyRecords(sql::Database& source, const std::string& file)
{
    sql::Database copy;
    sql::Table from(source.getHandle(), "route", routeColumns);
    if (!open(copy, file) || !from.open())
        return false;
    sql::Table to(copy.getHandle(), "route", routeColumns);
    return to.create() && to.copyRecords(from);
}

bool bySql(sql::Database& source, const std::string& file)
{
    if (!run(source, "attach '" + sql::quoteStr(file) + "' as copy"))
        return false;
    const sql::FieldSet columns(routeColumns);
    const std::string create =
        "create table if not exists copy.route (" + columns.getDefinition() + ")";
    const bool done =
        run(source, create) && run(source, "insert into copy.route select * from main.route");
    return run(source, "detach copy") && done;
}

bool byVacuumInto(sql::Database& source, const std::string& file)
{
    return run(source, "vacuum into '" + sql::quoteStr(file) + "'");
}

bool byBackup(sql::Database& source, const std::string& file)
{
    sql::Database copy;
    if (!open(copy, file))
        return false;
    sql::Backup backup(copy.getHandle(), source.getHandle());
    while (backup.step(-1) && !backup.isBusy())
        ;
    return backup.isDone();
}

bool byFileCopy(sql::Database&, const std::string& file)
{
    return std::system(("cp source.db " + file).c_str()) == 0;
}

struct Way
{
    const char* name;
    bool (*copy)(sql::Database& source, const std::string& file);
};
const Way ways[] = {
    {"backup", byTableBackup},     {"copyRecords", byCopyRecords}, {"SQL", bySql},
    {"VACUUM INTO", byVacuumInto}, {"Backup", byBackup},           {"cp", byFileCopy}};

// The source and the copies

void removeFile(const std::string& file)
{
    for (const char* suffix : {"", "-journal", "-wal", "-shm"})
        std::remove((file + suffix).c_str());
}

// Rows that texts cannot carry, free pages, and a last row that is still in the write-ahead log.
bool makeSource(sql::Database& source)
{
    removeFile("source.db");
    return open(source, "source.db") && run(source, "PRAGMA journal_mode = WAL") &&
           sql::Table(source.getHandle(), "route", routeColumns).create() &&
           run(source, "create table note (text); insert into note values (hex(zeroblob(50000)));"
                       "create index route_name on route (name);"
                       "create trigger route_new after insert on route begin select 1; end;"
                       "insert into route values (1, 'North', 100 / 3.0), (2, x'41004200', 1);"
                       "update note set text = 'short'; PRAGMA user_version = 5;"
                       "PRAGMA wal_checkpoint; insert into route values (3, 'South', 2)");
}

// 1 for yes; anything else, as for a table that is not there, is no.
int ask(const std::string& question)
{
    sql::Database copy;
    return open(copy, "copy.db") ? sql::queryNumber(copy.getHandle(), question) : -1;
}

// The questions

struct Question
{
    const char* text;
    const char* begin; // a statement that the copying connection runs first
    const char* own;   // what the destination holds first
    const char* query; // is 1 for yes
};

const Question questions[] = {
    {"all committed rows", "", "", "select count(*) = 3 from route"},
    {"every digit", "", "", "select km = 100 / 3.0 from route where id = 1"},
    {"blobs, NUL bytes", "", "", "select name = x'41004200' from route where id = 2"},
    {"other tables", "", "", "select text = 'short' from note"},
    {"indexes, triggers", "", "",
     "select count(*) = 2 from sqlite_master where type in ('index', 'trigger')"},
    {"version stamp", "", "", "select user_version = 5 from pragma_user_version"},
    {"without free pages", "", "", "select freelist_count = 0 from pragma_freelist_count"},
    {"adds to rows in the copy", "",
     "create table route (id INTEGER PRIMARY KEY, name TEXT, km REAL);"
     "insert into route values (9, 'West', 0)",
     "select count(*) = 4 from route"},
    {"keeps other tables of the copy", "", "create table own (id)",
     "select count(*) = 2 from sqlite_master where name in ('own', 'route')"},
    {"within a transaction", "begin", "", "select count(*) between 2 and 3 from route"},
};

bool isTrue(const Question& question, const Way& way)
{
    sql::Database source, copy;
    removeFile("copy.db");
    if (!makeSource(source))
        std::exit(1);
    if (*question.own && (!open(copy, "copy.db") || !run(copy, question.own)))
        std::exit(1);
    copy.close();
    if (!run(source, question.begin))
        std::exit(1);
    return way.copy(source, "copy.db") && ask(question.query) == 1;
}

int main()
{
    std::printf("%-31s", "");
    for (const Way& way : ways)
        std::printf(" %11s", way.name);
    for (const Question& question : questions) {
        std::printf("\n%-31s", question.text);
        for (const Way& way : ways)
            std::printf(" %11s", isTrue(question, way) ? "yes" : "-");
    }
    std::printf("\n");
    return 0;
}
