#!/usr/bin/env python3
"""Holds the guide to the program: runs every command in it and compares what it prints, follows every link, and sets the
reference chapters beside what the programs say of themselves.

  check_guide.py BIN_DIR [--update] [CHAPTER.md ...]

Commands stand in blocks fenced as `console`: a line `$ ...` is a command (`> ...` continues it), what follows is its
output. A line `...` there stands for any lines, `…` for any text in a line. A command that is meant to fail says so by
`# status N`. Each chapter runs in a folder of its own that holds docs/examples. --update writes down what is printed now."""
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

def blocks(lines):
    """(first, last) line indices of the insides of console blocks."""
    begin = None
    for i, line in enumerate(lines):
        if begin is None and line == "```console":
            begin = i + 1
        elif begin is not None and line == "```":
            yield begin, i
            begin = None


def commands(lines):
    """(command, line index of the output's begin, of its end) of every command of a chapter, in order."""
    for begin, end in blocks(lines):
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
        shutil.copytree(SOURCE / "docs" / "examples", wells)
        env = {"PATH": f"{bin_dir}:{os.environ['PATH']}", "HOME": str(scratch), "LC_ALL": "C.UTF-8", "TZ": "UTC",
               "TMPDIR": str(scratch), "VORELA_REGISTRY": f"{bin_dir}/vorela.reg"}
        done = subprocess.run(["bash", "-c", script], cwd=wells, env=env, capture_output=False, timeout=500,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        printed = done.stdout.decode("utf-8", "replace").replace(str(wells), HOME)
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
    results = run([text for text, _, _ in wanted], bin_dir)
    faults = []
    for (text, out, end), (printed, status) in reversed(list(zip(wanted, results))):
        declared = STATUS.search(text)
        if status != int(declared.group(1) if declared else 0):
            faults.append(f"{path.name}:{out}: status {status} of: {text}\n  " + "\n  ".join(printed[:8]))
        elif not agrees(lines[out:end], printed):
            if update:
                lines[out:end] = [line.rstrip() for line in printed]
            else:
                faults.append(f"{path.name}:{out}: other output of: {text}\n  " + "\n  ".join(printed[:12]))
    if len(results) != len(wanted):
        faults.append(f"{path.name}: {len(wanted)} commands, {len(results)} came to an end")
    if update:
        path.write_text("\n".join(lines) + "\n", encoding="utf-8")
    return len(wanted), faults[::-1]


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
    """Files that the picture program and the chapters' build make, by the names in their sources."""
    text = (SOURCE / "guide" / "Pictures.cpp").read_text(encoding="utf-8")
    return set(re.findall(r'"([\w-]+\.(?:png|svg))"', text))


# --- Reference ---

def table_keys(chapter, heading=None):
    """First cells of the tables' rows (below one heading), without their code marks."""
    keys, here = [], heading is None
    for _, line in guide_source.lines_outside_fences((guide_source.FOLDER / chapter).read_text(encoding="utf-8")):
        if heading is not None and re.match(r"#{1,4} ", line):
            here = line.lstrip("#").strip() == heading
        elif here and (cell := re.match(r"\| (`.+?`) \|", line)):
            keys += re.findall(r"`([^`]+)`", cell.group(1))
    return keys


def differences(where, written, true):
    for key in sorted(true - written):
        yield f"{where}: {key} is missing"
    for key in sorted(written - true):
        yield f"{where}: there is no {key}"


def options_of(bin_dir, command):
    text = subprocess.run([str(bin_dir / command[0]), *command[1:], "--help"], stdout=subprocess.PIPE, check=True).stdout
    return set(re.findall(r"^\s+(?:-\w,)?(--[\w-]+)", text.decode(), re.M)) - {"--help", "--help-all"}


def check_options(bin_dir):
    for command in [["vorela-batch"]] + [["dravik", name] for name in subcommands(bin_dir)]:
        heading = " ".join(command)
        written = {word for key in table_keys("commands.md", heading) for word in re.findall(r"--[\w-]+", key)}
        true = options_of(bin_dir, command)
        if heading == "dravik record":  # the simulated test's options stand with `simulate`
            true -= options_of(bin_dir, ["dravik", "simulate"]) - written
        yield from differences(f"commands.md, {heading}", written, true)


def subcommands(bin_dir):
    text = subprocess.run([str(bin_dir / "dravik"), "--help"], stdout=subprocess.PIPE, check=True).stdout.decode()
    return re.findall(r"^  (\w+) ", text.partition("Subcommands:")[2], re.M)


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
        truth = out("dravik", "simulate", "w.dkb", "--levels", "2", "--json", "truth.json")
        results = out("vorela-batch", "w.dkb", "--set", "Parameters.Compressibility=1e-5", "--json", "-")
        plan = out("vorela-batch", "--plan", "k=100,skin=5", "--json", "-")
        example = SOURCE / "docs" / "examples" / "sheet.csv"
        imported = out("dravik", "import", "-", str(example), "--dry-run", "--json", "-")
        assert truth
    written = {heading: set(table_keys("json.md", heading)) for heading in ("Results", "Plan", "Import")}
    for heading, text in (("Results", results), ("Plan", plan), ("Import", imported)):
        yield from differences(f"json.md, {heading}", written[heading], set(keys_of(json.loads(text))))


def check_messages():
    """What the chapter of messages quotes is what the sources say; and what an exact result can say stands in it."""
    sources = ""
    for path in sorted(SOURCE.glob("*/**/*")):
        if path.suffix in (".cpp", ".h", ".ui") and path.relative_to(SOURCE).parts[0] not in ("tests", "bench", "fuzz", "guide"):
            if not path.relative_to(SOURCE).parts[0].startswith("build"):
                sources += path.read_text(encoding="utf-8")
    sources = re.sub(r'"\s*\n\s*"', "", sources).replace("\\r", " ").replace("&amp;", "&")
    plain = re.sub(r" +", " ", sources)
    quoted = table_keys("messages.md")
    for text in quoted:
        for piece in text.split("…"):
            if len(piece.strip()) > 3 and piece.strip() not in plain:
                yield f"messages.md: no source says \"{piece.strip()}\""
    said = re.findall(r'(?:messages|notes)\.push_back\(\s*"([^"]+)"|\bfault = "([^"]+)"', sources)
    for text in sorted({first or second for first, second in said}):
        if not any(text.strip() in row.replace("…", "") or text.strip() in row for row in quoted):
            yield f"messages.md: \"{text}\" is missing"


def main(arguments):
    update = "--update" in arguments
    arguments = [word for word in arguments if word != "--update"]
    bin_dir = pathlib.Path(arguments[0]).resolve()
    total, faults = 0, []
    for name in arguments[1:] or guide_source.chapters():
        count, more = check_commands(guide_source.FOLDER / name, bin_dir, update)
        total += count
        faults += more
    if not arguments[1:]:
        faults += check_links(pictures_made())
        for check in (check_options, check_settings, check_json):
            faults += check(bin_dir)
        faults += check_messages()
    print("\n".join(faults) or f"{total} commands do what the guide says")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
