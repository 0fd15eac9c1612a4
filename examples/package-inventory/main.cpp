// Keeps an inventory of the software installed on the machine.

#include <cctype>
#include <chrono>
#include <iostream>
#include <new>

#include "DpkgStatus.h"
#include "Failure.h"
#include "Options.h"
#include "Progress.h"
#include "Report.h"
#include "Store.h"

using namespace inventory;

namespace
{

Summary takeInventory(const Options& options)
{
    Progress progress;
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

// One line, whatever names of files hold.
int complain(std::string message, int status)
{
    for (char& character : message)
        if (std::iscntrl(static_cast<unsigned char>(character)))
            character = '?';
    std::cerr << "package-inventory: " << message << std::endl;
    return status;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        run(parseOptions(argc, argv));
        if (!std::cout.flush())
            throw Failure("all is done but what there is to say could not be written; look where "
                          "standard output leads to");
        return 0;
    } catch (const UsageError& error) {
        return complain(std::string(error.what()) + " (see --help)", 2);
    } catch (const std::bad_alloc&) {
        return complain("out of memory; the inventory is as it was", 1);
    } catch (const std::exception& error) {
        return complain(error.what(), 1);
    }
}
