// Preloaded (LD_PRELOAD) into a program that uses the shared libsqlite3, this makes the databases
// of a Ceph cluster reachable: file:///POOL:NAMESPACE/NAME?vfs=ceph
//
// For the tests, the environment variable CEPH_VFS changes what it does:
//   disk      leaves temporary files where SQLite puts them by default
//   default   leads names without "vfs=" to the cluster, too
//   unfilled  as default, with only the functions that Ceph gives to its VFS

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sqlite3.h>

namespace
{

bool isSet(const char* word)
{
    const char* const words = std::getenv("CEPH_VFS");
    return words && std::string(words) == word;
}

// Ceph's VFS makes no temporary files.
int keepTemporaryTablesInMemory(sqlite3* db, char** error, const void*)
{
    return sqlite3_exec(db, "PRAGMA temp_store=MEMORY", nullptr, nullptr, error);
}

// Any connection loads it for all others of the program.
sqlite3_vfs* loadCeph()
{
    sqlite3* db = nullptr;
    char* error = nullptr;
    if (sqlite3_open_v2(":memory:", &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK ||
        sqlite3_enable_load_extension(db, 1) != SQLITE_OK ||
        sqlite3_load_extension(db, "libcephsqlite.so", nullptr, &error) != SQLITE_OK)
        std::fprintf(stderr, "ceph-vfs: %s\n", error ? error : sqlite3_errmsg(db));
    sqlite3_free(error);
    sqlite3_close(db);
    return sqlite3_vfs_find("ceph");
}

// Runs before main, as the program knows nothing of it.
__attribute__((constructor)) void makeReachable()
{
    sqlite3_vfs* const ceph = loadCeph();
    if (!ceph)
        std::exit(1);
    if (!isSet("disk"))
        sqlite3_auto_extension(reinterpret_cast<void (*)()>(keepTemporaryTablesInMemory));
    if (!isSet("unfilled")) { // which SQLite calls in the default VFS, and in one that is busy
        const sqlite3_vfs* const local = sqlite3_vfs_find(nullptr);
        ceph->xRandomness = ceph->xRandomness ? ceph->xRandomness : local->xRandomness;
        ceph->xSleep = ceph->xSleep ? ceph->xSleep : local->xSleep;
    }
    if (isSet("default") || isSet("unfilled"))
        sqlite3_vfs_register(ceph, 1);
}

} // namespace
