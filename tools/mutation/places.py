"""The places of a C++ source where one thing can be changed, and the changes.

This is a simple tokenizer: the sources are formatted by clang-format, so an operator with a blank on both sides is a
binary one, and the compiler rejects changes that are not valid.
"""
import collections
import re

Token = collections.namedtuple("Token", "kind text start end")
# The source between start and end is replaced by text. The operator is the kind of change.
Mutant = collections.namedtuple("Mutant", "file operator start end text")
# Draws one of the changes of a place: (start, end, text).
Place = collections.namedtuple("Place", "operator draw")

LEXEMES = re.compile(r"""
    (?P<blank>\s+)
  | (?P<comment>//[^\n]*|/\*.*?\*/)
  | (?P<directive>^[ \t]*\#(?:[^\n\\]|\\.)*)
  | (?P<raw>R"(?P<mark>[^(\s]*)\(.*?\)(?P=mark)")
  | (?P<string>"(?:[^"\\\n]|\\.)*")
  | (?P<char>'(?:[^'\\\n]|\\.)+')
  | (?P<number>\.?\d(?:'?[\w.])*)
  | (?P<word>[A-Za-z_]\w*)
  | (?P<sign><=>|<<=|>>=|\.\.\.|::|->|\+\+|--|<<|>>|<=|>=|==|!=|&&|\|\||[-+*/%&|^]=|.)
""", re.VERBOSE | re.DOTALL | re.MULTILINE)
CLOSING = {"(": ")", "[": "]", "{": "}"}
COMPARISONS = ["==", "!=", "<", "<=", ">", ">="]
EXCHANGED = {"&&": "||", "||": "&&", "+": "-", "-": "+", "+=": "-=", "-=": "+=", "++": "--", "--": "++"}
OPERATOR_OF = {"&&": "logic", "||": "logic"}
# A variable's declaration. Its order matters only if it has an effect, such as opening a file.
DECLARATION = re.compile(r"""(?:(?:static|constexpr|const)\s+)*
    (?!(?:return|File)\b)[A-Za-z_][\w:]*(?:<[^;=]*>)?[\s*&]+[A-Za-z_\[][\w,\s\[\]]*(?:=|;|\{|\()""", re.VERBOSE)
# Characters of a literal; an escape counts as one.
UNIT = re.compile(r"\\(?:x[0-9a-fA-F]+|[0-7]{1,3}|.)|.", re.DOTALL)


def tokens_of(text):
    found = []
    for match in LEXEMES.finditer(text):
        kind = match.lastgroup if match.lastgroup != "mark" else "raw"
        if kind not in ("blank", "comment", "directive"):
            found.append(Token(kind, match.group(), match.start(), match.end()))
    return found


def brackets_of(tokens):
    """The index of each opening bracket's partner."""
    partners, opened = {}, []
    for index, token in enumerate(tokens):
        if token.kind != "sign":
            continue
        if token.text in CLOSING:
            opened.append(index)
        elif token.text in CLOSING.values():
            partners[opened.pop()] = index
    return partners


def is_untested(tokens, partners):
    """For each token whether it has no effect at run time: static_assert, attributes, linkage."""
    untested = [False] * len(tokens)
    for index, token in enumerate(tokens[:-1]):
        after = tokens[index + 1]
        last = index
        if token.text == "static_assert" and after.text == "(":
            last = partners[index + 1]
        elif token.text == "[" and after.text == "[" and token.end == after.start:
            last = partners[index]
        elif token.text == "extern" and after.kind == "string":
            last = index + 1
        if last > index:
            untested[index:last + 1] = [True] * (last + 1 - index)
    return untested


