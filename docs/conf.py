# How Sphinx makes the pages and the manual pages. docs/build runs it.

import os
import pathlib
import re

import furo
from sphinx.util.nodes import make_refnode

root = pathlib.Path(__file__).resolve().parent.parent
build = (root / "CMakeLists.txt").read_text(encoding="utf-8")
project = "sqlwrapper"
version = release = re.search(r"project\(\w+ VERSION (\S+)", build)[1]

extensions = ["breathe", "myst_parser", "sphinx.ext.graphviz", "sphinx_copybutton"]
highlight_language = "text"
today = release  # a page of the manual belongs to a version, not to the day on which it was made

breathe_projects = {project: os.environ["SQLW_OUTPUT"] + "/xml"}
breathe_default_project = project
graphviz_output_format = "svg"
myst_heading_anchors = 4

html_theme = "furo"
html_title = f"{project} {release}"
html_copy_source = False
# Debian's Furo lacks its dark colours.
colours = pathlib.Path(furo.__file__).parent / "assets/styles/variables/_colors.scss"
dark = re.findall(r"--([\w-]+): ([^;]+);", colours.read_text().partition("@mixin colors-dark")[2])
html_theme_options = {"dark_css_variables": dict(dark)}
html_show_copyright = False
styles = ["first-page.css", "copy-button.css", "print.css"]
html_static_path = ["/usr/share/javascript/normalize.css/normalize.min.css", *styles]
html_css_files = [("normalize.min.css", {"priority": 100}), *styles]
html_js_files = [("scripts/gumshoe-patched.js", {"priority": 100})]  # before Furo's own script
html_search_scorer = str(root / "docs/scorer.js")

# A page of the manual for each header: its name, and the sentence that describes the header.
man_make_section_directory = True
man_show_urls = False
man_pages, headers = [], {}
for header in sorted(root.glob("components/sql/*/include/Sql?*.h")):
    name = header.stem.removeprefix("Sql")
    page, title = {"Common": ("functions", "sqlwrapper"), "TableCheck": ("checkTable", "sql::checkTable")
                   }.get(name, (name, f"sql::{name}"))
    if (root / f"docs/reference/{page}.md").exists():
        brief = re.search(r"/// @file\n/// (.+?)\.", header.read_text(encoding="utf-8"))[1]
        headers[f"reference/{page}"] = header
        man_pages.append((f"reference/{page}", title, brief[0].lower() + brief[1:].replace("`", ""), "", 3))

# Documents of the project that lie elsewhere, and the pages that consist of them.
elsewhere = {}
for page in (root / "docs").rglob("*.md"):
    included = re.match(r"```{include} (\S+)", page.read_text(encoding="utf-8"))
    if included:
        elsewhere[(page.parent / included[1]).resolve()] = page.relative_to(root / "docs").with_suffix("")


def lead_to_page(app, env, node, content):
    target = ((root / "docs" / env.docname).parent / node.get("reftarget", "")).resolve()
    if target.is_dir(): # which has no page
        return content
    page = elsewhere.get(target)
    return page and make_refnode(app.builder, env.docname, page.as_posix(), None, content)


def caveat(trap):
    """The trap's title, and what its entry begins with."""
    entries = (root / "docs/deliberate-behaviour.md").read_text(encoding="utf-8")
    text = re.search(rf"^### {re.escape(trap)}\n\n(?:```cpp\n[^#]*?```\n\n)?"
                     r"((?!Operations)(?:.+\n)*?)(?=\n|```)", entries, re.M)
    text = re.sub(r"\[([^]]+)\]\([^)]+\)", r"\1", " ".join(text[1].split())) if text else ""
    return f"- **{trap}.** {re.sub(':$', '.', text)}\n"


def frame_manual(app, docname, source):
    """A page of the manual begins with what to include and link, and ends with all of its traps."""
    if app.builder.name == "man" and docname in headers:
        library = {"sqlprepared": "sqlwrapper-prepared "}.get(headers[docname].parts[-3], "")
        title, _, text = source[0].partition("\n\n")
        traps = dict.fromkeys(re.findall(r"\[([^]]+)\]\(\.\./deliberate-behaviour", text))
        source[0] = f"""{title}\n\n## Synopsis\n\n```cpp\n#include <{headers[docname].name}>\n```\n
`c++ program.cpp $(pkg-config --cflags --libs {library}sqlwrapper-standalone)`\n\n## Description\n\n{text}
## Caveats\n\n{"".join(map(caveat, traps))}\nThe page *Deliberate behaviour* of the
documents explains them.\n\n## See also\n\nsqlwrapper(7), sqlprepared(7)\n"""


def setup(app):
    app.connect("missing-reference", lead_to_page)
    app.connect("source-read", frame_manual)
