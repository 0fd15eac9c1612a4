/// @file
/// What a shipper and a gateway say to each other: over a pipe, a socket, or by files.

#ifndef SQLW_EXAMPLE_FLEET_MESSAGE_H
#define SQLW_EXAMPLE_FLEET_MESSAGE_H

#include <cstdint>
#include <string>

namespace fleet
{

/// One message. Its bytes are the same on every machine, and a checksum covers them.
struct Message
{
    enum Kind : std::uint8_t {
        hello = 'H',    ///< shipper: this board and this line of changesets; what do you have?
        have = 'A',     ///< gateway: all up to `number`, whose hash is `hash`; 0 for nothing
        changes = 'C',  ///< shipper: one changeset
        snapshot = 'S', ///< shipper: all rows of the board, which begin a new line
        end = 'E',      ///< shipper: keep what I sent
        refused = 'R'   ///< gateway: not that one, for the reason in `bytes`
    };

    Kind kind = hello;
    std::uint64_t board = 0;
    std::uint64_t line = 0;    ///< which life of the board's database: chosen at random
    std::uint64_t number = 0;  ///< of the changeset, from 1 in each line
    std::uint64_t version = 0; ///< of the tables that it changes
    std::uint64_t hash = 0;    ///< of all changesets of the line up to this one
    std::string bytes;
};

/// The hash of a line after one more changeset.
std::uint64_t hashAfter(std::uint64_t hash, const std::string& changeset);

/// Sends and receives messages. Owns no descriptor. Throws `support::Failure` for a message that is
/// cut off, damaged or no message.
class Channel
{
public:
    /// What can be read and written; the same one for a socket. The other end gets `waitMs` to send
    /// something, and to take what is sent.
    Channel(int input, int output, int waitMs = 30000)
        : _input(input), _output(output), _waitMs(waitMs)
    {}

    /// Throws `support::Failure` when the other end is gone or does not take it in time.
    void send(const Message& message);
    /// False when the other end has closed between two messages. Throws when none comes in time.
    bool receive(Message& message);

    /// The two halves of `receive`: waits for something to come and reads it, and takes a whole
    /// message out of what was read. `fill` is false when the other end has closed, `next` when the
    /// rest of the message is still to come.
    bool fill();
    bool next(Message& message);

private:
    bool isReady(int descriptor, short events) const;

    int _input;
    int _output;
    int _waitMs;
    std::string _bytes;     // that were read
    std::size_t _taken = 0; // of them, as messages
};

} // namespace fleet

#endif
