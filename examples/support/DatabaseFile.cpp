#include "DatabaseFile.h"

#include <cerrno>
#include <cstring>

#include <sys/stat.h>

namespace support
{

namespace
{

std::string reasonFor(int error)
{
    switch (error) {
        case ENOENT:
            return " is not there";
        case EACCES:
            return " cannot be reached: a folder on its path may not be entered";
        case ELOOP:
            return " cannot be reached: its symbolic links lead in a circle";
        case ENOTDIR:
            return " cannot be reached: a part of its path is not a folder";
        default:
            return std::string(" cannot be reached: ") + std::strerror(error);
    }
}

} // namespace

std::string refusal(const std::string& name, Missing missing)
{
    if (name.empty())
        return "the name of the database file is empty";
    if (name == ":memory:")
        return ":memory: is a database that nothing keeps; for a file of that name, write "
               "./:memory:";
    struct stat status;
    if (stat(name.c_str(), &status) != 0)
        return errno == ENOENT && missing == Missing::made ? "" : name + reasonFor(errno);
    if (S_ISDIR(status.st_mode))
        return name + " is a folder";
    return S_ISREG(status.st_mode) ? "" : name + " is not a regular file";
}

std::string plainPath(const std::string& name)
{
    return name[0] == '/' ? name : "./" + name;
}

} // namespace support
