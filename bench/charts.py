"""Charts as plain SVG."""

import html
import math

COLOURS = {
    "floor": "#8d99a6", "library": "#1f6fb5", "prepared": "#2f9e6e",
    "sqlitecpp": "#e0a13c", "soci": "#c9653f", "poco-data": "#8a5fb0", "qt-sql": "#6aa6a0",
    "compile": "#b9c3cd", "run": "#7d8b99", "program": "#e5b567",
}
NAMES = {
    "floor": "the floor", "library": "the library",
    "prepared": "SQLite, prepared", "sqlitecpp": "SQLiteCpp", "soci": "SOCI",
    "poco-data": "POCO Data", "qt-sql": "Qt SQL",
    "compile": "SQLite compiles the statement", "run": "SQLite runs it",
    "program": "the program",
}
INK, FAINT, RULE, ALARM = "#1d2733", "#5d6b7a", "#dde3e9", "#c0392b"


def name_of(key):
    return NAMES.get(key, key)


class Picture:
    def __init__(self, width, height, title, subtitle=""):
        self.width, self.height, self.parts = width, height, []
        self.text(20, 30, title, size=17, weight="bold")
        if subtitle:
            self.text(20, 50, subtitle, size=12, colour=FAINT)

    def text(self, x, y, words, size=12, colour=INK, anchor="start", weight="normal"):
        self.parts.append(
            f'<text x="{x:.1f}" y="{y:.1f}" font-size="{size}" fill="{colour}" '
            f'text-anchor="{anchor}" font-weight="{weight}">{html.escape(str(words))}</text>')

    def box(self, x, y, width, height, colour, radius=2):
        self.parts.append(
            f'<rect x="{x:.1f}" y="{y:.1f}" width="{max(width, 0):.1f}" height="{height:.1f}" '
            f'rx="{radius}" fill="{colour}"/>')

    def line(self, points, colour, width=1.0, dash=""):
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(
            f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="{width}"'
            + (f' stroke-dasharray="{dash}"' if dash else "") + "/>")

    def dot(self, x, y, colour):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" fill="{colour}"/>')

    def legend(self, x, y, keys):
        for key in keys:
            self.box(x, y - 10, 12, 12, COLOURS[key])
            self.text(x + 17, y, name_of(key))
            x += 34 + 7 * len(name_of(key))

    def save(self, path):
        path.write_text(
            f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {self.width} {self.height}" '
            f'width="{self.width}" height="{self.height}" '
            'font-family="DejaVu Sans, Verdana, sans-serif">\n'
            f'<rect width="{self.width}" height="{self.height}" fill="#ffffff"/>\n'
            + "\n".join(self.parts) + "\n</svg>\n", encoding="utf-8")


def number(value):
    """Three digits, as people read them."""
    if value == 0:
        return "0"
    decimals = max(0, 2 - math.floor(math.log10(abs(value))))
    return f"{value:,.{decimals}f}"


def nice_ceiling(value):
    unit = 10 ** math.floor(math.log10(value))
    return next(unit * step for step in (1, 1.5, 2, 2.5, 3, 4, 5, 6, 8, 10) if unit * step >= value)


def percent(ratio):
    return f"{(ratio - 1) * 100:+.1f} %".replace("-", "\u2212")


def excess(path, title, subtitle, rows, allowed):
    """What each row is beyond 1, as bars, each with a mark at what is allowed."""
    left, right, top, step = 232, 680, 78, 30
    picture = Picture(720, top + step * len(rows) + 40, title, subtitle)
    values = [value - 1 for value in [*rows.values(), *allowed.values()]]
    most, least = nice_ceiling(max(values)), min(values + [0])
    scale = (right - left) / (most - least)
    zero, bottom = left - least * scale, top + step * len(rows)
    for hundredths in range(math.ceil(least * 20) * 5, round(most * 100) + 1, 5):
        x = zero + hundredths / 100 * scale
        picture.line([(x, top - 8), (x, bottom)], RULE)
        label = f"{hundredths:+d} %".replace("-", "\u2212") if hundredths else "floor"
        picture.text(x, bottom + 18, label, 11, FAINT, "middle")
    for i, (row, value) in enumerate(rows.items()):
        y, beyond = top + i * step, (value - 1) * scale
        over = row in allowed and value > allowed[row]
        picture.text(140, y + 15, row, 13, anchor="end")
        picture.text(212, y + 15, percent(value), 13, ALARM if over else INK, "end", "bold")
        picture.box(min(zero, zero + beyond), y + 2, abs(beyond), 17,
                    ALARM if over else COLOURS["library"], 0)
        if row in allowed:
            mark = zero + (allowed[row] - 1) * scale
            picture.line([(mark, y - 2), (mark, y + 23)], INK, 2)
    picture.line([(zero, top - 8), (zero, bottom)], INK)
    picture.save(path)


