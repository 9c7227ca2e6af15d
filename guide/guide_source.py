"""The guide's chapters as its tools see them: order, titles, headings and what they are linked by."""
import pathlib
import re

FOLDER = pathlib.Path(__file__).resolve().parent.parent / "docs" / "guide"
LINK = re.compile(r"(?<!\\)!?\[(?:[^\[\]]|\[[^\]]*\])*\]\(([^()\s]+)\)")


def chapters():
    """Files in the order of the contents in index.md, which comes first."""
    names = ["index.md"]
    for target in LINK.findall((FOLDER / "index.md").read_text(encoding="utf-8")):
        name = target.partition("#")[0]
        if name.endswith(".md") and "/" not in name and name not in names:
            names.append(name)
    return names


def slug(heading):
    """What a heading is linked by."""
    return re.sub(r"[^\w]+", "-", re.sub(r"[`*]", "", heading).lower()).strip("-")


def lines_outside_fences(text):
    """(number, line) of the lines that are no code."""
    fenced = False
    for number, line in enumerate(text.splitlines(), 1):
        if line.startswith("```"):
            fenced = not fenced
        elif not fenced:
            yield number, line


def headings(text):
    return [line.lstrip("#").strip() for _, line in lines_outside_fences(text) if re.match(r"#{1,4} ", line)]
