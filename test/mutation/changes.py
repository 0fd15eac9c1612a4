"""The changes that scripts/mutation makes: every single-point change of a C++ source of this library.

It reads tokens, not syntax trees, and relies on the layout that .clang-format gives: a binary
operator has a blank on both sides, and no other operator has. What it makes may not compile; the
compiler is the judge of that.
"""

import bisect
import dataclasses
import re

TOKEN = re.compile(
    r"""(?P<skipped>//[^\n]*|/\*.*?\*/|\\\n|\s+
          |^\#(?!define)(?:[^\n]*\\\n)*[^\n]*|^\#define\s+\w+(?:\([^)]*\))?)
      | (?P<string>"(?:[^"\\\n]|\\.)*")
      | (?P<char>'(?:[^'\\\n]|\\.)')
      | (?P<number>\d[\w.]*)
      | (?P<name>[A-Za-z_]\w*)
      | (?P<op>::|->|\+\+|--|&&|\|\||[=!<>+\-*/%]=|\#\#|\.\.\.|.)""",
    re.VERBOSE | re.DOTALL | re.MULTILINE)

OPERATORS = {
    "==": ["!="], "!=": ["=="], "<": ["<=", ">="], ">": [">=", "<="], "<=": ["<", ">"],
    ">=": [">", "<"], "&&": ["||"], "||": ["&&"], "+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"],
    "%": ["/"], "|": ["&"], "&": ["|"], "+=": ["-=", "="], "-=": ["+=", "="], "*=": ["/=", "="],
    "/=": ["*=", "="],
}
CONSTANTS = {
    "true": "false", "false": "true", "npos": "size_type()", "INT_MAX": "INT_MIN",
    "SQLITE_OK": "SQLITE_ERROR", "SQLITE_ERROR": "SQLITE_OK", "SQLITE_NOMEM": "SQLITE_ERROR",
    "SQLITE_MISUSE": "SQLITE_ERROR", "SQLITE_MISMATCH": "SQLITE_ERROR",
    "SQLITE_RANGE": "SQLITE_ERROR", "SQLITE_BUSY": "SQLITE_ERROR", "SQLITE_LOCKED": "SQLITE_ERROR",
    "SQLITE_TOOBIG": "SQLITE_ERROR", "SQLITE_STATIC": "SQLITE_TRANSIENT",
    "SQLITE_NULL": "SQLITE_TEXT", "SQLITE_INTEGER": "SQLITE_FLOAT",
    "SQLITE_FLOAT": "SQLITE_INTEGER", "SQLITE_TEXT": "SQLITE_BLOB", "SQLITE_BLOB": "SQLITE_TEXT",
    "SQLITE_ROW": "SQLITE_DONE", "SQLITE_DONE": "SQLITE_ROW",
    "SQLITE_OPEN_READONLY": "SQLITE_OPEN_READWRITE",
    "SQLITE_OPEN_READWRITE": "SQLITE_OPEN_READONLY",
    "type_int": "type_text", "type_text": "type_int", "type_float": "type_int",
    "type_bool": "type_int", "type_time": "type_int",
    "flag_not_null": "flag_unique", "flag_unique": "flag_primary_key",
    "flag_primary_key": "flag_not_null",
    "LOG_ERR": "LOG_DEBUG", "LOG_DEBUG": "LOG_ERR",
}
LEVELS = {
    "SQLW_ERROR": ["SQLW_DEBUG1"], "SQLW_DEBUG1": ["SQLW_ERROR", "SQLW_DEBUG2"],
    "SQLW_DEBUG2": ["SQLW_DEBUG1", "SQLW_DEBUG3"], "SQLW_DEBUG3": ["SQLW_DEBUG2"],
    "SQLW_FAULT": ["SQLW_ERROR"], # the report is lost
}
SIBLINGS = {
    "trimleft": "trimright", "trimright": "trimleft", "break": "continue", "continue": "break",
}
RETURNS = {"bool": "!({})", "int": "({}) + 1", "integer": "({}) + 1", "double": "({}) + 1",
           "time_t": "({}) + 1", "string": "string()"}

CONTROL = {"if", "for", "while", "switch", "catch", "return", "sizeof", "case"}
# Of a statement: what cannot be deleted, or is no statement.
KEPT = CONTROL - {"return"} | {"else", "do", "try", "default", "using", "static", "SQLW_SIGNATURE"}
DECLARATION = re.compile(r"(const )?[A-Za-z_][\w:]*(<[^;]*>)? ?[*&]*( const)? [A-Za-z_]\w* ?[=;({\[]")


