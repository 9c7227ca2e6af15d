#!/usr/bin/env python3
"""Holds the guide to the program: runs every command in it and compares what it prints, follows every link, and sets the
reference chapters beside what the programs say of themselves.

  check_guide.py BIN_DIR [--update] CHAPTER.md ...      the commands of chapters
  check_guide.py BIN_DIR --reference                    links, pictures, reference chapters

Commands stand in blocks fenced as `console`: a line `$ ...` is a command (`> ...` continues it), what follows is its
output; commands in blocks fenced as `generated` get their output when the guide is built. A line `...` there stands for any lines, `…` for any text in a line. A command that is meant to fail says so by
`# status N`. Each chapter runs in a folder of its own that holds the
examples, as an installed program has them. --update writes down what is printed now."""
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

import guide_source

SOURCE = guide_source.FOLDER.parent.parent
HOME = "/home/you/wells"  # what the guide calls the folder that a chapter runs in
STATUS = re.compile(r"# status (\d+)$", re.M)


# --- Commands ---

def blocks(lines, kind):
    """(first, last) line indices of the insides of blocks fenced as that kind."""
    begin = None
    for i, line in enumerate(lines):
        if begin is None and line == "```" + kind:
            begin = i + 1
        elif begin is not None and line == "```":
            yield begin, i
            begin = None


def commands(lines):
    """(command, line index of the output's begin, of its end) of every command of a chapter, in order."""
    for begin, end in blocks(lines, "console"):
        i = begin
        while i < end:
            assert lines[i].startswith("$ "), f"line {i + 1}: a command begins with '$ '"
            text = lines[i][2:]
            i += 1
            while i < end and (lines[i].startswith("> ") or lines[i] == ">"):
                text += "\n" + lines[i][2:]
                i += 1
            out = i
            while i < end and not lines[i].startswith("$ "):
                i += 1
            yield text, out, i


