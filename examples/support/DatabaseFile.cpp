#include "DatabaseFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <sqlite3.h>
#include <sys/stat.h>

namespace support
{

namespace
{

const char scheme[] = "file:";
const char authority[] = "//";

bool beginsWith(const std::string& text, const std::string& start)
{
    return text.compare(0, start.size(), start) == 0;
}

bool isUri(const std::string& name)
{
    return beginsWith(name, scheme);
}

std::string takeUpTo(std::string& rest, const char* ends)
{
    const std::string::size_type end = std::min(rest.find_first_of(ends), rest.size());
    std::string front = rest.substr(0, end);
    rest.erase(0, end);
    return front;
}

/// "%2f" is a slash, as in any URI; "%00" ends the text, as it does for SQLite.
std::string decoded(const std::string& text)
{
    const char digits[] = "0123456789abcdefABCDEF";
    std::string result;
    for (std::string::size_type i = 0; i < text.size(); ++i) {
        const std::string code = text.substr(i + 1, 2);
        if (text[i] != '%' || code.size() != 2 ||
            code.find_first_not_of(digits) != std::string::npos) {
            result += text[i];
            continue;
        }
        result += static_cast<char>(std::stoi(code, nullptr, 16));
        i += 2;
    }
    return result.c_str();
}

/// What SQLite reads in a URI, as far as it decides where the database is.
struct Uri
{
    explicit Uri(const std::string& name)
    {
        std::string rest = name.substr(std::strlen(scheme));
        rest = takeUpTo(rest, "#");
        if (beginsWith(rest, authority)) {
            rest.erase(0, std::strlen(authority));
            host = takeUpTo(rest, "/?");
        }
        path = decoded(takeUpTo(rest, "?"));
        while (!rest.empty()) {
            rest.erase(0, 1);
            const std::string parameter = takeUpTo(rest, "&");
            if (beginsWith(parameter, "mode="))
                mode = decoded(parameter.substr(5));
            if (beginsWith(parameter, "vfs="))
                vfs = decoded(parameter.substr(4));
        }
    }

    std::string host;
    std::string path;
    std::string mode;
    std::string vfs;
};

/// Those of SQLite that keep files as the operating system does.
bool isLocal(const std::string& vfs)
{
    return vfs.empty() || beginsWith(vfs, "unix");
}

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

std::string refusalOfFile(const std::string& name, const std::string& path, Missing missing)
{
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return errno == ENOENT && missing == Missing::made ? "" : name + reasonFor(errno);
    if (S_ISDIR(status.st_mode))
        return name + " is a folder";
    return S_ISREG(status.st_mode) ? "" : name + " is not a regular file";
}

std::string refusalOfUri(const std::string& name, Missing missing)
{
    if (!sqlite3_compileoption_used("USE_URI"))
        return name +
               " is a URI, and this SQLite was built without SQLITE_USE_URI; for a file of " +
               "that name, write ./" + name;
    const Uri uri(name);
    if (!uri.host.empty() && uri.host != "localhost")
        return name + " names the host '" + uri.host + "'; write file:/// before a path";
    if (uri.mode == "memory" || uri.vfs == "memdb" || uri.path.empty() || uri.path == ":memory:")
        return name + " is a database that nothing keeps";
    if (!uri.vfs.empty() && !sqlite3_vfs_find(uri.vfs.c_str()))
        return name + " needs the VFS '" + uri.vfs + "', which is not loaded";
    return isLocal(uri.vfs) ? refusalOfFile(name, uri.path, missing) : "";
}

} // namespace

std::string refusal(const std::string& name, Missing missing)
{
    if (name.empty())
        return "the name of the database file is empty";
    if (name == ":memory:")
        return ":memory: is a database that nothing keeps; for a file of that name, write "
               "./:memory:";
    return isUri(name) ? refusalOfUri(name, missing) : refusalOfFile(name, name, missing);
}

std::string sqliteName(const std::string& name)
{
    return name[0] == '/' || isUri(name) ? name : "./" + name;
}

std::string localPath(const std::string& name)
{
    if (!isUri(name))
        return name;
    const Uri uri(name);
    return isLocal(uri.vfs) ? uri.path : "";
}

bool isSameDatabase(const std::string& name, const std::string& other)
{
    std::error_code error;
    if (!localPath(name).empty() || !localPath(other).empty())
        return std::filesystem::equivalent(localPath(name), localPath(other), error);
    const Uri uri(name);
    const Uri otherUri(other);
    return uri.path == otherUri.path && uri.vfs == otherUri.vfs;
}

} // namespace support
