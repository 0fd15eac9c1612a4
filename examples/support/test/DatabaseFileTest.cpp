#include "DatabaseFile.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace
{

using support::Missing;
using support::plainPath;
using support::refusal;

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
    EXPECT_EQ("/a.db", plainPath("/a.db"));
    EXPECT_EQ("./file::memory:", plainPath("file::memory:"));
}

} // namespace
