#include "Item.h"

#include <atomic>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Reports.h"

// The sanitizer's, if the program is built with one.
extern "C" [[gnu::weak]] void __sanitizer_set_death_callback(void (*callback)());

namespace faults
{

namespace
{

// Shared with the children of the process, so that their checks count.
struct Tally
{
    std::atomic<long> cases{0};
    std::atomic<long> checks{0};
    std::atomic<long> failures{0};
};

Tally& tally()
{
    static void* const memory =
        mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    static Tally* const shared = new (memory) Tally();
    return *shared;
}

char current[256] = "-"; // the point that is being tried

void endWith(const char* what)
{
    char line[512];
    const int size = std::snprintf(line, sizeof(line), "failure %s: %s\n", current, what);
    _exit(write(STDOUT_FILENO, line, static_cast<std::size_t>(size)) == size ? 1 : 2);
}

int finish()
{
    std::printf("cases %ld\nchecks %ld\n", tally().cases.load(), tally().checks.load());
    return tally().failures ? 1 : 0;
}

} // namespace

Point::Point(const std::string& name, unsigned secondsAtMost) : _name(name)
{
    ++tally().cases;
    std::snprintf(current, sizeof(current), "%s", name.c_str());
    alarm(secondsAtMost);
}

Point::~Point()
{
    alarm(0);
    std::strcpy(current, "-");
}

bool Point::expect(bool holds, const std::string& what) const
{
    ++tally().checks;
    if (holds)
        return true;
    ++tally().failures;
    std::printf("failure %s: %s; the last ERROR line is '%s'\n", _name.c_str(), what.c_str(),
                reports.last);
    return false;
}

void Point::inChild(const std::function<void()>& run) const
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        run();
        std::fflush(stdout);
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    expect(status == 0, "the child ended by itself");
}

void figure(const char* format, ...)
{
    std::printf("figure ");
    va_list args;
    va_start(args, format);
    std::vprintf(format, args);
    va_end(args);
    std::printf("\n");
}

static void prepare()
{
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    listen();
    tally(); // made before any child
    std::set_terminate([] { endWith("an exception where none may pass"); });
    std::signal(SIGALRM, [](int) { endWith("does not end"); });
    if (__sanitizer_set_death_callback) {
        __sanitizer_set_death_callback([] { endWith("a sanitizer ends it"); });
        return;
    }
    for (const int crash : {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV})
        std::signal(crash, [](int) { endWith("crashes"); });
}

static std::string wanted;   // the name of the one point to repeat, or empty for all
static std::string unwanted; // the first of the other names, for the message

bool isWanted(const std::string& name)
{
    if (wanted.empty() || name == wanted)
        return true;
    if (unwanted.size() < 200)
        unwanted += " " + name;
    return false;
}

static int repeat(const char* program, const std::function<void(bool quick)>& tryAll)
{
    for (const bool quick : {true, false}) { // the sample has points enough, as a rule
        unwanted.clear();
        tryAll(quick);
        if (tally().cases > 0) {
            std::printf("the last ERROR line is '%s'\n", reports.last);
            return finish();
        }
    }
    std::fprintf(stderr, "%s: there is no point '%s'; the first ones are%s\n", program,
                 wanted.c_str(), unwanted.c_str());
    return 2;
}

int run(int argc, char** argv, const std::function<void(bool quick)>& tryAll)
{
    const std::string program = std::filesystem::path(argv[0]).filename();
    const std::string mode = argc > 1 ? argv[1] : "";
    prepare();
    if (argc == 3 && mode == "--only" && *argv[2]) {
        wanted = argv[2];
        return repeat(program.c_str(), tryAll);
    }
    if (argc != 2 || (mode != "--quick" && mode != "--full")) {
        std::fprintf(stderr, "usage: %s --quick | --full | --only POINT\n", program.c_str());
        return 2;
    }
    tryAll(mode == "--quick");
    return finish();
}

int run(int argc, char** argv, const std::vector<Trial>& trials)
{
    return run(argc, argv, [&](bool) {
        for (const Trial& trial : trials)
            if (isWanted(trial.name))
                trial.run(Point(trial.name));
    });
}

static std::string newFolder(const char* parent)
{
    std::string name = std::string(parent) + "/sqlwrapper-faults-XXXXXX";
    if (!mkdtemp(&name[0])) {
        std::perror(name.c_str());
        std::exit(2);
    }
    return name;
}

Folder::Folder(const char* parent) : path(newFolder(parent)) {}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::string bytesOf(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

long openFiles()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

} // namespace faults
