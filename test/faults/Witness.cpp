#include "Witness.h"

#include <new>

#include <sqlite3.h>

#include "Injector.h"
#include "Reports.h"

namespace faults
{

Injector injector;

bool Witness::operation(const char* name, const std::function<bool()>& run, const Effects& effects)
{
    const Reports before = reports;
    bool succeeded = false;
    bool threw = false;
    injector.resume();
    try {
        succeeded = run();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    injector.pause();

    if (threw)
        ++_outOfMemory;
    else
        expect(succeeded || reports.errors != before.errors ||
                   reports.assertions != before.assertions,
               std::string(name) + " returned false and reported nothing");
    settle(effects, succeeded);
    return succeeded;
}

void Witness::settle(const Effects& effects, bool succeeded)
{
    Effects& owed = _inTransaction ? _pending : _due;
    for (const auto& effect : effects) {
        if (succeeded) {
            owed[effect.first] = effect.second;
        } else {
            owed.erase(effect.first);
            _due.erase(effect.first); // the file may hold what was there before, or what is new
        }
    }
}

bool Witness::begin(const std::function<bool()>& run)
{
    _inTransaction = operation("transactionBegin", run);
    return _inTransaction;
}

void Witness::end(const char* name, const std::function<bool()>& run)
{
    const bool succeeded = operation(name, run);
    const Effects effects = std::move(_pending);
    _pending.clear();
    _inTransaction = false;
    settle(effects, succeeded && std::string(name) == "transactionCommit");
}

namespace
{

std::string firstCell(sqlite3* db, const std::string& query)
{
    std::string cell = "(none)";
    const auto keep = [](void* kept, int, char** cells, char**) {
        *static_cast<std::string*>(kept) = cells[0] ? cells[0] : "(null)";
        return 1;
    };
    const int rc = sqlite3_exec(db, query.c_str(), keep, &cell, nullptr);
    return rc == SQLITE_OK || rc == SQLITE_ABORT ? cell : sqlite3_errmsg(db);
}

} // namespace

void verifyFile(const Point& point, const Witness& witness, const std::string& path, bool durable)
{
    sqlite3* db = nullptr;
    if (point.expect(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) ==
                         SQLITE_OK,
                     "the file can no longer be opened")) {
        const std::string integrity = firstCell(db, "pragma integrity_check");
        point.expect(integrity == "ok", "integrity_check: " + integrity);
        for (const auto& choice : witness.choices()) {
            const std::string found = firstCell(db, choice.first);
            point.expect(found == choice.second.first || found == choice.second.second,
                         "'" + choice.first + "' gives " + found + ", which is neither " +
                             choice.second.first + " nor " + choice.second.second);
        }
        for (const auto& effect : durable ? witness.due() : Witness::Effects()) {
            const std::string found = firstCell(db, effect.first);
            point.expect(found == effect.second, "returned true, but '" + effect.first +
                                                     "' gives " + found + " instead of " +
                                                     effect.second);
        }
    }
    sqlite3_close(db);
}

} // namespace faults