def panels(path, title, subtitle, groups, unit, columns=2):
    """A small bar chart for each group: a dictionary of values by contestant."""
    width, bar, gap = 460, 17, 34
    keys = list(dict.fromkeys(key for values in groups.values() for key in values))
    height = gap + bar * len(keys) + 8
    rows = math.ceil(len(groups) / columns)
    picture = Picture(20 + width * columns, 64 + height * rows, title, subtitle)
    for i, (group, values) in enumerate(groups.items()):
        x, y = 20 + i % columns * width, 64 + i // columns * height
        picture.text(x, y + 18, group, 13, weight="bold")
        most = max(values.values())
        for j, (key, value) in enumerate(values.items()):
            top = y + 26 + j * bar
            picture.text(x + 112, top + 11, name_of(key), 11, FAINT, "end")
            length = value / most * (width - 220)
            picture.box(x + 118, top + 1, length, bar - 4, COLOURS.get(key, COLOURS["library"]))
            picture.text(x + 123 + length, top + 11, f"{number(value)} {unit}", 11)
    picture.save(path)


def stacks(path, title, subtitle, rows, keys):
    """Rows of parts, drawn to their sums."""
    left, right, top, step = 150, 860, 92, 28
    picture = Picture(960, top + step * len(rows) + 16, title, subtitle)
    picture.legend(20, 74, keys)
    most = max(sum(parts.values()) for parts in rows.values())
    for i, (row, parts) in enumerate(rows.items()):
        y, x = top + i * step, left
        picture.text(left - 10, y + 14, row, 13, anchor="end")
        for key in keys:
            width = parts[key] / most * (right - left)
            picture.box(x, y + 2, width, 17, COLOURS[key], 0)
            x += width
        picture.text(x + 7, y + 15, f"{sum(parts.values()):,.0f}", 12)
    picture.save(path)


def curves(path, title, subtitle, groups, unit, xlabel, columns=2):
    """A panel for each group: values by contestant over numbers that grow by factors."""
    width, height = 450, 250
    rows = math.ceil(len(groups) / columns)
    picture = Picture(20 + width * columns, 92 + height * rows, title, subtitle)
    first = next(iter(groups.values()))
    picture.legend(20, 76, first)
    for i, (group, lines) in enumerate(groups.items()):
        _panel(picture, 20 + i % columns * width, 92 + i // columns * height, width, height,
               group, lines, unit, xlabel)
    picture.save(path)


def _panel(picture, x, y, width, height, group, lines, unit, xlabel):
    left, right, top, bottom = x + 56, x + width - 40, y + 34, y + height - 46
    positions = sorted({position for line in lines.values() for position in line})
    most = nice_ceiling(max(value for line in lines.values() for value in line.values()))
    span = math.log(positions[-1] / positions[0])

    def place(position, value):
        across = math.log(position / positions[0]) / span
        return left + across * (right - left), bottom - value / most * (bottom - top)

    picture.text(x, y + 18, group, 13, weight="bold")
    for quarter in range(5):
        value = most * quarter / 4
        picture.line([(left, place(positions[0], value)[1]), (right, place(positions[0], value)[1])],
                     INK if quarter == 0 else RULE)
        picture.text(left - 6, place(positions[0], value)[1] + 4, number(value), 11, FAINT, "end")
    for position in positions:
        picture.text(place(position, 0)[0], bottom + 17, f"{position:,}", 11, FAINT, "middle")
    picture.text(right, bottom + 34, xlabel, 11, FAINT, "end")
    picture.text(right, y + 18, unit, 11, FAINT, "end")
    for key, line in lines.items():
        points = [place(position, value) for position, value in sorted(line.items())]
        picture.line(points, COLOURS[key], 2.2)
        for point in points:
            picture.dot(*point, COLOURS[key])
