#include <cstdio>
#include <string>

#include <gtest/gtest.h>

namespace
{

// Runs a command of the shell, which must exit with 0, and returns its standard output.
std::string run(const std::string& command)
{
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) {
        ADD_FAILURE() << command;
        return std::string();
    }
    std::string output;
    for (int byte = std::fgetc(pipe); byte != EOF; byte = std::fgetc(pipe))
        output += static_cast<char>(byte);
    EXPECT_EQ(0, pclose(pipe)) << command;
    return output;
}

const std::string probe = SQLW_PROBE;
const std::string unset = "env -u SQLWRAPPER_TRACE_LEVEL ";

std::string level(const std::string& value)
{
    return "env SQLWRAPPER_TRACE_LEVEL='" + value + "' ";
}

std::string standardOutput(const std::string& environment, const std::string& argument = "")
{
    return run(environment + probe + " " + argument + " 2>/dev/null");
}

std::string standardError(const std::string& environment, const std::string& argument = "")
{
    return run(environment + probe + " " + argument + " 2>&1 >/dev/null");
}

// What the probe prints at a level, with the library's lines in the order in which they come.
std::string outputAtLevel(int level)
{
    const std::string number = std::to_string(level);
    std::string lines;
    if (level > 6)
        lines += "syslog 7 [DEBUG1]\n";
    if (level > 7)
        lines += "syslog 7 [DEBUG2]\n";
    if (level > 8)
        lines += "syslog 7 [DEBUG3]\n";
    if (level > 2)
        lines += "syslog 3 [ERROR]\n";
    return "before main: level " + number + "\n" + lines + "main: level " + number +
           "\n0 reports\n";
}

// The trace level

TEST(TraceLevelTest, Is3WithoutVariable)
{
    EXPECT_EQ(outputAtLevel(3), standardOutput(unset));
    EXPECT_EQ("", standardError(unset));
}

class TraceLevelDigitTest : public ::testing::TestWithParam<int>
{
};

TEST_P(TraceLevelDigitTest, IsInForceBeforeMain)
{
    const std::string environment = level(std::to_string(GetParam()));
    EXPECT_EQ(outputAtLevel(GetParam()), standardOutput(environment));
    EXPECT_EQ("", standardError(environment));
}

INSTANTIATE_TEST_SUITE_P(AllDigits, TraceLevelDigitTest, ::testing::Range(0, 10));

class TraceLevelOtherTest : public ::testing::TestWithParam<const char*>
{
};

TEST_P(TraceLevelOtherTest, Is3AfterOneLine)
{
    EXPECT_EQ(outputAtLevel(3), standardOutput(level(GetParam())));
    EXPECT_EQ("SQLWRAPPER_TRACE_LEVEL must be one digit from 0 to 9; the trace level is 3\n",
              standardError(level(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(NoDigits, TraceLevelOtherTest,
                         ::testing::Values("", "10", "-1", "+5", " 5", "5 ", "05", "0x5", "a", ":",
                                           "/", "5\n6"));

// Assertion reports

const std::string logLines =
    "syslog 3 Assertion 'door.isShut()' failed in void Door::lock() (house/Door.cpp:7)\n"
    "syslog 3 Assertion 'door.isShut()' failed in void Door::lock() (house/Door.cpp:8)\n";
const std::string errorLines =
    "Assertion 'door.isShut()' failed in void Door::lock() (house/Door.cpp:7)\n"
    "Assertion 'door.isShut()' failed in void Door::lock() (house/Door.cpp:8)\n";

TEST(AssertionReportTest, GoesToSystemLogAndReturns)
{
    EXPECT_EQ("before main: level 0\nmain: level 0\n" + logLines + "2 reports\n",
              standardOutput(level("0"), "2"));
}

TEST(AssertionReportTest, GoesToStandardError)
{
    EXPECT_EQ(errorLines, standardError(level("0"), "2"));
}

} // namespace
