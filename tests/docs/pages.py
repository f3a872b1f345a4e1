"""Reads Markdown pages: what is fenced, what is code inside the text, tables, headings, links."""

import dataclasses
import re

# A span of code: one or more backticks on both sides.
SPAN = re.compile(r"(?<!`)(`+)(?!`)(.+?)(?<!`)\1(?!`)")


@dataclasses.dataclass
class Block:
    language: str
    text: str
    line: int  # Of the opening fence, from 1.


def read(path):
    """The lines of a page outside of fenced blocks, None in the place of others; and the blocks."""
    outside, blocks, open_block = [], [], None
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("```") and open_block is None:
            open_block = Block(line[3:].strip(), "", number)
        elif line == "```":
            blocks.append(open_block)
            open_block = None
        elif open_block is not None:
            open_block.text += line + "\n"
        else:
            outside.append(line)
            continue
        outside.append(None)
    if open_block is not None:
        raise ValueError("%s:%d: a block without an end" % (path, open_block.line))
    return outside, blocks


def spans(lines):
    """The code in the text, with its line; a bar in a table is written with a backslash. Code may
    go on in the next line of a paragraph, but not beyond a blank line."""
    found = []
    first, paragraph = 1, []
    for number, line in enumerate(list(lines) + [""], 1):
        if line and not line.startswith("|"):
            if not paragraph:
                first = number
            paragraph.append(line)
            continue
        if paragraph:
            text = "\n".join(paragraph)
            for match in SPAN.finditer(text.replace("\n", " ")):
                found.append((match[2], first + text.count("\n", 0, match.start())))
            paragraph = []
        if line:
            found += [(match[2].replace("\\|", "|"), number) for match in SPAN.finditer(line)]
    return found


def commands_of(block):
    """The commands of a block of shell lines, without remarks; a backslash goes on."""
    text = re.sub(r"\\\n\s*", " ", block.text)
    lines = (re.sub(r"(^|\s)#\s.*$", "", line).strip() for line in text.splitlines())
    return [line for line in lines if line]


def anchors(lines):
    """The names by which headings can be linked to."""
    names = set()
    for line in lines:
        match = re.match(r"#+ (.+)", line or "")
        if match:
            plain = re.sub(r"[`*]|\[([^\]]*)\]\([^)]*\)", r"\1", match[1]).lower()
            names.add(re.sub(r"[^\w\- ]", "", plain).replace(" ", "-"))
    return names


def links(lines):
    """(target, line) of every link and picture."""
    for number, line in enumerate(lines, 1):
        for match in re.finditer(r"\]\(([^)\s]+)\)", SPAN.sub("", line or "")):
            yield match[1], number
