// What tests of the companion share: databases in files, and what fails in the log.

#ifndef SQLW_TEST_PREPARED_H
#define SQLW_TEST_PREPARED_H

#include <cstring>
#include <new>
#include <string>

#include "../../../sqlwrapper/test/support/Statements.h"
#include "../../../sqlwrapper/test/support/World.h"
#include "SqlPrepared.h"

namespace sqltest
{

/// What a source file of the companion writes.
inline Source companionSource(const char* stem)
{
    return Source(stem, "components/sql/sqlprepared/src/");
}

/// The DEBUG2 line of a statement that is compiled.
inline std::string prepared(const std::string& sql)
{
    return companionSource("SqlStatement").debug2("compile", "stmt='%s'", sql.c_str());
}

/// The lines of a statement that fails.
inline std::string failed(const std::string& sql, const Refusal& refusal)
{
    const Source source = companionSource("SqlStatement");
    return together({
        source.error("logFailure", "Failed to run the SQL stmt '%s'", sql.c_str()),
        source.error("logFailure", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
    });
}

/// The report of a null connection.
inline std::string notPrepared()
{
    return companionSource("SqlStatement")
        .asserted("db", "bool sql::Statement::prepare(sqlite3*, const string&)");
}

/// The code and the words of an error, such as "5: database is locked"; "none".
inline std::string words(const sql::Error& error)
{
    if (!error)
        return error.text().empty() ? "none" : "none, and yet " + error.text();
    return std::to_string(error.extendedCode()) + ": " + error.text();
}

/// An object in memory that held ones: a member that is left without a value shows.
template <typename Class> class Fresh
{
public:
    template <typename... Args> explicit Fresh(Args&&... args)
    {
        std::memset(_memory, 1, sizeof(_memory));
        _object = new (_memory) Class(args...);
    }
    ~Fresh() { _object->~Class(); }
    Fresh(const Fresh&) = delete;
    Fresh& operator=(const Fresh&) = delete;

    Class* operator->() const { return _object; }
    Class& operator*() const { return *_object; }

private:
    alignas(Class) unsigned char _memory[sizeof(Class)];
    Class* _object;
};

/// A test with a database file and two connections to it, which do not wait for each other.
class FileTest : public Test
{
protected:
    FileTest() { setTraceLevel(3); }

    const TemporaryFile file;
    Connection mine{file.path};
    Connection other{file.path};
};

} // namespace sqltest

#endif
