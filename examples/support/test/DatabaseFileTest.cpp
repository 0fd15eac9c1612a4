#include "DatabaseFile.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

static bool takesUris = true;

// Replaces SQLite's, which says how it was built.
extern "C" int sqlite3_compileoption_used(const char* option)
{
    return std::string("USE_URI") == option && takesUris;
}

namespace
{

using support::isSameDatabase;
using support::localPath;
using support::Missing;
using support::refusal;
using support::sqliteName;

class DatabaseFileTest : public ::testing::Test
{
protected:
    DatabaseFileTest()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "fileXXXXXX").string();
        _folder = mkdtemp(pattern.data());
    }
    ~DatabaseFileTest() override { std::filesystem::remove_all(_folder); }

    std::string path(const std::string& name) const { return _folder + "/" + name; }

    std::string _folder;
};

TEST_F(DatabaseFileTest, TakesAFileThatIsThere)
{
    std::ofstream(path("a.db")).put('a');
    EXPECT_EQ("", refusal(path("a.db"), Missing::refused));
    EXPECT_EQ("", refusal(path("a.db"), Missing::made));
}

TEST_F(DatabaseFileTest, TakesAMissingFileToBeMade)
{
    EXPECT_EQ("", refusal(path("a.db"), Missing::made));
    EXPECT_EQ(path("a.db") + " is not there", refusal(path("a.db"), Missing::refused));
}

TEST_F(DatabaseFileTest, RefusesDatabasesThatNothingKeeps)
{
    EXPECT_EQ("the name of the database file is empty", refusal("", Missing::made));
    EXPECT_EQ(":memory: is a database that nothing keeps; for a file of that name, write "
              "./:memory:",
              refusal(":memory:", Missing::made));
    EXPECT_EQ("", refusal("./:memory:", Missing::made));
}

TEST_F(DatabaseFileTest, SaysWhyAPathLeadsNowhere)
{
    std::filesystem::create_symlink("circle", path("circle"));
    EXPECT_EQ(path("circle") + " cannot be reached: its symbolic links lead in a circle",
              refusal(path("circle"), Missing::made));
    std::ofstream(path("file")).put('a');
    EXPECT_EQ(path("file/a.db") + " cannot be reached: a part of its path is not a folder",
              refusal(path("file/a.db"), Missing::made));
    EXPECT_EQ(std::string(300, 'a') + " cannot be reached: File name too long",
              refusal(std::string(300, 'a'), Missing::made));
}

TEST_F(DatabaseFileTest, SaysThatAFolderMayNotBeEntered)
{
    std::filesystem::create_directory(path("closed"));
    std::filesystem::permissions(path("closed"), std::filesystem::perms::none);
    const uid_t user = geteuid();
    if (user == 0) { // nothing is closed to it
        std::filesystem::permissions(_folder, std::filesystem::perms::all);
        ASSERT_EQ(0, seteuid(65534));
    }
    const std::string reason = refusal(path("closed/a.db"), Missing::refused);
    ASSERT_EQ(0, seteuid(user));
    EXPECT_EQ(path("closed/a.db") + " cannot be reached: a folder on its path may not be entered",
              reason);
}

TEST_F(DatabaseFileTest, RefusesWhatIsNotARegularFile)
{
    ASSERT_EQ(0, mkfifo(path("fifo").c_str(), 0600));
    EXPECT_EQ(path("fifo") + " is not a regular file", refusal(path("fifo"), Missing::made));
    EXPECT_EQ("/dev/null is not a regular file", refusal("/dev/null", Missing::made));
    EXPECT_EQ(_folder + " is a folder", refusal(_folder, Missing::made));
}

TEST_F(DatabaseFileTest, NamesFilesToSQLiteByTheirPath)
{
    EXPECT_EQ("/a.db", sqliteName("/a.db"));
    EXPECT_EQ("./a.db", sqliteName("a.db"));
    EXPECT_EQ("./File:a.db", sqliteName("File:a.db"));
}

