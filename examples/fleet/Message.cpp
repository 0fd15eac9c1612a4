#include "Message.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <unistd.h>

#include "Program.h"

namespace fleet
{

namespace
{

const char magic[] = "fleet-1";
const std::size_t headSize = 8 + 8 + 5 * 8 + 8 + 8; // magic, kind, numbers, size, checksum
const std::uint64_t longest = 64 << 20;
const std::size_t pieceSize = 64 << 10;

void put(std::string& bytes, std::uint64_t number)
{
    for (int shift = 56; shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
}

std::uint64_t get(const std::string& bytes, std::size_t& position)
{
    std::uint64_t number = 0;
    for (int i = 0; i < 8; ++i)
        number = number << 8 | static_cast<unsigned char>(bytes[position++]);
    return number;
}

std::uint64_t checksum(const std::string& head, const std::string& bytes)
{
    return hashAfter(hashAfter(0, head), bytes);
}

std::string headOf(const Message& message)
{
    std::string head(magic, sizeof(magic));
    for (const std::uint64_t number :
         {std::uint64_t(message.kind), message.board, message.line, message.number, message.version,
          message.hash, std::uint64_t(message.bytes.size())})
        put(head, number);
    return head;
}

} // namespace

// FNV-1a over the hash so far and the changeset.
std::uint64_t hashAfter(std::uint64_t hash, const std::string& changeset)
{
    std::string before;
    put(before, hash);
    std::uint64_t sum = 14695981039346656037u;
    for (const std::string& part : {before, changeset})
        for (const char byte : part)
            sum = (sum ^ static_cast<unsigned char>(byte)) * 1099511628211u;
    return sum >> 1; // fits an integer of SQL
}

void Channel::send(const Message& message)
{
    std::string text = headOf(message);
    put(text, checksum(text, message.bytes));
    text += message.bytes;
    for (std::size_t sent = 0; sent < text.size();) {
        const ssize_t count =
            isReady(_output, POLLOUT) ? write(_output, &text[sent], text.size() - sent) : 0;
        if (count > 0)
            sent += static_cast<std::size_t>(count);
        else if (count == 0 || errno != EINTR)
            throw support::Failure{std::string("the other end takes nothing more") +
                                   (count < 0 ? std::string(": ") + std::strerror(errno) : "")};
    }
}

bool Channel::isReady(int descriptor, short events) const
{
    pollfd waited = {descriptor, events, 0};
    int ready = 0;
    do
        ready = poll(&waited, 1, _waitMs);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

bool Channel::receive(Message& message)
{
    while (!next(message))
        if (!fill())
            return false;
    return true;
}

bool Channel::fill()
{
    if (!isReady(_input, POLLIN))
        throw support::Failure{"the other end is silent"};
    _bytes.erase(0, _taken);
    _taken = 0;
    const std::size_t held = _bytes.size();
    _bytes.resize(held + pieceSize);
    ssize_t count = 0;
    do
        count = ::read(_input, &_bytes[held], pieceSize);
    while (count < 0 && errno == EINTR);
    _bytes.resize(held + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    if (count < 0)
        throw support::Failure{std::string("nothing can be read: ") + std::strerror(errno)};
    if (count == 0 && held > 0)
        throw support::Failure{"a message is cut off"};
    return count > 0;
}

bool Channel::next(Message& message)
{
    if (_bytes.size() - _taken < headSize)
        return false;
    if (_bytes.compare(_taken, sizeof(magic), magic, sizeof(magic)) != 0)
        throw support::Failure{"what comes is no message of a board or a gateway"};
    std::size_t position = _taken + sizeof(magic);
    message.kind = static_cast<Message::Kind>(get(_bytes, position));
    for (std::uint64_t* field :
         {&message.board, &message.line, &message.number, &message.version, &message.hash})
        *field = get(_bytes, position);
    const std::uint64_t size = get(_bytes, position);
    const std::string head = _bytes.substr(_taken, position - _taken);
    const std::uint64_t sum = get(_bytes, position);
    if (size > longest)
        throw support::Failure{"a message is damaged"};
    const auto length = static_cast<std::size_t>(size);
    if (_bytes.size() - position < length)
        return false;
    message.bytes = _bytes.substr(position, length);
    if (checksum(head, message.bytes) != sum)
        throw support::Failure{"a message is damaged"};
    _taken = position + length;
    return true;
}

} // namespace fleet
