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

int closeFile(sqlite3_file* file)
{
    return inner(file)->pMethods->xClose(inner(file));
}

int readFile(sqlite3_file* file, void* data, int size, sqlite3_int64 offset)
{
    return injector.strikes() ? SQLITE_IOERR_READ
                              : inner(file)->pMethods->xRead(inner(file), data, size, offset);
}

int writeFile(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset)
{
    return injector.strikes() ? SQLITE_IOERR_WRITE
                              : inner(file)->pMethods->xWrite(inner(file), data, size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    return injector.strikes() ? SQLITE_IOERR_TRUNCATE
                              : inner(file)->pMethods->xTruncate(inner(file), size);
}

// Nothing is really synced: that takes long, and these files need not survive a power cut.
int syncFile(sqlite3_file*, int)
{
    return injector.strikes() ? SQLITE_IOERR_FSYNC : SQLITE_OK;
}

int fileSize(sqlite3_file* file, sqlite3_int64* size)
{
    return injector.strikes() ? SQLITE_IOERR_FSTAT
                              : inner(file)->pMethods->xFileSize(inner(file), size);
}

int lockFile(sqlite3_file* file, int level)
{
    return injector.strikes() ? SQLITE_IOERR_LOCK
                              : inner(file)->pMethods->xLock(inner(file), level);
}

int unlockFile(sqlite3_file* file, int level)
{
    return inner(file)->pMethods->xUnlock(inner(file), level);
}

int checkReservedLock(sqlite3_file* file, int* held)
{
    return injector.strikes() ? SQLITE_IOERR_CHECKRESERVEDLOCK
                              : inner(file)->pMethods->xCheckReservedLock(inner(file), held);
}

int fileControl(sqlite3_file* file, int operation, void* argument)
{
    return inner(file)->pMethods->xFileControl(inner(file), operation, argument);
}

int sectorSize(sqlite3_file* file)
{
    return inner(file)->pMethods->xSectorSize(inner(file));
}

int characteristics(sqlite3_file* file)
{
    return inner(file)->pMethods->xDeviceCharacteristics(inner(file));
}

sqlite3_io_methods methods = {
    1,        closeFile,  readFile,          writeFile,   truncateFile, syncFile,        fileSize,
    lockFile, unlockFile, checkReservedLock, fileControl, sectorSize,   characteristics, nullptr,
    nullptr,  nullptr,    nullptr,           nullptr,     nullptr};

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
