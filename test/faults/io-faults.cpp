// An SQLite VFS whose system calls fail on demand.

#include <cstring>

#include <sqlite3.h>

#include "Injector.h"
#include "Sweep.h"

using faults::injector;

namespace
{

sqlite3_vfs* real; // the system's

struct File
{
    sqlite3_file base;
    sqlite3_file* inner; // follows this in memory
};

sqlite3_file* inner(sqlite3_file* file)
{
    return reinterpret_cast<File*>(file)->inner;
}

// A call of the inner file that always reaches it.
template <auto method, typename... Args> int pass(sqlite3_file* file, Args... args)
{
    return (inner(file)->pMethods->*method)(inner(file), args...);
}

// One that fails on demand.
template <auto method, int error, typename... Args> int failing(sqlite3_file* file, Args... args)
{
    return injector.strikes() ? error : pass<method>(file, args...);
}

// Nothing is really synced: that takes long, and these files need not survive a power cut.
int syncFile(sqlite3_file*, int)
{
    return injector.strikes() ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}

using io = sqlite3_io_methods;

sqlite3_io_methods failingMethods()
{
    sqlite3_io_methods methods = {};
    methods.iVersion = 1;
    methods.xClose = pass<&io::xClose>;
    methods.xRead = failing<&io::xRead, SQLITE_IOERR_READ>;
    methods.xWrite = failing<&io::xWrite, SQLITE_IOERR_WRITE>;
    methods.xTruncate = failing<&io::xTruncate, SQLITE_IOERR_TRUNCATE>;
    methods.xSync = syncFile;
    methods.xFileSize = failing<&io::xFileSize, SQLITE_IOERR_FSTAT>;
    methods.xLock = failing<&io::xLock, SQLITE_IOERR_LOCK>;
    methods.xUnlock = pass<&io::xUnlock>;
    methods.xCheckReservedLock = failing<&io::xCheckReservedLock, SQLITE_IOERR_CHECKRESERVEDLOCK>;
    methods.xFileControl = pass<&io::xFileControl>;
    methods.xSectorSize = pass<&io::xSectorSize>;
    methods.xDeviceCharacteristics = pass<&io::xDeviceCharacteristics>;
    return methods;
}

const sqlite3_io_methods methods = failingMethods();

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    File* wrapper = reinterpret_cast<File*>(file);
    wrapper->base.pMethods = nullptr;
    wrapper->inner = reinterpret_cast<sqlite3_file*>(wrapper + 1);
    if (injector.strikes())
        return SQLITE_CANTOPEN;
    const int rc = real->xOpen(real, name, wrapper->inner, flags, outFlags);
    if (rc == SQLITE_OK)
        wrapper->base.pMethods = &methods;
    return rc;
}

int deleteFile(sqlite3_vfs*, const char* name, int syncFolder)
{
    static_cast<void>(syncFolder); // as with syncFile
    return injector.strikes() ? SQLITE_IOERR_DELETE : real->xDelete(real, name, 0);
}

int accessFile(sqlite3_vfs*, const char* name, int flags, int* result)
{
    return injector.strikes() ? SQLITE_IOERR_ACCESS : real->xAccess(real, name, flags, result);
}

} // namespace

int main(int argc, char** argv)
{
    real = sqlite3_vfs_find(nullptr);
    static sqlite3_vfs faulty = *real;
    faulty.zName = "faulty";
    faulty.szOsFile = static_cast<int>(sizeof(File)) + real->szOsFile;
    faulty.xOpen = openFile;
    faulty.xDelete = deleteFile;
    faulty.xAccess = accessFile;
    sqlite3_vfs_register(&faulty, 1);
    return faults::sweep(argc, argv, 1);
}
