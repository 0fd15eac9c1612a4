// A disk in memory that loses power: what was written since the last sync is lost, kept, torn or
// reordered, depending on a seed.

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <sqlite3.h>

#include "Item.h"
#include "Workload.h"

namespace fs = std::filesystem;
using faults::Point;
using faults::Scenario;
using faults::Witness;

namespace
{

using Bytes = std::string;

// A write or, without data, a truncation.
struct Change
{
    std::size_t offset;
    Bytes data;
    bool truncation;
};

void write(Bytes& content, const Change& change)
{
    if (change.truncation) {
        content.resize(change.offset);
        return;
    }
    if (content.size() < change.offset + change.data.size())
        content.resize(change.offset + change.data.size());
    content.replace(change.offset, change.data.size(), change.data);
}

struct DiskFile
{
    Bytes now;                   // what the program sees
    Bytes synced;                // what is certainly on the disk
    std::vector<Change> pending; // what may be
    bool everSynced = false;     // a new file is in its folder after its first sync
    bool removed = false;
    bool removalPending = false; // removed, but the folder was not synced
};

class Disk
{
public:
    std::map<std::string, DiskFile> files;

    // Counts a change of the disk. Returns false once the power is gone.
    bool powered()
    {
        if (_points == _last)
            _lost = true;
        else
            ++_points;
        return !_lost;
    }
    void losePowerAfter(long points)
    {
        _last = points;
        _points = 0;
        _lost = false;
    }
    bool lost() const { return _lost; }
    bool readable() const { return !_lost; }

    // What a machine finds on the disk when the power is back.
    void writeOut(const std::string& folder, unsigned seed, bool* removalLost) const
    {
        std::mt19937 random(seed);
        const auto chance = [&](unsigned of) { return random() % of == 0; };
        *removalLost = false;
        for (const auto& entry : files) {
            const DiskFile& file = entry.second;
            if (file.removed && !file.removalPending)
                continue;
            if (file.removed && !chance(4))
                continue;
            *removalLost = *removalLost || file.removed;
            if (!file.everSynced && chance(2))
                continue;
            std::ofstream(folder + "/" + entry.first, std::ios::binary) << surviving(file, random);
        }
    }

private:
    // Torn and reordered between two syncs.
    static Bytes surviving(const DiskFile& file, std::mt19937& random)
    {
        std::vector<Change> sectors;
        for (const Change& change : file.pending) {
            if (change.truncation) {
                sectors.push_back(change);
                continue;
            }
            for (std::size_t at = 0; at < change.data.size();) {
                const std::size_t end = std::min(
                    change.data.size(), (change.offset + at) / 512 * 512 + 512 - change.offset);
                sectors.push_back({change.offset + at, change.data.substr(at, end - at), false});
                at = end;
            }
        }
        Bytes content = file.synced;
        for (const Change& change : sectors)
            if (random() % 2 == 0)
                write(content, change);
        return content;
    }