@dataclasses.dataclass(frozen=True)
class Token:
    """A token and its place."""
    kind: str
    text: str
    start: int
    end: int


@dataclasses.dataclass(frozen=True)
class Change:
    """One change of a file: `text` replaces everything from start to end."""
    file: str
    function: str
    start: int
    end: int
    text: str
    what: str


@dataclasses.dataclass(frozen=True)
class Mutant:
    """A changed file, and how the changed lines read before and after."""
    id: str
    file: str
    function: str
    line: int
    what: str
    before: str
    after: str
    source: str


def tokens_of(source):
    return [Token(match.lastgroup, match.group(), match.start(), match.end())
            for match in TOKEN.finditer(source) if match.lastgroup != "skipped"]


class Region:
    """What may be changed as one: the body of a function or a macro, or a list of initialisers."""

    def __init__(self, file, source, tokens, returns=None, function=""):
        self.file = file
        self.source = source
        self.tokens = tokens
        self.returns = returns
        self.function = function

    def text(self, first, last):
        """The source of the tokens from `first` up to and without `last`."""
        return self.source[self.tokens[first].start:self.tokens[last - 1].end]

    def change(self, first, last, text, what):
        return Change(self.file, self.function, self.tokens[first].start,
                      self.tokens[last - 1].end, text, what)

    def is_binary(self, i):
        token = self.tokens[i]
        return (self.source[token.start - 1:token.start].isspace() and
                self.source[token.end:token.end + 1].isspace())

    def closing(self, i):
        """The position of the bracket that closes the one at `i`."""
        depth = 0
        for j in range(i, len(self.tokens)):
            depth += {"(": 1, "[": 1, "{": 1, ")": -1, "]": -1, "}": -1}.get(
                self.tokens[j].text, 0) if self.tokens[j].kind == "op" else 0
            if depth == 0:
                return j
        return len(self.tokens)

    def find(self, i, wanted):
        """The first position from `i` on of a token of `wanted` that no bracket encloses; also that
        of the bracket which encloses all of it."""
        while i < len(self.tokens):
            text = self.tokens[i].text
            if self.tokens[i].kind == "op":
                if text in wanted or text in ")]}":
                    return i
                if text in "([{":
                    i = self.closing(i)
            i += 1
        return i

    def parts(self, begin, end):
        """What commas separate from `begin` up to `end`: the first position of each, and its end."""
        parts = []
        while begin < end:
            comma = min(self.find(begin, ","), end)
            parts.append((begin, comma))
            begin = comma + 1
        return parts

    def rfind(self, i, wanted):
        """The same as `find`, towards the front."""
        depth = 0
        while i >= 0:
            token = self.tokens[i]
            if token.kind == "op" or token.text == "return":
                if depth == 0 and (token.text in wanted or token.text in ("(", "[", "{")):
                    return i
                depth += {")": 1, "]": 1, "}": 1, "(": -1, "[": -1, "{": -1}.get(token.text, 0)
            i -= 1
        return i


def regions_of(file, source):
    """The regions of a source. What a header only declares is its interface, and no region."""
    tokens = tokens_of(source)
    regions = []
    macros = []
    for match in re.finditer(r"^#define\s+\w+(?:\([^)]*\))?((?:[^\n]*\\\n)*[^\n]*)", source, re.M):
        macros.append((match.start(1), match.end(1)))
        body = [token for token in tokens if macros[-1][0] <= token.start < macros[-1][1]]
        if body:
            regions.append(Region(file, source, body))
    tokens = [token for token in tokens
              if not any(start <= token.start < end for start, end in macros)]

    every = Region(file, source, tokens)
    head = i = 0
    while i < len(tokens):
        text = tokens[i].text
        if text in ("public", "private", "protected"):
            i += 1 # at the colon
            head = i + 1
        if tokens[i].kind == "op" and text in ";}:" and not (text == ":" and head < i):
            if (text == ";" and head < i and tokens[head].text in ("static", "const") and
                    any(token.text == "=" for token in tokens[head:i])):
                regions.append(Region(file, source, tokens[head:i])) # a constant
            head = i + 1
        elif tokens[i].kind == "op" and text == "{":
            first = tokens[head].text
            if first not in ("namespace", "extern", "class", "struct"):
                end = every.closing(i)
                if first != "enum" and tokens[i - 1].text != "=":
                    regions += function_regions(every, head, i, end)
                    head = end + 1
                i = end
            else:
                head = i + 1
        i += 1
    return regions


