#include <cstdio>
#include <ctime>
#include <memory>
#include <string>

#include <sys/wait.h>

#include "Program.h"
#include "Report.h"
#include "Series.h"

namespace recorder
{

namespace
{

using support::Failure;

/// A gnuplot that takes its script as we write it.
class Gnuplot
{
public:
    Gnuplot() : _pipe(popen("exec gnuplot >/dev/null 2>&1", "w"))
    {
        if (!_pipe)
            throw Failure{"gnuplot cannot be started"};
    }
    ~Gnuplot()
    {
        if (_pipe)
            pclose(_pipe);
    }
    Gnuplot(const Gnuplot&) = delete;
    Gnuplot& operator=(const Gnuplot&) = delete;

    void write(const std::string& text) { std::fputs(text.c_str(), _pipe); }

    void finish(const std::string& file)
    {
        const int status = pclose(_pipe);
        _pipe = nullptr;
        if (WIFEXITED(status) && WEXITSTATUS(status) == 127)
            throw Failure{"gnuplot, which draws the picture, is not installed"};
        if (status != 0)
            throw Failure{file + " could not be written by gnuplot"};
    }

private:
    std::FILE* _pipe;
};

std::string quoted(const std::string& text)
{
    return "'" + sql::quoteStr(text) + "'";
}

// gnuplot shows times of UTC: they are shifted to the zone of the machine.
double secondsEastOf(sql::integer atMs)
{
    const std::time_t at = static_cast<std::time_t>(atMs / 1000);
    std::tm parts{};
    localtime_r(&at, &parts);
    return static_cast<double>(parts.tm_gmtoff);
}

// No more points than the eye can tell apart, each the mean of its samples.
void writePoints(Gnuplot& gnuplot, Recording& recording, const std::string& counter,
                 const Span& span)
{
    const sql::integer points = 500;
    const sql::integer length = span.toMs - span.fromMs + 1;
    Series series(counter, 1);
    const double zone = secondsEastOf(span.fromMs);
    sql::integer point = 0;
    double sum = 0;
    int count = 0;
    const auto put = [&] {
        const double at = static_cast<double>(span.fromMs) / 1000 + zone +
                          (static_cast<double>(point) + 0.5) * static_cast<double>(length) /
                              (1000.0 * static_cast<double>(points));
        char line[96];
        std::snprintf(line, sizeof(line), "%.3f %.17g\n", at, sum / count);
        if (count != 0)
            gnuplot.write(line);
        sum = count = 0;
    };
    recording.read({counter}, span, [&](const sql::Statement& sample) {
        const sql::integer next = (sample.getInteger(0) - span.fromMs) * points / length;
        if (next != point)
            put();
        point = next;
        if (const std::optional<double> value = series.next(sample)) {
            sum += *value;
            ++count;
        }
        return true;
    });
    put();
}

std::string frame(const std::string& terminal, const std::string& file, const Span& span)
{
    return "set terminal " + terminal + "\nset output " + quoted(file) + "\nset title " +
           quoted(timeText(span.fromMs) + " to " + timeText(span.toMs)) +
           " noenhanced\n"
           "set xdata time\nset timefmt '%s'\nset format x \"%H:%M:%S\"\n"
           "set format y '%.1s %c'\nset grid lc rgb '#dddddd'\nset border 3 lc rgb '#888888'\n"
           "set tics nomirror textcolor rgb '#333333'\n"
           "set key outside bottom center horizontal noenhanced\nset yrange [*:*]\n"
           "set linetype 1 lc rgb '#0072b2'\nset linetype 2 lc rgb '#d55e00'\n"
           "set linetype 3 lc rgb '#009e73'\nset linetype 4 lc rgb '#cc79a7'\n"
           "set linetype 5 lc rgb '#e69f00'\nset linetype 6 lc rgb '#56b4e9'\n";
}

bool endsIn(const std::string& text, const std::string& end)
{
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

void plot(Recording& recording, const Counters& counters, const Span& span, const std::string& file)
{
    const bool isSvg = endsIn(file, ".svg");
    if (!isSvg && !endsIn(file, ".png"))
        throw support::wrongUsage("the name of the picture must end in .svg or .png");
    const std::string terminal = isSvg ? "svg size 1000,500 font 'sans-serif,14' background 'white'"
                                       : "pngcairo size 1000,500 font 'sans-serif,11'";
    replaceFile(file, [&](const std::string& part) {
        Gnuplot gnuplot;
        gnuplot.write(frame(terminal, part, span) + "plot ");
        std::string separator;
        for (const std::string& counter : counters) {
            gnuplot.write(separator + "'-' using 1:2 with lines lw 2 title " +
                          quoted(Series(counter, 1).label()));
            separator = ", ";
        }
        gnuplot.write("\n");
        for (const std::string& counter : counters) {
            writePoints(gnuplot, recording, counter, span);
            gnuplot.write("e\n");
        }
        gnuplot.finish(file);
    });
}

} // namespace recorder
