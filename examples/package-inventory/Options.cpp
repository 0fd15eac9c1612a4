#include "Options.h"

#include <cctype>
#include <charconv>
#include <cstring>
#include <filesystem>

#include <getopt.h>

#include "Program.h"

namespace inventory
{

const char* const usage =
    "Usage: package-inventory [OPTION]... [STATUS-FILE]\n"
    "Keeps an inventory of the software installed on this machine in a database, and\n"
    "reports what is there and what changed since the last run.\n"
    "\n"
    "STATUS-FILE is where dpkg keeps what it knows of its packages. Without it, that is\n"
    "/var/lib/dpkg/status.\n"
    "\n"
    "  --database FILE   the inventory (package-inventory.db beside this program)\n"
    "  --info DIR        the file lists of the packages, whose times show when they were\n"
    "                    installed (the folder info beside STATUS-FILE)\n"
    "  --section NAME    list only the packages of this section; (none) for those without\n"
    "  --top N           lines to show of each list (10)\n"
    "  --wait SECONDS    how long to wait for a database in use (5)\n"
    "  --restore         undo the last run: show the inventory before it, and keep that\n"
    "  --help            show this and exit\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage. A failure leaves the\n"
    "inventory as it was, unless its message says otherwise.\n";

namespace
{

enum Letter { letterDatabase = 256, letterInfo, letterSection, letterTop, letterWait };

int number(const std::string& option, int greatest)
{
    const char* const end = optarg + std::strlen(optarg);
    int value = 0;
    const auto [stop, error] = std::from_chars(optarg, end, value);
    if (error != std::errc() || stop != end || value < 0 || value > greatest)
        throw support::wrongUsage(option + " needs a number from 0 to " + std::to_string(greatest) +
                                  ", not '" + optarg + "'");
    return value;
}

std::string text(const std::string& option)
{
    if (!*optarg)
        throw support::wrongUsage(option + " needs a name, not an empty text");
    return optarg;
}

// Without the folder, each package would only seem to lack its time.
void requireFolder(const std::string& path)
{
    std::error_code error;
    if (!std::filesystem::is_directory(path, error))
        throw support::wrongUsage("--info needs a folder, and '" + path + "' is not one");
}

// getopt_long gives the letter of an unknown short option; a long one it has just passed.
std::string refusedOption(char** argv)
{
    return std::isprint(optopt) ? std::string("-") + static_cast<char>(optopt) : argv[optind - 1];
}

void take(int letter, char** argv, Options& options)
{
    switch (letter) {
        case letterDatabase:
            options.database = text("--database");
            break;
        case letterInfo:
            options.infoFolder = text("--info");
            requireFolder(options.infoFolder);
            break;
        case letterSection:
            options.section = text("--section");
            break;
        case letterTop:
            options.top = number("--top", 1000000);
            break;
        case letterWait:
            options.waitSeconds = number("--wait", 3600);
            break;
        case ':':
            throw support::wrongUsage("option '" + refusedOption(argv) + "' needs a value");
        case '?':
            throw support::wrongUsage("unknown option '" + refusedOption(argv) + "'");
        default: // one of the flags, which getopt_long has set
            break;
    }
}

std::string databaseBesideProgram()
{
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / "package-inventory.db").string();
}

} // namespace

Options parseOptions(int argc, char** argv)
{
    int restore = 0;
    int help = 0;
    const option known[] = {{"database", required_argument, nullptr, letterDatabase},
                            {"info", required_argument, nullptr, letterInfo},
                            {"section", required_argument, nullptr, letterSection},
                            {"top", required_argument, nullptr, letterTop},
                            {"wait", required_argument, nullptr, letterWait},
                            {"restore", no_argument, &restore, 1},
                            {"help", no_argument, &help, 1},
                            {nullptr, 0, nullptr, 0}};
    Options options;
    opterr = 0; // the program words its own complaints
    for (int letter; (letter = getopt_long(argc, argv, ":", known, nullptr)) != -1;)
        take(letter, argv, options);
    options.restore = restore != 0;
    options.help = help != 0;

    if (argc - optind > 1)
        throw support::wrongUsage(std::string("one STATUS-FILE is enough, and there is also '") +
                                  argv[optind + 1] + "'");
    if (optind < argc && options.restore)
        throw support::wrongUsage("--restore reads no STATUS-FILE");
    if (optind < argc)
        options.statusFile = argv[optind];
    if (options.infoFolder.empty())
        options.infoFolder =
            (std::filesystem::path(options.statusFile).parent_path() / "info").string();
    if (options.database.empty())
        options.database = databaseBesideProgram();
    return options;
}

} // namespace inventory