def without_assertions(tokens):
    """Without static assertions, which are no part of what runs."""
    kept = []
    within = False
    for token in tokens:
        within = within or token.text == "static_assert"
        if not within:
            kept.append(token)
        within = within and token.text != ";"
    return kept


def function_regions(every, head, body, end):
    tokens = every.tokens
    if tokens[head].text == "template":
        while tokens[head].text != ">":
            head += 1
        head += 1
    opening = every.find(head, "(")
    name = re.compile(r"(?:(?:static|const|SQLW_[A-Z]+) )*(.*?)([\w:]*(?:operator\S+|~?\w+))\($").match(
        every.text(head, opening + 1))
    kind, function = (name.group(1).strip(), name.group(2)) if name else ("", "")
    regions = [Region(every.file, every.source, without_assertions(tokens[body + 1:end]), kind,
                      function)]
    colon = every.find(every.closing(opening) + 1, ":")
    if colon < body:
        regions.append(Region(every.file, every.source, tokens[colon:body], "initialisers", function))
    return regions


# The kinds of changes. Each gives the changes of one region.

def operators(region):
    for i, token in enumerate(region.tokens):
        if token.kind != "op":
            continue
        if token.text in OPERATORS and region.is_binary(i):
            for other in OPERATORS[token.text]:
                yield region.change(i, i + 1, other, "operator")
        elif token.text in ("++", "--"):
            yield region.change(i, i + 1, {"++": "--", "--": "++"}[token.text], "operator")
        elif token.text in "!-" and not region.is_binary(i):
            yield region.change(i, i + 1, "", "operator")


def numbers(text):
    """What a number may be changed to."""
    if re.fullmatch(r"\d+", text):
        return [str(int(text) + 1), str(int(text) - 1)]
    return [str((int(text[0]) + 1) % 10) + text[1:]]


def constants(region):
    for i, token in enumerate(region.tokens):
        if token.kind == "number":
            for other in numbers(token.text):
                yield region.change(i, i + 1, other, "constant")
        elif token.kind == "char":
            old = token.text[1:-1]
            new = '"' if old.startswith("\\") else chr(ord(old) + 1)
            yield region.change(i, i + 1, f"'{new}'", "constant")
        elif token.text in CONSTANTS:
            yield region.change(i, i + 1, CONSTANTS[token.text], "constant")