def kind_of_braces(tokens, index, kinds):
    """The kind of block that the brace at this index opens: code, a list of values, or declarations."""
    before = index - 1
    while before >= 0 and (tokens[before].kind == "word" or tokens[before].text in ("::", ":", ",")):
        if tokens[before].text in ("namespace", "struct", "class", "enum", "union"):
            return "declarations"
        if tokens[before].text in ("else", "do"):
            return "code"
        if tokens[before].text in ("return", ","):
            break
        before -= 1
    text = tokens[index - 1].text if index else ";"
    if text in (")", "]", "const", "noexcept", "override", "&&"):
        return "code"
    if text in (";", "}", "{"):
        return "code" if kinds and kinds[-1] == "code" else "values"
    return "values"


def braces_of(tokens, partners):
    kinds, found, ends = [], {}, []
    for index in range(len(tokens)):
        while ends and index >= ends[-1]:
            ends.pop()
            kinds.pop()
        if tokens[index].text == "{" and tokens[index].kind == "sign":
            found[index] = kind_of_braces(tokens, index, kinds)
            kinds.append(found[index])
            ends.append(partners[index])
    return found


class Statements:
    """Which statements follow each other, which may be deleted, and which follow an else."""

    def __init__(self, tokens, partners, braces):
        self.tokens, self.partners = tokens, partners
        self.lone, self.alternatives, self.blocks = [], [], []
        for index, kind in braces.items():
            if kind == "code":
                self.blocks.append(self.block(index + 1, partners[index]))

    def block(self, index, end):
        statements = []
        while index < end:
            after = self.statement(index)
            label = self.tokens[index].text in ("case", "default")
            statements.append(None if label else (index, after - 1))
            index = after
        return statements

    def statement(self, index):
        """The index after the statement that begins here."""
        text = self.tokens[index].text
        if text == "{":
            return self.partners[index] + 1
        if text in ("if", "for", "while", "switch"):
            condition = index + 1
            while self.tokens[condition].text != "(":
                condition += 1
            after = self.part(self.partners[condition] + 1, self.lone)
            if text == "if" and after < len(self.tokens) and self.tokens[after].text == "else":
                after = self.part(after + 1, self.alternatives)
            return after
        stop = ":" if text in ("case", "default") else ";"
        while self.tokens[index].text != stop or self.tokens[index].kind != "sign":
            index = self.partners.get(index, index) + 1
        return index + 1

    def part(self, index, kind):
        after = self.statement(index)
        if kind is self.alternatives or self.tokens[index].text != "{":
            kind.append((index, after - 1))
        return after


def changed_number(literal, step):
    match = re.fullmatch(r"(0[xX]|0(?=[0-7]))?([0-9a-fA-F']+?)([uUlLzZ]*)", literal)
    if not match:
        return None
    prefix, digits, suffix = match.group(1) or "", match.group(2).replace("'", ""), match.group(3)
    base, form = {"": (10, "d"), "0": (8, "o")}.get(prefix, (16, f"0{len(digits)}x"))
    value = int(digits, base) + step
    return f"({value})" if value < 0 else prefix + format(value, form) + suffix


def changed_unit(unit):
    """Another character to replace this one."""
    if unit.startswith("\\"):
        number = re.fullmatch(r"\\(?:(x)(?=[0-9a-fA-F])|(?=[0-7]))([0-9a-fA-F]+)", unit)
        if not number:
            return "\\t" if unit == "\\n" else "_"
        value = int(number.group(2), 16 if number.group(1) else 8) + 1
        return f"\\x{value:0{len(number.group(2))}x}" if number.group(1) else f"\\{value:o}"
    after = chr(ord(unit) + 1)
    return after if after.isalnum() else "x" if unit != "x" else "y"


def string_changes(literal):
    units = UNIT.findall(literal[1:-1])
    if not units:
        return ['"x"']

    def with_unit(index, unit):
        return '"' + "".join(units[:index] + [unit] + units[index + 1:]) + '"'
    changes = []
    for index, unit in enumerate(units):
        changes += [with_unit(index, ""), with_unit(index, unit * 2 if unit == " " else changed_unit(unit))]
    return changes