def run(texts, bin_dir):
    """What each command printed (both streams) and its status; one shell for all of them."""
    script = "".join(f"printf '\\001\\n'\n{{ {text}\n}} </dev/null\nprintf '\\002%d\\n' $?\n" for text in texts)
    scratch = pathlib.Path(tempfile.mkdtemp(prefix="guide-"))
    wells = scratch / "wells"
    try:
        wells.mkdir()
        for example in [*SOURCE.glob("docs/examples/*.*"), *SOURCE.glob("docs/examples/scripts/*")]:
            shutil.copy(example, wells)
        env = {"PATH": f"{bin_dir}:{os.environ['PATH']}", "HOME": str(scratch), "LC_ALL": "C.UTF-8", "TZ": "UTC",
               "TMPDIR": str(scratch), "VORELA_REGISTRY": f"{bin_dir}/vorela.reg"}
        done = subprocess.run(["bash", "-c", script], cwd=wells, env=env, capture_output=False, timeout=500,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        printed = done.stdout.decode("utf-8", "replace").replace("\r", "").replace(str(wells), HOME)
    finally:
        shutil.rmtree(scratch)
    parts = re.findall(r"\x01\n(.*?)\x02(\d+)\n", printed, re.S)
    return [(text.rstrip("\n").split("\n") if text.strip() else [], int(status)) for text, status in parts]


def agrees(wanted, printed):
    pattern = ""
    for line in wanted:
        if line == "...":
            pattern += r"(?:.*\n)*?"
        else:
            pattern += ".*".join(re.escape(piece) for piece in line.rstrip().split("…")) + r"[ ]*\n"
    return re.fullmatch(pattern, "".join(line + "\n" for line in printed)) is not None


def check_commands(path, bin_dir, update):
    lines = path.read_text(encoding="utf-8").splitlines()
    wanted = list(commands(lines))
    generated = [line for begin, end in blocks(lines, "generated") for line in lines[begin:end]]
    results = run([text for text, _, _ in wanted] + generated, bin_dir)
    faults = [f"{path.name}: status {status} of: {text}"
              for text, (_, status) in zip(generated, results[len(wanted):]) if status != 0]
    for (text, out, end), (printed, status) in reversed(list(zip(wanted, results))):
        declared = STATUS.search(text)
        if status != int(declared.group(1) if declared else 0):
            faults.append(f"{path.name}:{out}: status {status} of: {text}\n  " + "\n  ".join(printed[:8]))
        elif not agrees(lines[out:end], printed):
            if update:
                lines[out:end] = [line.rstrip() for line in printed]
            else:
                faults.append(f"{path.name}:{out}: other output of: {text}\n  " + "\n  ".join(printed[:12]))
    total = len(wanted) + len(generated)
    if len(results) != total:
        faults.append(f"{path.name}: {total} commands, {len(results)} came to an end")
    if update:
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
    return total, faults[::-1]


# --- Links ---

def check_links(pictures):
    """Links to chapters and headings, and pictures that the picture program is to make."""
    texts = {path.name: path.read_text(encoding="utf-8") for path in guide_source.FOLDER.glob("*.md")}
    slugs = {name: [guide_source.slug(heading) for heading in guide_source.headings(text)] for name, text in texts.items()}
    for name in sorted(set(texts) - set(guide_source.chapters())):
        yield f"{name}: not in the contents of index.md"
    for name, found in slugs.items():
        for twin in sorted({slug for slug in found if found.count(slug) > 1}):
            yield f"{name}: two headings are linked by #{twin}"
    used = set()
    for name, text in texts.items():
        for number, line in guide_source.lines_outside_fences(text):
            for target in guide_source.LINK.findall(line):
                chapter, _, anchor = target.partition("#")
                if chapter.startswith("pictures/"):
                    used.add(chapter.removeprefix("pictures/"))
                elif chapter and chapter not in texts:
                    if not (guide_source.FOLDER / chapter).exists():
                        yield f"{name}:{number}: there is no {target}"
                elif anchor and anchor not in slugs[chapter or name]:
                    yield f"{name}:{number}: there is no heading #{anchor} in {chapter or name}"
    for picture in sorted(used ^ pictures):
        yield f"pictures/{picture}: " + ("nothing makes it" if picture in used else "no chapter shows it")


def pictures_made():
    """Files that the build of the guide makes, by the names in its sources."""
    texts = [(SOURCE / "guide" / name).read_text(encoding="utf-8") for name in ("Pictures.cpp", "build_guide.py")]
    return {name for text in texts for name in re.findall(r'"([\w-]+\.(?:png|svg))"', text)}


# --- Reference ---

def section_lines(chapter, heading=None):
    """The chapter's lines, or those from `## heading` to the next of its kind."""
    here = heading is None
    for _, line in guide_source.lines_outside_fences((guide_source.FOLDER / chapter).read_text(encoding="utf-8")):
        if heading is not None and line.startswith("## "):
            here = line[3:].strip() == heading
        elif here:
            yield line


def coded(text):
    return set(re.findall(r"`([^`]+)`", text))


def table_keys(lines):
    """What stands as code in the first cells of the tables' rows."""
    return [key for line in lines if (cell := re.match(r"\| (`.+?`) \|", line)) for key in coded(cell.group(1))]


def check_settings(bin_dir):
    """Key, default and range of every setting against what the program lists."""
    listed = subprocess.run([str(bin_dir / "vorela-batch"), "--list-settings"], stdout=subprocess.PIPE, check=True).stdout
    true = {tuple(line.split("\t")[:3]) for line in listed.decode().splitlines()}
    text = (guide_source.FOLDER / "settings.md").read_text(encoding="utf-8")
    written = set(re.findall(r"^\| `([\w.]+)` \| ([^|]*?) \| ([^|]*?) \|", text, re.M))
    for row in sorted(true ^ written):
        yield f"settings.md: {' | '.join(row)}: " + ("is missing" if row in true else "is not what the program lists")


def keys_of(value, path=""):
    if isinstance(value, dict):
        for key, inner in value.items():
            yield key
            yield from keys_of(inner)
    elif isinstance(value, list):
        for inner in value:
            yield from keys_of(inner)


def check_json(bin_dir):
    with tempfile.TemporaryDirectory() as folder:
        def out(*words):
            return subprocess.run([str(bin_dir / words[0]), *words[1:]], cwd=folder, check=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.DEVNULL).stdout
        truth = out("dravik", "simulate", "w.dkb", "--levels", "2", "--json", "-")
        results = out("vorela-batch", "w.dkb", "--settings", str(SOURCE / "docs/examples/well.ini"), "--json", "-")
        plan = out("vorela-batch", "--plan", "k=100,skin=5", "--json", "-")
        example = SOURCE / "docs" / "examples" / "sheet.csv"
        imported = out("dravik", "import", "-", str(example), "--dry-run", "--json", "-")
    for heading, text in (("Results", results), ("Plan", plan), ("Import", imported), ("Truth of a simulation", truth)):
        lines = list(section_lines("json.md", heading))
        document = json.loads(text)
        if heading == "Plan":  # its inputs stand in the chapter on planning
            for key in document["inputs"].keys() ^ set(table_keys(section_lines("planning.md", "What can be stated"))):
                yield f"planning.md, What can be stated: {key} is missing, or no input"
            document["inputs"] = None
        true = set(keys_of(document))
        for key in sorted(true - coded("\n".join(lines))):
            yield f"json.md, {heading}: {key} is missing"
        for key in sorted(set(table_keys(lines)) - true):
            yield f"json.md, {heading}: there is no key {key}"


def check_messages():
    """What the chapter of messages quotes is what the sources say; and what an exact result can say stands in it."""
    def literals(*rooms):
        text = ""
        for path in sorted(path for room in rooms for path in (SOURCE / room).rglob("*")):
            if path.suffix in (".cpp", ".h"):
                text += path.read_text(encoding="utf-8")
        return re.sub(r'"\s*\n\s*"', "", text)

    plain = literals("general", "platform", "db", "signal", "analysis", "plot", "follow", "app", "plotview", "batch",
                     "dravik")
    quoted = table_keys(section_lines("messages.md"))
    for text in quoted:
        for piece in text.split("…"):
            if len(piece.strip()) > 3 and piece.strip() not in plain:
                yield f"messages.md: no source says \"{piece.strip()}\""
    said = re.findall(r'(?:messages|notes)\.push_back\(\s*"([^"]+)"|\bfault = "([^"]+)"', literals("analysis"))
    for text in sorted({first or second for first, second in said}):
        if not any(text.strip() in row.replace("…", "") or text.strip() in row for row in quoted):
            yield f"messages.md: \"{text}\" is missing"


def main(arguments):
    update = "--update" in arguments
    bin_dir, *names = [word for word in arguments if not word.startswith("--")]
    bin_dir = pathlib.Path(bin_dir).resolve()
    faults = []
    for name in names:
        count, more = check_commands(guide_source.FOLDER / name, bin_dir, update)
        faults += more
        print(f"{name}: {count} commands run")
    if "--reference" in arguments:
        faults += [*check_links(pictures_made()), *check_messages()]
        for check in (check_settings, check_json):
            faults += check(bin_dir)
    print("\n".join(faults) or "all as the guide says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
