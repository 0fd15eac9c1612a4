"""What the contestants and the parts of a cost are called, and how the charts show them."""

import math

# The colours are those of Okabe and Ito, which the colour-blind tell apart, and each line of dots
# has a shape of its own as well. What is black on white is white on black where the reader's
# screen is dark.
INK, FAINT, RULE, PAPER = "#1d2733", "#5d6b7a", "#dde3e9", "#ffffff"
DARK = {INK: "#e6edf3", FAINT: "#9aa7b4", RULE: "#2c3642", PAPER: "#12171d"}
OTHERS = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9"]  # of what has no style
STYLES = {  # the name, the colour and the shape
    "floor": ("the floor", "#76838f", "|"),
    "library": ("the library", "#0072b2", "o"),
    "library-by-name": ("... by name", "#56b4e9", "o"),
    "prepared": ("the C API", INK, "|"),
    "statement": ("Statement", "#009e73", "D"),
    "writer": ("TableWriter, cells", "#d55e00", "s"),
    "record": ("TableWriter, records", "#cc79a7", "P"),
    "sqlitecpp": ("SQLiteCpp", "#76838f", "^"),
    "soci": ("SOCI", "#76838f", "v"),
    "poco-data": ("POCO Data", "#76838f", "<"),
    "qt-sql": ("Qt SQL", "#76838f", ">"),
    "compile": ("SQLite compiles", "#76838f", "s"),
    "run": ("SQLite runs", "#56b4e9", "s"),
    "program": ("the program", "#e69f00", "s"),
}


def name_of(key):
    return STYLES[key][0] if key in STYLES else key


def number(value):
    """Three digits, as people read them."""
    if value == 0:
        return "0"
    decimals = max(0, 2 - math.floor(math.log10(abs(value))))
    return f"{value:,.{decimals}f}"
