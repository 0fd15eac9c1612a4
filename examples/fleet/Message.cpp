#include "Message.h"

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
const int waitMs = 30000;

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

// Waits for the other end.
bool isReady(int descriptor, short events)
{
    pollfd waited = {descriptor, events, 0};
    int ready = 0;
    do
        ready = poll(&waited, 1, waitMs);
    while (ready < 0 && errno == EINTR);
    return ready > 0;
}

} // namespace

// FNV-1a, begun anew with the hash so far.
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

bool Channel::read(std::string& bytes, std::size_t size)
{
    bytes.resize(size);
    for (std::size_t held = 0; held < size;) {
        if (!isReady(_input, POLLIN))
            throw support::Failure{"the other end is silent"};
        const ssize_t count = ::read(_input, &bytes[held], size - held);
        if (count == 0 && held == 0)
            return false;
        if (count == 0)
            throw support::Failure{"a message is cut off"};
        if (count < 0 && errno != EINTR)
            throw support::Failure{std::string("nothing can be read: ") + std::strerror(errno)};
        held += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    return true;
}

bool Channel::receive(Message& message)
{
    std::string head;
    if (!read(head, headSize))
        return false;
    if (head.compare(0, sizeof(magic), magic, sizeof(magic)) != 0)
        throw support::Failure{"what comes is no message of a board or a gateway"};
    std::size_t position = sizeof(magic);
    message.kind = static_cast<Message::Kind>(get(head, position));
    for (std::uint64_t* field :
         {&message.board, &message.line, &message.number, &message.version, &message.hash})
        *field = get(head, position);
    const std::uint64_t size = get(head, position);
    const std::uint64_t sum = get(head, position);
    head.resize(headSize - 8);
    if (size > longest)
        throw support::Failure{"a message is damaged"};
    if (size > 0 && !read(message.bytes, size))
        throw support::Failure{"a message is cut off"};
    if (size == 0)
        message.bytes.clear();
    if (checksum(head, message.bytes) != sum)
        throw support::Failure{"a message is damaged"};
    return true;
}

} // namespace fleet