class Source:
    """One file's text and places."""

    def __init__(self, name, text):
        self.name, self.text, self.places = name, text, []
        self.tokens = tokens_of(text)
        partners = brackets_of(self.tokens)
        self.untested = is_untested(self.tokens, partners)
        braces = braces_of(self.tokens, partners)
        for index in range(len(self.tokens)):
            if not self.untested[index]:
                self.add_token(index)
        self.add_statements(Statements(self.tokens, partners, braces))
        for index, kind in braces.items():
            if kind == "values":
                self.add_rows(index + 1, partners[index], partners)

    def add(self, operator, start, end, texts):
        if texts:
            self.places.append(Place(operator, lambda chance: (start, end, chance.choice(texts))))

    def is_binary(self, token):
        return self.text[token.start - 1].isspace() and self.text[token.end:token.end + 1].isspace()

    def add_token(self, index):
        token = self.tokens[index]
        span = (token.start, token.end)
        if token.kind == "string":
            self.add("string", *span, string_changes(token.text))
        elif token.kind == "char":
            self.add("character", *span, ["'" + changed_unit(token.text[1:-1]) + "'"])
        elif token.kind == "number":
            self.add("number", *span, [text for text in (changed_number(token.text, step) for step in (1, -1)) if text])
        elif token.text in ("true", "false"):
            self.add("constant", *span, ["false" if token.text == "true" else "true"])
        elif token.text == "!":
            self.add("negation", *span, [""])
        elif token.text in COMPARISONS and self.is_binary(token):
            self.add("comparison", *span, [other for other in COMPARISONS if other != token.text])
        elif token.text in EXCHANGED and (token.text in ("++", "--") or self.is_binary(token)):
            self.add(OPERATOR_OF.get(token.text, "arithmetic"), *span, [EXCHANGED[token.text]])

    def add_statements(self, statements):
        whole = [one for block in statements.blocks for one in block if one] + statements.lone
        for operator, spans in (("deletion", whole), ("else", statements.alternatives)):
            for first, last in spans:
                if not self.untested[first]:
                    self.add(operator, self.tokens[first].start, self.tokens[last].end, ["{}"])
        for block in statements.blocks:
            for one, other in zip(block, block[1:]):
                if one and other and not self.declares(one) and not self.declares(other):
                    self.add_exchange("order", one, other)

    def declares(self, statement):
        return DECLARATION.match(self.text, self.tokens[statement[0]].start)

    def add_exchange(self, operator, one, other):
        if self.untested[one[0]] or self.untested[other[0]]:
            return
        start, end = self.tokens[one[0]].start, self.tokens[one[1]].end
        other_start, other_end = self.tokens[other[0]].start, self.tokens[other[1]].end
        if self.text[start:end] != self.text[other_start:other_end]:
            self.add(operator, start, other_end,
                     [self.text[other_start:other_end] + self.text[end:other_start] + self.text[start:end]])

    def add_rows(self, index, end, partners):
        """Neighbours in a list of values; designated members cannot be reordered."""
        rows, first = [], index
        while index < end:
            if self.tokens[index].text == ",":
                rows.append((first, index - 1))
                first = index + 1
            index = partners.get(index, index) + 1
        if first < end:
            rows.append((first, end - 1))
        for one, other in zip(rows, rows[1:]):
            if one[1] >= one[0] and self.tokens[one[0]].text != ".":
                self.add_exchange("rows", one, other)


def draws(sources, chance):
    """Random mutants, each once; all places of all sources are equally likely."""
    places = [(source, place) for source in sources for place in source.places]
    seen, idle = set(), 0
    while places and idle < 10000:
        source, place = chance.choice(places)
        mutant = Mutant(source.name, place.operator, *place.draw(chance))
        idle += 1
        if mutant not in seen and source.text[mutant.start:mutant.end] != mutant.text:
            seen.add(mutant)
            idle = 0
            yield mutant