    long _points = 0;
    long _last = -1;
    bool _lost = false;
};

Disk disk;

struct File
{
    sqlite3_file base;
    DiskFile* file;
};

DiskFile& of(sqlite3_file* file)
{
    return *reinterpret_cast<File*>(file)->file;
}

std::string baseName(const char* path)
{
    return fs::path(path).filename().string();
}

int readFile(sqlite3_file* file, void* data, int size, sqlite3_int64 offset)
{
    if (!disk.readable())
        return SQLITE_IOERR_READ;
    const Bytes& content = of(file).now;
    const std::size_t begin = std::min(content.size(), static_cast<std::size_t>(offset));
    const std::size_t count = std::min(content.size() - begin, static_cast<std::size_t>(size));
    std::memset(data, 0, static_cast<std::size_t>(size));
    std::memcpy(data, content.data() + begin, count);
    return count == static_cast<std::size_t>(size) ? SQLITE_OK : SQLITE_IOERR_SHORT_READ;
}

int change(sqlite3_file* file, Change made, int error)
{
    if (!disk.powered())
        return error;
    write(of(file).now, made);
    of(file).pending.push_back(std::move(made));
    return SQLITE_OK;
}

int writeFile(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset)
{
    return change(file,
                  {static_cast<std::size_t>(offset),
                   Bytes(static_cast<const char*>(data), static_cast<std::size_t>(size)), false},
                  SQLITE_IOERR_WRITE);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size)
{
    return change(file, {static_cast<std::size_t>(size), Bytes(), true}, SQLITE_IOERR_TRUNCATE);
}

int syncFile(sqlite3_file* file, int)
{
    if (!disk.powered())
        return SQLITE_IOERR_FSYNC;
    DiskFile& synced = of(file);
    synced.synced = synced.now;
    synced.pending.clear();
    synced.everSynced = true;
    return SQLITE_OK;
}

int fileSize(sqlite3_file* file, sqlite3_int64* size)
{
    *size = static_cast<sqlite3_int64>(of(file).now.size());
    return disk.readable() ? SQLITE_OK : SQLITE_IOERR_FSTAT;
}

sqlite3_io_methods methodsOfDisk()
{
    sqlite3_io_methods methods = {};
    methods.iVersion = 1;
    methods.xClose = [](sqlite3_file*) { return SQLITE_OK; };
    methods.xRead = readFile;
    methods.xWrite = writeFile;
    methods.xTruncate = truncateFile;
    methods.xSync = syncFile;
    methods.xFileSize = fileSize;
    methods.xLock = methods.xUnlock = [](sqlite3_file*, int) { return SQLITE_OK; };
    methods.xCheckReservedLock = [](sqlite3_file*, int* held) { return *held = 0; };
    methods.xFileControl = [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; };
    methods.xSectorSize = [](sqlite3_file*) { return 512; };
    // SQLite's default assumption about disks.
    methods.xDeviceCharacteristics = [](sqlite3_file*) { return SQLITE_IOCAP_POWERSAFE_OVERWRITE; };
    return methods;
}

const sqlite3_io_methods methods = methodsOfDisk();

int openFile(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* outFlags)
{
    File* opened = reinterpret_cast<File*>(file);
    opened->base.pMethods = nullptr;
    const std::string key = name ? baseName(name) : "temporary";
    const auto known = disk.files.find(key);
    const bool there = known != disk.files.end() && !known->second.removed;
    if (!disk.readable() || (!there && !(flags & SQLITE_OPEN_CREATE)))
        return SQLITE_CANTOPEN;
    if (!there)
        disk.files[key] = DiskFile();
    opened->file = &disk.files[key];
    opened->base.pMethods = &methods;
    if (outFlags)
        *outFlags = flags;
    return SQLITE_OK;
}

int deleteFile(sqlite3_vfs*, const char* name, int syncFolder)
{
    if (!disk.powered())
        return SQLITE_IOERR_DELETE;
    DiskFile& file = disk.files[baseName(name)];
    file.removed = true;
    file.removalPending = !syncFolder;
    return SQLITE_OK;
}

int accessFile(sqlite3_vfs*, const char* name, int, int* result)
{
    const auto known = disk.files.find(baseName(name));
    *result = known != disk.files.end() && !known->second.removed;
    return SQLITE_OK;
}

// The runs

sqlite3_vfs diskOfMemory()
{
    sqlite3_vfs vfs = *sqlite3_vfs_find(nullptr);
    vfs.zName = "disk";
    vfs.szOsFile = sizeof(File);
    vfs.xOpen = openFile;
    vfs.xDelete = deleteFile;
    vfs.xAccess = accessFile;
    return vfs;
}

const long mostChanges = 1000; // of any scenario

class PowerLoss
{
public:
    PowerLoss() : _vfs(diskOfMemory())
    {
        faults::makeDatabase(_folder.path + "/original.db");
        _original = faults::bytesOf(_folder.path + "/original.db");
    }

    void tryAll(bool quick)
    {
        for (const Scenario& scenario : faults::scenarios())
            for (long changes = 0; losePower(scenario, changes, quick ? 10 : 100);)
                ++changes;
    }

private:
    // Whether the power was lost before the end of the scenario. The scenario runs once; what the
    // disk holds afterwards differs by the seed.
    bool losePower(const Scenario& scenario, long changes, unsigned seedCount)
    {
        const std::string prefix = scenario.name + (":" + std::to_string(changes) + ":");
        std::vector<unsigned> seeds;
        for (unsigned seed = 1; seed <= seedCount; ++seed)
            if (faults::isWanted(prefix + std::to_string(seed)))
                seeds.push_back(seed);
        if (seeds.empty())
            return changes < mostChanges;
        disk.files.clear();
        DiskFile& file = disk.files["run.db"];
        file.now = file.synced = _original;
        file.everSynced = true;

        const Point point(prefix + std::to_string(seeds[0]));
        Witness witness(point);
        disk.losePowerAfter(changes);
        sqlite3_vfs_register(&_vfs, 1);
        scenario.run(witness, _folder.path + "/run.db");
        sqlite3_vfs_unregister(&_vfs);
        look(point, seeds[0], witness);
        for (std::size_t i = 1; i < seeds.size(); ++i)
            look(Point(prefix + std::to_string(seeds[i])), seeds[i], witness);
        if (!disk.lost())
            std::printf("%s changes the disk %ld times\n", scenario.name, changes);
        return disk.lost();
    }

    void look(const Point& point, unsigned seed, const Witness& witness) const
    {
        const std::string folder = _folder.path + "/found";
        fs::remove_all(folder);
        fs::create_directory(folder);
        bool removalLost = false;
        disk.writeOut(folder, seed, &removalLost);
        // A journal whose removal was lost rolls back: transactions are still all or nothing, but
        // the last commit may be gone.
        faults::verifyFile(point, witness, folder + "/run.db", !removalLost);
    }

    const faults::Folder _folder;
    sqlite3_vfs _vfs;
    Bytes _original;
};

} // namespace

int main(int argc, char** argv)
{
    return faults::run(argc, argv, [](bool quick) { PowerLoss().tryAll(quick); });
}
