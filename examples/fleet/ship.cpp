// Brings what a board's database changed to the gateway, each changeset once.

#include <iostream>

#include <fcntl.h>
#include <unistd.h>

#include "BoardStore.h"
#include "Program.h"
#include "Socket.h"
#include "Usage.h"

namespace
{

using namespace fleet;
using support::Arguments;
using support::Failure;

const char usage[] =
    "usage: ship FILE to HOST PORT            to a gateway that listens\n"
    "       ship FILE pipe                    by standard input and output, as through ssh\n"
    "       ship FILE write STICK [NUMBER]    what comes after NUMBER (0), into a file\n"
    "       ship FILE snapshot STICK          all rows, into a file; they replace those of the gateway\n"
    "\n"
    "FILE is the database of a board. What the gateway confirms is dropped from the board's outbox.\n"
    "A gateway that has something else of the board gets all of its rows.\n"
    "\n"
    "Exit status: 0 on success, 1 on failure, 2 for wrong usage.\n";

const sql::integer batch = 64; // changesets that the gateway keeps in one transaction

sql::integer asInteger(std::uint64_t number)
{
    return static_cast<sql::integer>(number);
}

// What the gateway has now. Its refusal ends the program: nothing is dropped from the outbox.
Message confirmed(Channel& channel)
{
    Message reply;
    if (!channel.receive(reply))
        throw Failure{"the gateway is gone"};
    if (reply.kind == Message::refused)
        throw Failure{"the gateway refuses: " + reply.bytes};
    if (reply.kind != Message::have)
        throw Failure{"the gateway sends nonsense"};
    return reply;
}

Message sent(Channel& channel, const Message& message)
{
    channel.send(message);
    Message end = message;
    end.kind = Message::end;
    end.bytes.clear();
    channel.send(end);
    return confirmed(channel);
}

sql::integer sendBatch(BoardStore& store, Channel& channel, sql::integer number)
{
    Message message;
    sql::integer count = 0;
    while (count < batch && store.next(number + count, message)) {
        channel.send(message);
        ++count;
    }
    if (count == 0)
        return number;
    Message end = store.hello();
    end.kind = Message::end;
    channel.send(end);
    return asInteger(confirmed(channel).number);
}

void shipAll(BoardStore& store, Channel& channel)
{
    channel.send(store.hello());
    Message have = confirmed(channel);
    if (!store.continues(have)) {
        std::cerr << "ship: the gateway has something else of this board: all rows are sent\n";
        have = sent(channel, store.beginLine());
    }
    for (sql::integer number = asInteger(have.number);;) {
        const sql::integer confirmedNumber = sendBatch(store, channel, number);
        store.acknowledge(confirmedNumber);
        if (confirmedNumber == number)
            return;
        number = confirmedNumber;
    }
}

class File
{
public:
    explicit File(const std::string& name)
        : _descriptor(::open(name.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644))
    {
        if (_descriptor < 0)
            throw Failure{name + " cannot be written"};
    }
    ~File() { ::close(_descriptor); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    void keep(const std::string& name)
    {
        if (::fsync(_descriptor) != 0)
            throw Failure{name + " was not written"};
    }
    Channel channel() { return Channel(-1, _descriptor); }

private:
    int _descriptor;
};

void writeFile(BoardStore& store, const std::string& name, sql::integer after)
{
    File file(name);
    Channel channel = file.channel();
    Message message;
    for (sql::integer number = after; store.next(number, message); ++number)
        channel.send(message);
    file.keep(name);
}

void writeSnapshot(BoardStore& store, const std::string& name)
{
    File file(name);
    Channel channel = file.channel();
    channel.send(store.beginLine());
    file.keep(name);
}

void run(const Arguments& arguments)
{
    if (arguments.size() < 2)
        throw support::wrongUsage("an argument is missing");
    const std::string& command = arguments[1];
    BoardStore store(arguments[0]);
    if (command == "to" && arguments.size() == 4) {
        const Socket socket = Socket::connectedTo(arguments[2], arguments[3]);
        Channel channel(socket.descriptor(), socket.descriptor());
        shipAll(store, channel);
    } else if (command == "pipe" && arguments.size() == 2) {
        Channel channel(STDIN_FILENO, STDOUT_FILENO);
        shipAll(store, channel);
    } else if (command == "write" && (arguments.size() == 3 || arguments.size() == 4)) {
        writeFile(store, arguments[2],
                  arguments.size() == 4 ? numberIn(arguments[3], 0, INT64_MAX) : 0);
    } else if (command == "snapshot" && arguments.size() == 3) {
        writeSnapshot(store, arguments[2]);
    } else {
        throw support::wrongUsage("'" + command + "' is no command, or lacks an argument");
    }
}

} // namespace

int main(int argc, char** argv)
{
    return support::runProgram("ship", usage, argc, argv, run);
}
