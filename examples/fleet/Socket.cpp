#include "Socket.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Program.h"

namespace fleet
{

namespace
{

using Addresses = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

Addresses addressesOf(const std::string& host, const std::string& port)
{
    addrinfo hints = {};
    hints.ai_family = AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    if (getaddrinfo(host.c_str(), port.c_str(), &hints, &found) != 0)
        throw support::Failure{host + " port " + port + " is no address"};
    return Addresses(found, freeaddrinfo);
}

Socket made(int flags)
{
    Socket socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0));
    if (socket.descriptor() < 0)
        throw support::Failure{std::string("no socket can be made: ") + std::strerror(errno)};
    return socket;
}

} // namespace

Socket::~Socket()
{
    if (_descriptor >= 0)
        ::close(_descriptor);
}

Socket Socket::connectedTo(const std::string& host, const std::string& port)
{
    const Addresses address = addressesOf(host, port);
    Socket socket = made(0);
    if (connect(socket.descriptor(), address->ai_addr, address->ai_addrlen) != 0)
        throw support::Failure{host + " port " + port +
                               " cannot be reached: " + std::strerror(errno)};
    return socket;
}

Socket Socket::listeningAt(const std::string& port)
{
    const Addresses address = addressesOf("127.0.0.1", port);
    Socket socket = made(SOCK_NONBLOCK);
    const int on = 1;
    setsockopt(socket.descriptor(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
    if (bind(socket.descriptor(), address->ai_addr, address->ai_addrlen) != 0 ||
        listen(socket.descriptor(), SOMAXCONN) != 0)
        throw support::Failure{"port " + port + " cannot be used: " + std::strerror(errno)};
    return socket;
}

int Socket::port() const
{
    sockaddr_in address = {};
    socklen_t size = sizeof(address);
    getsockname(_descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Socket Socket::accepted() const
{
    return Socket(accept4(_descriptor, nullptr, nullptr, SOCK_CLOEXEC));
}

} // namespace fleet
