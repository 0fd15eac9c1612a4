"""Charts, drawn by matplotlib: each is named by the question that it answers."""

import os

os.environ.setdefault("MPLCONFIGDIR", "/tmp/sqlwrapper-matplotlib")
import matplotlib  # pylint: disable=wrong-import-position
matplotlib.use("svg")
from matplotlib import pyplot, ticker  # pylint: disable=wrong-import-position

from styles import DARK, FAINT, INK, OTHERS, PAPER, RULE, STYLES, name_of

SHAPES = "osD^v<>P*Xphd"
WIDTH = 4.6  # inches: what a telephone shows without shrinking the letters much
# A diamond is seen in a square, and both on a plus.
MARKS = {"|": {"markersize": 16, "markeredgewidth": 2.5}, "D": {"markersize": 5, "markeredgewidth": 0},
         "s": {"markersize": 8, "markeredgewidth": 1.6, "fillstyle": "none"},
         "P": {"markersize": 9, "markeredgewidth": 0}}
LANE = 0.2  # of a row, by which dots are moved off its line

pyplot.rcParams.update({
    "svg.hashsalt": "sqlwrapper", "svg.fonttype": "none",
    "font.family": ["DejaVu Sans", "sans-serif"], "font.size": 10,
    "text.color": INK, "axes.edgecolor": RULE, "axes.labelcolor": FAINT, "axes.axisbelow": True,
    "axes.spines.top": False, "axes.spines.right": False, "axes.spines.left": False,
    "axes.grid": True, "grid.color": RULE, "xtick.color": RULE, "ytick.color": RULE,
    "xtick.labelcolor": FAINT, "ytick.labelcolor": INK, "ytick.major.size": 0,
    "xtick.minor.size": 0, "figure.facecolor": PAPER, "axes.facecolor": PAPER,
    "axes.prop_cycle": pyplot.cycler(color=OTHERS), "legend.frameon": False, "figure.constrained_layout.use": True,
})


def excess(path, title, rows, allowed, lesser):
    """What rows are beyond 1, in percent: bars with marks at what is allowed, and dots of others."""
    chart, [axes] = figure(title, 0.36 * len(rows) + 1.3)
    places = range(len(rows))
    axes.barh(places, [percent(value) for value in rows.values()], 0.55, zorder=2,
              color=STYLES["library"][1], label="by position")
    axes.plot([percent(lesser[row]) for row in rows], places, "D", zorder=3,
              color=STYLES["record"][1], label="by name")
    axes.plot([percent(allowed[row]) for row in rows if row in allowed],
              [i for i, row in zip(places, rows) if row in allowed], "|", zorder=4,
              color=INK, markersize=14, markeredgewidth=2, label="limit by position")
    name_rows(axes, [f"{row}  {percent(value):+.1f} %" for row, value in rows.items()])
    axes.set_xlabel("percent above the floor")
    finish(chart, axes, path, 3)


def percent(ratio):
    return (ratio - 1) * 100


def dots(path, title, groups, xlabel, below=()):
    """A line for each group with a dot for each key: beneath it those of `below`. Over factors, if
    values are larger than 1."""
    keys = list(dict.fromkeys(key for values in groups.values() for key in values))
    chart, [axes] = figure(title, (0.4 if below else 0.34) * len(groups) + 1.1 + 0.09 * len(keys))
    for position, key in enumerate(keys):
        label, colour, shape = STYLES.get(key, (key, None, SHAPES[position % len(SHAPES)]))
        lane = 0 if shape == "|" or not below else LANE if key in below else -LANE
        places = [i + lane for i, values in enumerate(groups.values()) if key in values]
        axes.plot([values[key] for values in groups.values() if key in values], places, shape,
                  color=colour, label=label, zorder=2 if shape == "|" else 4 - position / len(keys),
                  **MARKS.get(shape, {"markersize": 6, "markeredgewidth": 0}))
    if max(max(values.values()) for values in groups.values()) > 1:
        axes.set_xscale("log")
        axes.xaxis.set_major_locator(ticker.LogLocator(subs=(1, 2, 5)))
        axes.xaxis.set_minor_locator(ticker.NullLocator())
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:g}")
    name_rows(axes, groups)
    axes.set_xlabel(xlabel)
    finish(chart, axes, path, 2)


def stacks(path, title, rows, keys, xlabel):
    """Bars of parts, drawn to their sums."""
    chart, [axes] = figure(title, 0.3 * len(rows) + 1.4)
    left = [0] * len(rows)
    for key in keys:
        widths = [parts[key] for parts in rows.values()]
        axes.barh(range(len(rows)), widths, 0.65, left, color=STYLES[key][1],
                  label=name_of(key), zorder=2)
        left = [a + b for a, b in zip(left, widths)]
    name_rows(axes, [f"{row}  {total:,.0f}" for row, total in zip(rows, left)])
    axes.xaxis.set_major_formatter(lambda value, _: f"{value:,.0f}")
    axes.set_xlabel(xlabel)
    finish(chart, axes, path, 2)


def curves(path, title, groups, unit, xlabel):
    """A panel for each group: values by key over numbers that grow by factors."""
    chart, panels = figure(title, 1.7 * len(groups) + 0.8, len(groups))
    for axes, (group, lines) in zip(panels, groups.items()):
        for key, line in lines.items():
            label, colour, shape = STYLES[key]
            axes.plot(list(line), list(line.values()), color=colour, label=label, linewidth=2,
                      marker="o" if shape == "|" else shape, markersize=5)
        axes.set_xscale("log")
        axes.set_xticks(list(line), [f"{position:,}" for position in line])
        axes.minorticks_off()
        axes.set_ylim(0, 1.15 * max(max(line.values()) for line in lines.values()))
        axes.yaxis.set_major_formatter(lambda value, _: f"{value:,g}")
        axes.tick_params(axis="y", labelcolor=FAINT)
        axes.set_title(f"{group}, {unit}", loc="left", size=10)
    panels[-1].set_xlabel(xlabel)
    finish(chart, panels[-1], path, 2)


def figure(title, height, rows=1):
    """The figure, and its axes from the top."""
    chart, axes = pyplot.subplots(rows, figsize=(WIDTH, height), squeeze=False)
    chart.suptitle(title, x=0.02, ha="left", weight="bold", size=12)
    return chart, list(axes[:, 0])


def name_rows(axes, names):
    axes.set_yticks(range(len(names)), list(names))
    axes.invert_yaxis()


def finish(chart, axes, path, columns):
    """With the legend below. Nothing in the file depends on when or where it was drawn."""
    axes.legend(loc="upper center", bbox_to_anchor=(0.35, -0.75 / chart.get_figheight() * len(
        chart.axes)), ncol=columns, fontsize=9)
    chart.savefig(path, metadata={"Date": None, "Creator": None})
    pyplot.close(chart)
    rules = "".join(f'[style*="{part}: {light}"]{{{part}:{dark}!important}}'
                    for light, dark in DARK.items() for part in ("fill", "stroke"))
    drawn = path.read_text(encoding="utf-8").replace(
        "</style>", f"@media(prefers-color-scheme:dark){{{rules}}}</style>", 1)
    path.write_text("\n".join(map(str.rstrip, drawn.splitlines())) + "\n", encoding="utf-8")
