"""Ends a page of the manual with the traps that it names, which the same page of the web links."""

import re
from pathlib import Path

# A trap, and the first sentences about it, which may follow a program.
ENTRY = re.compile(r"^### (.+)\n\n(?:```cpp\n[^#]*?```\n\n)?(?!Operations)((?:.+\n)*?)(?=\n|```)", re.M)


def add_caveats(app, docname, source):
    if app.builder.name == "man" and docname.startswith("reference/"):
        sentences = dict(ENTRY.findall(Path(app.srcdir, "deliberate-behaviour.md").read_text(encoding="utf-8")))
        traps = dict.fromkeys(re.findall(r"\[([^]]+)\]\(\.\./deliberate-behaviour.md#", source[0]))
        caveats = "".join(f"- **{trap}.** {sentences.get(trap, '')}\n" for trap in traps)
        caveats = re.sub(r"\[([^]]+)\]\([^)]+\)", r"\1", caveats).replace(":\n\n", ".\n\n")
        source[0] = source[0].replace("## See also", f"## Caveats\n\n{caveats}\n## See also")


def setup(app):
    app.connect("source-read", add_caveats)