def texts(region):
    for i, token in enumerate(region.tokens):
        if token.kind != "string":
            continue
        characters = re.findall(r"\\.|.", token.text[1:-1])
        changed = [characters[:-1]] if characters else []
        letters = [n for n, c in enumerate(characters) if c.isalpha() and
                   characters[n - 1:n] not in (["%"], ["l"])]
        for n in letters[:1]:
            changed.append(characters[:n] + [characters[n].swapcase()] + characters[n + 1:])
        blanks = [n for n, c in enumerate(characters) if c == " "]
        for n in {*blanks[:1], *blanks[len(blanks) // 2:][:1], *blanks[-1:]}:
            changed.append(characters[:n] + characters[n + 1:])
        for other in changed:
            yield region.change(i, i + 1, '"' + "".join(other) + '"', "text")


def levels(region):
    for i, token in enumerate(region.tokens):
        for other in LEVELS.get(token.text, []):
            yield region.change(i, i + 1, other, "log level")
        if token.text == "SQLW_FAULT":
            yield region.change(i, region.closing(i + 1) + 1, "SQLW_ASSERT(false)", "log level")


def siblings(region):
    for i, token in enumerate(region.tokens):
        if token.text in SIBLINGS:
            yield region.change(i, i + 1, SIBLINGS[token.text], "name")


def statement_starts(region):
    tokens = region.tokens
    if region.returns != "initialisers":
        yield 0
    for i, token in enumerate(tokens[:-1]):
        if token.text in ("else", "do") or token.kind == "op" and token.text in ("{", "}", ";"):
            yield i + 1
        elif token.text in ("if", "for", "while", "switch") and tokens[i + 1].text == "(":
            yield region.closing(i + 1) + 1
        elif token.text in ("case", "default"):
            yield region.find(i, ":") + 1


def deletions(region):
    for i in sorted(set(statement_starts(region))):
        end = region.find(i, ";")
        if (end >= len(region.tokens) or region.tokens[end].text != ";" or
                region.tokens[i].text in KEPT or region.tokens[i].text in (";", "}", "{")):
            continue
        last = all(token.text == "}" for token in region.tokens[end + 1:])
        if region.tokens[i].text == "return" and i + 1 < end and last:
            continue # a function that ends without the value it owes does anything at all
        if region.tokens[i].text != "return" and DECLARATION.match(region.text(i, end + 1)):
            continue
        yield region.change(i, end + 1, ";", "deleted statement")


def returned_values(region):
    for i, token in enumerate(region.tokens):
        if token.text != "return" or not region.returns:
            continue
        end = region.find(i, ";")
        other = "nullptr" if region.returns.endswith("*") else RETURNS.get(region.returns)
        is_literal = end - i == 2 and (region.tokens[i + 1].kind != "name" or
                                       region.tokens[i + 1].text in CONSTANTS)
        if not other or end == i + 1 or is_literal and region.returns != "string":
            continue
        value = other.format(region.text(i + 1, end))
        if value != region.text(i + 1, end):
            yield region.change(i + 1, end, value, "returned value")


def arguments(region):
    for i, token in enumerate(region.tokens[:-1]):
        opens = region.tokens[i + 1]
        if (token.kind != "name" or token.text in CONTROL or opens.text != "(" or
                opens.start != token.end):
            continue
        parts = region.parts(i + 2, region.closing(i + 1))
        for (begin, comma), (second, end) in zip(parts, parts[1:]):
            one, two = region.text(begin, comma), region.text(second, end)
            between = region.source[region.tokens[comma].start:region.tokens[second].start]
            yield region.change(begin, end, two + between + one, "swapped arguments")


def initialisers(region):
    if region.returns != "initialisers":
        return
    parts = region.parts(1, len(region.tokens))
    for number, (begin, end) in enumerate(parts):
        if len(parts) == 1:
            yield region.change(0, end, "", "deleted initialiser")
        elif number == 0:
            yield region.change(begin, end + 1, "", "deleted initialiser")
        else:
            yield region.change(begin - 1, end, "", "deleted initialiser")


def conditions(region):
    for i, token in enumerate(region.tokens):
        if token.text in ("if", "while") and i + 1 < len(region.tokens):
            close = region.closing(i + 1)
            condition = region.text(i + 2, close)
            if not DECLARATION.match(condition):
                for other in ("true", "false") if token.text == "if" else ("false",):
                    if condition != other:
                        yield region.change(i + 2, close, other, "condition")
        elif token.kind == "op" and token.text in ("&&", "||"):
            neutral = "true" if token.text == "&&" else "false"
            ends = (";", ",", "?", ":", "=", "return", "&&", "||")
            begin = region.rfind(i - 1, ends) + 1
            yield region.change(begin, i, neutral, "condition")
            yield region.change(i + 1, region.find(i + 1, ends), neutral, "condition")
        elif token.kind == "op" and token.text == "?":
            colon = region.find(i, ":")
            end = region.find(colon, (";", ","))
            yes, no = region.text(i + 1, colon), region.text(colon + 1, end)
            yield region.change(i + 1, end, f"{no} : {yes}", "condition")


KINDS = (operators, constants, texts, levels, siblings, deletions, returned_values, arguments,
         initialisers, conditions)


def one_line(text):
    return " ".join(line.strip() for line in text.splitlines()).strip()


def mutant_of(change, source, begins):
    """The mutant of a change; `begins` are the offsets of the lines."""
    removed = source[change.start:change.end]
    text = change.text + "\n" * (removed.count("\n") - change.text.count("\n"))
    first = bisect.bisect_right(begins, change.start) - 1
    start = begins[first]
    end = source.find("\n", change.end)
    after = source[start:change.start] + text + source[change.end:end]
    return Mutant("", change.file, change.function, first + 1, change.what, one_line(source[start:end]),
                  one_line(after), source[:change.start] + text + source[change.end:])


def mutants_of(file, source):
    """All mutants of a file, in the order of its lines. The id is the line and a number within it."""
    begins = [0] + [match.end() for match in re.finditer("\n", source)]
    changes = {}
    for region in regions_of(file, source):
        for kind in KINDS:
            for change in kind(region):
                mutant = mutant_of(change, source, begins)
                if mutant.source != source:
                    changes.setdefault(mutant.source, (change, mutant))

    mutants = []
    numbers_of = {}
    for change, mutant in sorted(changes.values(), key=lambda pair: (
            pair[0].start, pair[0].end, pair[0].text)):
        number = numbers_of[mutant.line] = numbers_of.get(mutant.line, 0) + 1
        mutants.append(dataclasses.replace(mutant, id=f"{file}:{mutant.line}.{number}"))
    return mutants
