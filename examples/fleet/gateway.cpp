// The gateway of a fleet: has the rows of all boards.

#include <fcntl.h>
#include <unistd.h>

#include "GatewayStore.h"
#include "Program.h"
#include "Report.h"
#include "Service.h"
#include "Socket.h"

namespace
{

using namespace fleet;
using support::Arguments;
using support::Failure;

const char usage[] =
    "usage: gateway FILE listen PORT     takes what boards ship, until a signal ends it\n"
    "       gateway FILE pipe            takes it by standard input and output, as through ssh\n"
    "       gateway FILE apply STICK...  takes it from files that `ship FILE write` made\n"
    "       gateway FILE report          per board: last number, age, rows, conflicts\n"
    "       gateway FILE conflicts       changes that contradicted the gateway's rows\n"
    "       gateway FILE events          what happened to the boards\n"
    "\n"
    "FILE is the gateway's database, which is made when it is missing. PORT is one of the loopback\n"
    "interface; 0 takes a free one, and prints it.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

void apply(GatewayStore& store, const std::string& name)
{
    const Socket file(::open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.descriptor() < 0)
        throw Failure{name + " cannot be read"};
    Channel channel(file.descriptor(), -1);
    Message message;
    while (channel.receive(message)) {
        const std::string why = store.take(message);
        if (!why.empty()) {
            store.commit();
            throw Failure{name + ": refused: " + why};
        }
    }
    store.commit();
}

void run(const Arguments& arguments)
{
    if (arguments.size() < 2)
        throw support::wrongUsage("an argument is missing");
    const std::string &file = arguments[0], &command = arguments[1];
    if (command == "listen" && arguments.size() == 3) {
        listen(file, arguments[2]);
    } else if (command == "pipe" && arguments.size() == 2) {
        GatewayStore store(file);
        serve(store, STDIN_FILENO, STDOUT_FILENO);
    } else if (command == "apply" && arguments.size() > 2) {
        GatewayStore store(file);
        for (std::size_t i = 2; i < arguments.size(); ++i)
            apply(store, arguments[i]);
    } else if (arguments.size() == 2 && report(file, command)) {
        return;
    } else {
        throw support::wrongUsage("'" + command + "' is no command, or lacks an argument");
    }
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("gateway", usage, argc, argv, run);
}
