#include "Service.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <list>
#include <vector>

#include <poll.h>

#include "GatewayStore.h"
#include "Program.h"
#include "Socket.h"

namespace fleet
{

namespace
{

using support::Failure;
using Clock = std::chrono::steady_clock;

const auto longestSilence = std::chrono::seconds(30);
const std::size_t mostShippers = 500; // at the same time; more of them wait for their turn

volatile std::sig_atomic_t isEnded = 0;

void end(int)
{
    isEnded = 1;
}

/// One shipper, from its first message to its last. What it sends is kept before it gets a reply.
class Conversation
{
public:
    Conversation(GatewayStore& store, const Channel& channel) : _store(store), _channel(channel) {}

    Channel& channel() { return _channel; }

    /// Takes the messages that have come, up to the first that wants a reply.
    void take()
    {
        Message message;
        while (!_awaitsReply && _channel.next(message)) {
            _board = message.board;
            _awaitsReply = message.kind == Message::hello || message.kind == Message::end;
            if (!_awaitsReply && _why.empty())
                _why = _store.take(message);
        }
    }

    bool awaitsReply() const { return _awaitsReply; }

    /// REQUIRES: what was taken is committed.
    void reply()
    {
        Message reply = _store.have(_board);
        if (!_why.empty())
            reply.kind = Message::refused;
        reply.bytes = _why;
        _channel.send(reply);
        _why.clear();
        _awaitsReply = false;
    }

private:
    GatewayStore& _store;
    Channel _channel;
    std::uint64_t _board = 0;
    bool _awaitsReply = false;
    std::string _why; // something was refused
};

/// A shipper that is connected.
struct Visit
{
    Visit(GatewayStore& store, Socket from)
        : socket(std::move(from)),
          conversation(store, Channel(socket.descriptor(), socket.descriptor(), 0))
    {}

    Socket socket;
    Conversation conversation;
    Clock::time_point lastHeard = Clock::now();
};

class Listener
{
public:
    Listener(GatewayStore& store, const Socket& socket) : _store(store), _socket(socket) {}

    /// Waits a second at most for something to come, and takes it.
    void serve()
    {
        const std::vector<pollfd> waited = wait();
        auto socket = waited.begin();
        for (auto visit = _visits.begin(); visit != _visits.end(); ++socket)
            visit = hears(*visit, socket->revents != 0) ? std::next(visit) : _visits.erase(visit);
        if (socket != waited.end() && socket->revents != 0)
            welcome();
        const auto hasCome = [](const pollfd& one) { return one.revents != 0; };
        const auto awaits = [](const Visit& one) { return one.conversation.awaitsReply(); };
        if (std::any_of(_visits.begin(), _visits.end(), awaits) ||
            std::none_of(waited.begin(), waited.end(), hasCome))
            keepAndReply();
    }

private:
    std::vector<pollfd> wait() const
    {
        std::vector<pollfd> waited;
        for (const Visit& visit : _visits)
            waited.push_back({visit.socket.descriptor(), POLLIN, 0});
        if (_visits.size() < mostShippers)
            waited.push_back({_socket.descriptor(), POLLIN, 0});
        if (poll(waited.data(), waited.size(), 1000) < 0)
            waited.assign(waited.size(), pollfd()); // by a signal: nothing has come
        return waited;
    }

    void welcome()
    {
        Socket shipper = _socket.accepted();
        if (shipper.descriptor() >= 0)
            _visits.emplace_back(_store, std::move(shipper));
    }

    /// False when the shipper is gone, or has to go: it comes again with what was not confirmed.
    static bool hears(Visit& visit, bool hasCome)
    {
        bool isThere = true;
        return isGood([&] {
                   if (hasCome) {
                       isThere = visit.conversation.channel().fill();
                       visit.lastHeard = Clock::now();
                   } else if (Clock::now() - visit.lastHeard > longestSilence) {
                       throw Failure{"the other end is silent"};
                   }
                   visit.conversation.take();
               }) &&
               isThere;
    }

    void keepAndReply()
    {
        if (!isGood([this] { _store.commit(); }))
            _visits.clear();
        _visits.remove_if([](Visit& visit) {
            return visit.conversation.awaitsReply() &&
                   !isGood([&visit] { visit.conversation.reply(); });
        });
    }

    template <typename Work> static bool isGood(const Work& work)
    {
        try {
            work();
            return true;
        } catch (const Failure& failure) {
            std::cerr << "gateway: " << failure.message << "\n";
            return false;
        }
    }

    GatewayStore& _store;
    const Socket& _socket;
    std::list<Visit> _visits;
};

} // namespace

void serve(GatewayStore& store, int input, int output)
{
    Conversation conversation(store, Channel(input, output));
    while (conversation.channel().fill())
        for (conversation.take(); conversation.awaitsReply(); conversation.take()) {
            store.commit();
            conversation.reply();
        }
}

void listen(const std::string& file, const std::string& port)
{
    struct sigaction action = {};
    action.sa_handler = end; // without SA_RESTART: it ends the wait
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
    GatewayStore store(file);
    const Socket socket = Socket::listeningAt(port);
    std::cout << socket.port() << std::endl;
    Listener listener(store, socket);
    while (!isEnded)
        listener.serve();
}

} // namespace fleet
