# How Sphinx makes the pages and the manual pages. docs/build runs it.

import re
import sys
from pathlib import Path

import furo

root = Path(__file__).resolve().parents[1]
sys.path.append(str(root / "docs"))
sys.dont_write_bytecode = True  # nothing is written beside the sources
project = "sqlwrapper"
version = release = re.search(r"project\(\w+ VERSION (\S+)", (root / "CMakeLists.txt").read_text(encoding="utf-8"))[1]

extensions = ["breathe", "myst_parser", "sphinx.ext.graphviz", "sphinx_copybutton", "caveats"]
highlight_language = "text"
today = release  # a page of the manual belongs to a version, not to the day on which it was made

breathe_default_project = project
graphviz_output_format = "svg"
myst_heading_anchors = 4
# A document that is elsewhere has a page that includes it, and labels that are paths to it: links to it lead there.

html_theme = "furo"
html_title = f"{project} {release}"
html_copy_source = False
# Debian's Furo lacks its dark colours.
colours = Path(furo.__file__).parent / "assets/styles/variables/_colors.scss"
dark = re.findall(r"--([\w-]+): ([^;]+);", colours.read_text().partition("@mixin colors-dark")[2])
html_theme_options = {"dark_css_variables": dict(dark)}
html_show_copyright = False
styles = ["first-page.css", "copy-button.css", "print.css"]
html_static_path = ["/usr/share/javascript/normalize.css/normalize.min.css", *styles]
html_css_files = [("normalize.min.css", {"priority": 100}), *styles]
html_js_files = [("scripts/gumshoe-patched.js", {"priority": 100})]  # before Furo's own script
html_search_scorer = str(root / "docs/scorer.js")

man_make_section_directory = True
man_show_urls = False
man_pages = [
    ("man/sqlwrapper", "sqlwrapper", "typed records in SQLite tables", "", 7),
    ("man/sqlprepared", "sqlprepared", "prepared statements on the tables and records of sqlwrapper", "", 7),
    ("reference/Backup", "sql::Backup", "a copy of a database that is in use", "", 3),
    ("reference/checkTable", "sql::checkTable",
     "checks the description of a table, by itself and beside the table in the file", "", 3),
    ("reference/Database", "sql::Database", "a connection to a database file", "", 3),
    ("reference/Error", "sql::Error", "why an operation failed", "", 3),
    ("reference/Field", "sql::Field", "the description of one column of a table", "", 3),
    ("reference/FieldSet", "sql::FieldSet", "the ordered set of columns of a table or of a query's result", "", 3),
    ("reference/functions", "sqlwrapper",
     "types of columns, single statements, and helpers for texts and numbers", "", 3),
    ("reference/Record", "sql::Record", "one row of a table", "", 3),
    ("reference/RecordSet", "sql::RecordSet", "the rows that a query returned", "", 3),
    ("reference/Statement", "sql::Statement", "a statement that is compiled once and run as often as needed", "", 3),
    ("reference/Table", "sql::Table", "a named table of a database", "", 3),
    ("reference/TableWriter", "sql::TableWriter", "writes to the rows of a table, each kind compiled once", "", 3),
    ("reference/Time", "sql::Time", "calendar time, as a column of type type_time holds it", "", 3),
    ("reference/Transaction", "sql::Transaction", "a transaction that ends with its scope", "", 3),
    ("reference/Value", "sql::Value", "one typed cell of a record", "", 3),
]