TEST_F(DatabaseFileTest, LeavesUrisToSQLite)
{
    EXPECT_EQ("file:a.db?mode=ro", sqliteName("file:a.db?mode=ro"));
}

TEST_F(DatabaseFileTest, LooksForTheFileOfAUri)
{
    std::ofstream(path("a b.db")).put('a');
    EXPECT_EQ("", refusal("file:" + path("a%20b.db"), Missing::refused));
    EXPECT_EQ("", refusal("file:" + path("a b.db?cache=private&mode=ro#c"), Missing::refused));
    EXPECT_EQ("", refusal("file://" + path("a b.db?vfs=unix-none"), Missing::refused));
    EXPECT_EQ("", refusal("file://localhost" + path("a b.db"), Missing::refused));
    const std::string missing = "file:" + path("none.db?mode=rw");
    EXPECT_EQ(missing + " is not there", refusal(missing, Missing::refused));
    EXPECT_EQ("", refusal(missing, Missing::made));
    EXPECT_EQ("file:" + _folder + " is a folder", refusal("file:" + _folder, Missing::made));
}

TEST_F(DatabaseFileTest, RefusesUrisOfDatabasesThatNothingKeeps)
{
    for (const std::string uri : {"file:a.db?mode=memory", "file:a.db?cache=shared&mode=%6Demory",
                                  "file::memory:", "file:%3amemory:%00a?cache=shared",
                                  "file:", "file://?mode=rwc", "file:/a.db?vfs=memdb"})
        EXPECT_EQ(uri + " is a database that nothing keeps", refusal(uri, Missing::made));
}

TEST_F(DatabaseFileTest, RefusesUrisThatSQLiteCannotFollow)
{
    EXPECT_EQ("file://pool:a/b.db?mode=ro names the host 'pool:a'; write file:/// before a path",
              refusal("file://pool:a/b.db?mode=ro", Missing::made));
    EXPECT_EQ("file:///a.db?vfs=none needs the VFS 'none', which is not loaded",
              refusal("file:///a.db?vfs=none", Missing::made));
}

TEST_F(DatabaseFileTest, RefusesUrisWhereSQLiteTakesNone)
{
    takesUris = false;
    const std::string reason = refusal("file:a.db", Missing::made);
    const std::string reasonForPath = refusal("./file:a.db", Missing::made);
    takesUris = true;
    EXPECT_EQ("file:a.db is a URI, and this SQLite was built without SQLITE_USE_URI; for a file of "
              "that name, write ./file:a.db",
              reason);
    EXPECT_EQ("", reasonForPath);
}

TEST_F(DatabaseFileTest, KnowsWhichFileAUriLeadsTo)
{
    EXPECT_EQ("a.db", localPath("a.db"));
    EXPECT_EQ("a b.db", localPath("file:a%20b.db?mode=ro"));
    EXPECT_EQ("a%2g%", localPath("file:a%2g%"));
    EXPECT_EQ("/a.db", localPath("file:///a.db?vfs=unix-dotfile"));
    EXPECT_EQ("", localPath("file:///pool:a/b.db?vfs=ceph"));
}

TEST_F(DatabaseFileTest, KnowsNamesOfTheSameDatabase)
{
    std::ofstream(path("a.db")).put('a');
    std::ofstream(path("b.db")).put('b');
    EXPECT_TRUE(isSameDatabase(path("a.db"), "file:" + path("./a.db?mode=ro")));
    EXPECT_FALSE(isSameDatabase(path("a.db"), path("b.db")));
    EXPECT_FALSE(isSameDatabase(path("a.db"), path("none.db")));
    EXPECT_TRUE(isSameDatabase("file:///p:n/a?vfs=ceph", "file:/p:n/%61?mode=ro&vfs=ceph"));
    EXPECT_FALSE(isSameDatabase("file:///p:n/a?vfs=ceph", "file:///p:n/b?vfs=ceph"));
    EXPECT_FALSE(isSameDatabase("file:///p:n/a?vfs=ceph", path("a.db")));
}

} // namespace
