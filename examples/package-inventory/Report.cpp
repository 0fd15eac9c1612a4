#include "Report.h"

#include <cstdio>
#include <ostream>
#include <utility>

#include "TextTable.h"

namespace inventory
{

namespace
{

const char* const unknown = "-";

std::string withDecimals(double number, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.*f", decimals, number);
    return text;
}

std::string sizeText(sql::integer kib)
{
    const double mib = static_cast<double>(kib) / 1024;
    if (mib < 1)
        return sql::intToStr(kib) + " KiB";
    if (mib < 1024)
        return withDecimals(mib, 1) + " MiB";
    return withDecimals(mib / 1024, 2) + " GiB";
}

std::string sizeText(const std::optional<sql::integer>& kib)
{
    return kib ? sizeText(*kib) : unknown;
}

std::string shareText(const std::optional<double>& percent)
{
    return percent ? withDecimals(*percent, 1) + " %" : unknown;
}

std::string shareText(sql::integer kib, sql::integer total)
{
    if (total == 0)
        return unknown;
    return shareText(100.0 * static_cast<double>(kib) / static_cast<double>(total));
}

std::string dayText(const std::optional<sql::Time>& time)
{
    return time ? time->format("%Y-%m-%d") : unknown;
}

// "1 package", "2 packages"
std::string counted(sql::integer number, const std::string& noun)
{
    return sql::intToStr(number) + " " + noun + (number == 1 ? "" : "s");
}

std::string others(std::size_t number)
{
    return counted(static_cast<sql::integer>(number), "other");
}

/// Prints one report.
class Report
{
public:
    Report(std::ostream& out, const Summary& summary, const Options& options)
        : _out(out), _summary(summary), _options(options),
          _top(static_cast<std::size_t>(options.top))
    {}

    void printTotals() const;
    void printPackages() const;
    void printSections() const;
    void printChanges() const;

private:
    std::string nameOf(const Package& package) const;
    Section listed() const;
    std::string differences(const Change& change) const;

    std::ostream& _out;
    const Summary& _summary;
    const Options& _options;
    const std::size_t _top;
};

// The architecture is named where it is not the usual one.
std::string Report::nameOf(const Package& package) const
{
    if (package.architecture == "all" || package.architecture == _summary.architecture)
        return package.name;
    return package.name + ":" + package.architecture;
}

void Report::printTotals() const
{
    _out << counted(_summary.packages, "package") << " installed, "
         << sizeText(_summary.installedSize) << " in all, " << _summary.essential << " essential\n";
}

// What the list of packages is taken from: all of them, or those of one section.
Section Report::listed() const
{
    if (_options.section.empty())
        return {"", _summary.packages, _summary.installedSize};
    for (const Section& section : _summary.sections)
        if (section.name == _options.section)
            return section;
    return {_options.section, 0, 0};
}

void Report::printPackages() const
{
    const Section all = listed();
    const std::string of = all.name.empty() ? "" : " in " + all.name;
    if (all.packages == 0) {
        _out << "\nNo packages" << of << '\n';
        return;
    }
    support::TextTable table("rrll");
    table.add({"Size", "Share", "Installed", "Largest packages" + of});
    sql::integer rest = all.installedSize.value_or(0);
    for (const Package& package : _summary.largest) {
        table.add({sizeText(package.installedSize), shareText(package.share),
                   dayText(package.filesChanged), nameOf(package) + " " + package.version});
        rest -= package.installedSize.value_or(0);
    }
    const std::size_t more = static_cast<std::size_t>(all.packages) - _summary.largest.size();
    if (more > 0)
        table.add({sizeText(rest), shareText(rest, _summary.installedSize), "", others(more)});
    _out << '\n';
    table.print(_out);
}

void Report::printSections() const
{
    support::TextTable table("rrrl");
    table.add({"Size", "Share", "Packages", "Largest sections"});
    Section rest;
    rest.installedSize = 0;
    for (std::size_t i = 0; i < _summary.sections.size(); ++i) {
        const Section& section = _summary.sections[i];
        const sql::integer size = section.installedSize.value_or(0);
        if (i < _top) {
            table.add({sizeText(section.installedSize), shareText(size, _summary.installedSize),
                       sql::intToStr(section.packages), section.name});
        } else {
            rest.packages += section.packages;
            *rest.installedSize += size;
        }
    }
    if (_summary.sections.size() > _top)
        table.add({sizeText(rest.installedSize),
                   shareText(*rest.installedSize, _summary.installedSize),
                   sql::intToStr(rest.packages), others(_summary.sections.size() - _top)});
    _out << '\n';
    table.print(_out);
}

std::string Report::differences(const Change& change) const
{
    const Package& before = change.before;
    const Package& after = change.after;
    std::string text;
    const auto add = [&text](const std::string& difference) {
        text += (text.empty() ? "" : ", ") + difference;
    };
    if (before.version != after.version)
        add(before.version + " -> " + after.version);
    if (before.installedSize != after.installedSize)
        add(sizeText(before.installedSize) + " -> " + sizeText(after.installedSize));
    if (before.section != after.section)
        add(before.section.value_or(unknown) + " -> " + after.section.value_or(unknown));
    if (before.essential != after.essential)
        add(after.essential ? "now essential" : "no longer essential");
    if (text.empty())
        add(after.version + " installed again on " + dayText(after.filesChanged));
    return text;
}

void Report::printChanges() const
{
    const Changes& changes = _summary.changes;
    if (!_summary.hasPrevious) {
        _out << "\nThis is the first inventory: the next run will show what changed.\n";
        return;
    }
    if (changes.none()) {
        _out << "\nNothing changed since the last run.\n";
        return;
    }
    _out << "\nSince the last run: " << changes.added.size() << " added, " << changes.changed.size()
         << " changed, " << changes.removed.size() << " removed\n";

    support::TextTable table("ll");
    const auto list = [this, &table](const std::string& sign, const auto& items, const auto& row) {
        for (std::size_t i = 0; i < items.size() && i < _top; ++i) {
            const auto [name, detail] = row(items[i]);
            table.add({sign + name, detail});
        }
        if (items.size() > _top)
            table.add({sign + others(items.size() - _top)});
    };
    const auto version = [this](const Package& package) {
        return std::pair(nameOf(package), package.version);
    };
    list("  + ", changes.added, version);
    list("  ~ ", changes.changed, [this](const Change& change) {
        return std::pair(nameOf(change.after), differences(change));
    });
    list("  - ", changes.removed, version);
    table.print(_out);
}

} // namespace

void printReport(std::ostream& out, const Summary& summary, const Options& options, double seconds)
{
    const Report report(out, summary, options);
    report.printTotals();
    report.printPackages();
    report.printSections();
    if (options.restore)
        out << "\nThe inventory is back to what it was before the last run.\n";
    else
        report.printChanges();
    out << "\nWritten to " << options.database << " in " << withDecimals(seconds, 2) << " s\n";
}

} // namespace inventory
