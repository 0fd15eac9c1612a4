// Keeps an inventory of the software installed on the machine.

#include <chrono>
#include <csignal>
#include <iostream>
#include <new>

#include "DpkgStatus.h"
#include "Options.h"
#include "Program.h"
#include "Progress.h"
#include "Report.h"
#include "Store.h"
#include "Terminal.h"

using namespace inventory;

namespace
{

Summary takeInventory(const Options& options)
{
    support::Progress progress;
    const View view{options.section, options.top};
    if (options.restore)
        return Store(options.database, sql::Database::read_write, options.waitSeconds)
            .restore(view);

    // The source comes first: when it is no good, the database is not even touched.
    std::vector<Package> installed =
        readInstalledPackages(options.statusFile, options.infoFolder, progress);
    Store store(options.database, sql::Database::read_write_create, options.waitSeconds);
    return store.update(std::move(installed), view, progress);
}

void run(const Options& options)
{
    if (options.help) {
        std::cout << usage;
        return;
    }
    const auto start = std::chrono::steady_clock::now();
    const Summary summary = takeInventory(options);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    printReport(std::cout, summary, options, taken.count());
}

int complain(const std::string& message, int status)
{
    std::cerr << "package-inventory: " << support::harmless(message) << std::endl;
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        std::signal(SIGPIPE, SIG_IGN); // the write fails instead, and says so
        const Options options = parseOptions(argc, argv);
        run(options);
        if (!std::cout.flush())
            throw support::Failure{std::string(options.help ? "the help"
                                                            : "the inventory is up to date, but "
                                                              "its report") +
                                   " could not be written; check where standard output goes"};
        return 0;
    } catch (const support::Failure& failure) {
        return complain(failure.message, failure.status);
    } catch (const std::bad_alloc&) {
        return complain("out of memory; the inventory is as it was", 1);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
