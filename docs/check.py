#!/usr/bin/env python3
"""What docs/build.sh made is complete: check.py ROOT FOLDER

Every link of its pages holds, all code of the documents stands in them as it is, and every function
that the library exports has its place in the reference and in the manual.
"""

import html
import html.parser
import pathlib
import re
import sys
import urllib.parse

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(sys.argv[1]) / "test/docs"))
import markdown  # noqa: E402


class Page(html.parser.HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.anchors, self.text = set(), set(), ""
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        for name, value in attributes:
            if name in ("id", "name"):
                self.anchors.add(value)
            elif name in ("href", "src", "xlink:href") and value:
                self.links.add(value)
        if tag in ("td", "th", "p", "div", "br", "h1", "h2", "h3", "li"):
            self.text += "\n"

    def handle_data(self, data):
        self.text += data


def broken_links(folder, pages):
    for path, page in pages.items():
        for link in sorted(page.links):
            if re.match(r"https?:|mailto:|javascript:", link):
                continue
            target = urllib.parse.unquote(link)
            name, _, anchor = target.partition("#")
            file = path.parent / name if name else path
            if not file.exists():
                yield f"{path.relative_to(folder)}: {link}: there is no such file"
            elif anchor and file in pages and anchor not in pages[file].anchors:
                yield f"{path.relative_to(folder)}: {link}: there is no such place"


def squeezed(text):
    return re.sub(r"[\s\u00a0]+", "", text)


def lost_code(root, folder, pages):
    for document in sorted([*root.glob("docs/*.md"), *root.glob("docs/guides/*.md")]):
        stem = document.parent.name if document.stem == "README" else document.stem
        text = squeezed(pages[folder / f"html/{stem}.html"].text)
        for number, line in markdown.prose(document):
            for code in re.findall(r"`([^`]+)`", line):
                if squeezed(code.replace("\\|", "|")) not in text:
                    yield f"{document.relative_to(root)}:{number}: `{code}` looks different in its page"
        for language in "cpp", "text", "sh", "cmake", "make":
            for number, lines in markdown.blocks(document, language):
                if squeezed("".join(lines)) not in text:
                    yield f"{document.relative_to(root)}:{number}: the block looks different in its page"


def exported(root):
    """The class, or "" for none, and the name of each function that the library exports."""
    symbols = (root / "debian/libsqlwrapper1.symbols").read_text(encoding="utf-8")
    for scope, name in re.findall(r'"sql::(?:(\w+)::)?(~?\w+|operator[^(]+)[\[(]', symbols):
        if not (scope == "RecordSet" and name == "operator="):  # which tables alone may use
            yield scope, name


def undocumented(root, folder, pages):
    for scope, name in sorted(set(exported(root))):
        page = pages[folder / f"html/{f'classsql_1_1{scope}' if scope else 'namespacesql'}.html"]
        manual = folder / f"man/man3/{f'sql::{scope}' if scope else 'sqlwrapper'}.3"
        name = name.replace("~", "")
        if not re.search(rf"(?<!\w){re.escape(name)}\s*\(", page.text):
            yield f"the reference does not have {scope}::{name}"
        if f"{name}\\fP (" not in manual.read_text(encoding="utf-8").replace("operator= ", "operator="):
            yield f"the manual does not have {scope}::{name}"


def main(root, folder):
    pages = {path: Page(path) for path in folder.glob("html/**/*.html")}
    links = sum(len(page.links) for page in pages.values())
    names = len(set(exported(root)))
    faults = [
        *broken_links(folder, pages),
        *lost_code(root, folder, pages),
        *undocumented(root, folder, pages),
    ]
    told = f"{len(pages)} pages, {links} links, {names} exported names, all as they should be"
    print("\n".join(faults) if faults else told)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
