#include "DpkgStatus.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <map>
#include <set>
#include <utility>

#include <sys/stat.h>

#include "Program.h"

namespace inventory
{

namespace
{

struct StatusField
{
    std::string value;
    long long line = 0;
};

// What the file says of one package: its fields by their names in lower case.
struct Stanza
{
    long long line = 0;
    std::map<std::string, StatusField> fields;
};

class StatusReader
{
public:
    explicit StatusReader(const std::string& path);

    /// Reads the next stanza. False at the end of the file.
    bool next(Stanza& stanza);

    /// The package of a stanza; none when it is not installed.
    std::optional<Package> installedPackage(const Stanza& stanza) const;

    [[noreturn]] void refuse(long long line, const std::string& reason) const;

private:
    bool nextLine();
    void addField(Stanza& stanza);
    const StatusField& required(const Stanza& stanza, const std::string& name) const;
    sql::integer size(const StatusField& field) const;
    bool yesOrNo(const StatusField& field) const;

    const std::string _path;
    std::ifstream _file;
    std::string _text;
    long long _line = 0;
};

std::string quoted(const std::string& text)
{
    const std::size_t longest = 40;
    return "'" + (text.size() > longest ? text.substr(0, longest) + "..." : text) + "'";
}

std::string lowerCase(std::string text)
{
    for (char& character : text)
        character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    return text;
}

// The names and architectures that dpkg takes. None of them leads out of a folder.
bool isName(const std::string& text)
{
    const auto isPart = [](unsigned char byte) {
        return std::isalnum(byte) || std::strchr("+-._", byte);
    };
    if (text.empty() || !std::isalnum(static_cast<unsigned char>(text[0])))
        return false;
    for (const char character : text)
        if (!isPart(static_cast<unsigned char>(character)))
            return false;
    return true;
}

support::Failure unreadable(const std::string& path, const char* reason)
{
    return support::Failure{"cannot read '" + path + "': " + reason +
                            "; name a status file of dpkg"};
}

StatusReader::StatusReader(const std::string& path) : _path(path), _file(path)
{
    if (!_file)
        throw unreadable(path, std::strerror(errno));
}

void StatusReader::refuse(long long line, const std::string& reason) const
{
    throw support::Failure{_path + ":" + std::to_string(line) + ": " + reason +
                           "; repair the file (copies are in /var/backups) or name another"};
}

bool StatusReader::nextLine()
{
    errno = 0;
    if (!std::getline(_file, _text)) {
        if (_file.bad())
            throw unreadable(_path, errno ? std::strerror(errno) : "reading failed");
        return false;
    }
    ++_line;
    if (_file.eof())
        refuse(_line, "the file ends in the middle of a line");
    return true;
}

bool StatusReader::next(Stanza& stanza)
{
    stanza = Stanza();
    while (nextLine()) {
        const bool isInStanza = !stanza.fields.empty();
        if (_text.empty()) {
            if (isInStanza)
                return true;
        } else if (_text[0] == ' ' || _text[0] == '\t') { // goes on with the field above
            if (!isInStanza)
                refuse(_line, "a continuation line without a field above it");
        } else {
            addField(stanza);
        }
    }
    return !stanza.fields.empty();
}

void StatusReader::addField(Stanza& stanza)
{
    // A NUL byte would end an SQL statement, and others would disturb a terminal.
    for (const char character : _text)
        if (std::iscntrl(static_cast<unsigned char>(character)) && character != '\t')
            refuse(_line, "a control character");

    const std::size_t colon = _text.find(':');
    const std::string name = _text.substr(0, colon);
    if (colon == std::string::npos || name.empty() ||
        name.find_first_of(" \t") != std::string::npos)
        refuse(_line, quoted(_text) + " is neither a field nor the continuation of one");

    if (stanza.fields.empty())
        stanza.line = _line;
    const StatusField field{sql::trim(_text.substr(colon + 1)), _line};
    if (!stanza.fields.emplace(lowerCase(name), field).second)
        refuse(_line, "a second field " + quoted(name) + " in one package");
}

const StatusField& StatusReader::required(const Stanza& stanza, const std::string& name) const
{
    const auto found = stanza.fields.find(lowerCase(name));
    if (found == stanza.fields.end())
        refuse(stanza.line, "a package without the field " + quoted(name));
    if (found->second.value.empty())
        refuse(found->second.line, "nothing in the field " + quoted(name));
    return found->second;
}

sql::integer StatusReader::size(const StatusField& field) const
{
    const sql::integer greatest = 1LL << 40; // one PiB; sums stay within 64 bits
    const char* const end = field.value.data() + field.value.size();
    sql::integer kib = 0;
    const auto [stop, error] = std::from_chars(field.value.data(), end, kib);
    if (error != std::errc() || stop != end || kib < 0 || kib > greatest)
        refuse(field.line, quoted(field.value) + " is not a size in KiB");
    return kib;
}

bool StatusReader::yesOrNo(const StatusField& field) const
{
    if (field.value != "yes" && field.value != "no")
        refuse(field.line, quoted(field.value) + " is neither 'yes' nor 'no'");
    return field.value == "yes";
}

std::optional<Package> StatusReader::installedPackage(const Stanza& stanza) const
{
    const StatusField& name = required(stanza, "Package");
    if (!isName(name.value))
        refuse(name.line, quoted(name.value) + " is not the name of a package");

    // What is wanted, whether that went wrong, and what there is: "hold ok installed".
    const StatusField& status = required(stanza, "Status");
    std::vector<std::string> words;
    sql::listToVector(status.value, words, " \t");
    if (words.size() != 3)
        refuse(status.line, quoted(status.value) + " is not the status of a package");
    if (words[2] != "installed")
        return std::nullopt;

    const StatusField& architecture = required(stanza, "Architecture");
    if (!isName(architecture.value))
        refuse(architecture.line, quoted(architecture.value) + " is not an architecture");

    Package package;
    package.name = name.value;
    package.architecture = architecture.value;
    package.version = required(stanza, "Version").value;
    for (const auto& [key, field] : stanza.fields) {
        if (field.value.empty())
            continue;
        if (key == "section")
            package.section = field.value;
        else if (key == "installed-size")
            package.installedSize = size(field);
        else if (key == "essential")
            package.essential = yesOrNo(field);
    }
    return package;
}

// A package that may be installed for several architectures at once has a list for each.
std::optional<sql::Time> filesChanged(const std::string& infoFolder, const Package& package)
{
    const std::string stem = infoFolder + "/" + package.name;
    for (const std::string& path : {stem + ":" + package.architecture + ".list", stem + ".list"}) {
        struct stat list;
        if (stat(path.c_str(), &list) == 0)
            return sql::Time(static_cast<sql::integer>(list.st_mtime));
    }
    return std::nullopt;
}

} // namespace

std::vector<Package> readInstalledPackages(const std::string& statusFile,
                                           const std::string& infoFolder,
                                           support::Progress& progress)
{
    StatusReader reader(statusFile);
    std::vector<Package> packages;
    std::set<std::pair<std::string, std::string>> seen;
    Stanza stanza;
    while (reader.next(stanza)) {
        std::optional<Package> package = reader.installedPackage(stanza);
        if (!package)
            continue;
        if (!seen.emplace(package->name, package->architecture).second)
            reader.refuse(stanza.line,
                          "the package " + quoted(package->name) + " for a second time");
        package->filesChanged = filesChanged(infoFolder, *package);
        packages.push_back(*std::move(package));
        progress.show("reading packages", packages.size());
    }
    return packages;
}

} // namespace inventory
