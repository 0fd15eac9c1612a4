// The gateway of a fleet: has the rows of all boards.

#include <csignal>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "GatewayStore.h"
#include "Program.h"
#include "Report.h"
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

volatile std::sig_atomic_t isEnded = 0;

void end(int)
{
    isEnded = 1;
}

Message refusal(const Message& message, const std::string& why)
{
    Message reply = message;
    reply.kind = Message::refused;
    reply.bytes = why;
    return reply;
}

// One shipper, from its first message to its last. What it sends is kept at each `end`.
void serve(GatewayStore& store, Channel& channel)
{
    Message message;
    std::string why;
    while (channel.receive(message)) {
        if (message.kind == Message::hello) {
            channel.send(store.have(message.board));
        } else if (message.kind == Message::end) {
            store.commit();
            channel.send(why.empty() ? store.have(message.board) : refusal(message, why));
            why.clear();
        } else if (why.empty()) {
            why = store.take(message);
        }
    }
}

// A shipper that fails ends alone: what it sent since its last `end` comes again.
void serveOne(const std::string& file, const Socket& socket)
{
    try {
        GatewayStore store(file);
        Channel channel(socket.descriptor(), socket.descriptor());
        serve(store, channel);
    } catch (const Failure& failure) {
        std::cerr << "gateway: " << failure.message << "\n";
    }
}

void listen(const std::string& file, const std::string& port)
{
    struct sigaction action = {};
    action.sa_handler = end; // without SA_RESTART: it ends the wait
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    GatewayStore(file).commit(); // makes it, or says why not, before the first board comes
    const Socket socket = Socket::listeningAt(port);
    std::cout << socket.port() << std::endl;
    while (!isEnded) {
        const Socket shipper = socket.accepted();
        if (shipper.descriptor() >= 0)
            serveOne(file, shipper);
    }
}

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
        Channel channel(STDIN_FILENO, STDOUT_FILENO);
        serve(store, channel);
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
