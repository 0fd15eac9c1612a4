/// @file
/// TCP sockets.

#ifndef SQLW_EXAMPLE_FLEET_SOCKET_H
#define SQLW_EXAMPLE_FLEET_SOCKET_H

#include <string>

namespace fleet
{

/// Owns a socket. Its makers throw `support::Failure`.
class Socket
{
public:
    static Socket connectedTo(const std::string& host, const std::string& port);
    /// On the loopback interface: other machines come through ssh.
    static Socket listeningAt(const std::string& port);

    explicit Socket(int descriptor) : _descriptor(descriptor) {}
    ~Socket();
    Socket(Socket&& other) noexcept : _descriptor(other._descriptor) { other._descriptor = -1; }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    int descriptor() const { return _descriptor; }
    /// The port that it listens on, even when the system chose it ("0").
    int port() const;
    /// The next connection; an invalid one when there is none.
    Socket accepted() const;

private:
    int _descriptor;
};

} // namespace fleet

#endif
