#!/usr/bin/env python3
"""Holds the sources to the rules of the house: arrows between rooms go down only, no circle of files, no type name
twice in a namespace, no Qt where there is none.   check_house.py SOURCE_DIR"""
import pathlib
import re
import sys

# What each room may include besides itself.
SIGNAL = {"general", "interfaces", "platform", "db"}
MAY_INCLUDE = {
    "general": set(),
    "interfaces": set(),
    "platform": {"general", "interfaces"},
    "db": {"general", "interfaces", "platform"},
    "signal": SIGNAL,
    "analysis": SIGNAL | {"signal"},
    "plot": SIGNAL | {"signal"},
    "report": SIGNAL | {"signal", "analysis", "plot"},
    "plotview": SIGNAL | {"signal", "analysis", "plot", "report"},
    "follow": SIGNAL | {"signal", "analysis", "plot"},
    "app": SIGNAL | {"signal", "analysis", "plot", "report", "plotview", "follow"},
    "batch": SIGNAL | {"signal", "analysis", "plot", "report", "plotview", "follow"},
    "dravik/store": {"interfaces"},
    "dravik/filter": {"general", "interfaces"},
    "dravik/exchange": {"general", "platform", "interfaces"},
    "dravik/chooser": {"general", "platform", "interfaces"},
    "dravik/importer": {"general", "platform", "interfaces", "dravik/exchange"},
    "dravik/tool": {"general", "platform", "interfaces", "dravik/exchange", "dravik/store"},
}
# The window's programs put the acquisition side's dialogs behind the library's calls and the File menu.
DIALOGS_OF_THE_OTHER_SIDE = {"app": {"dravik/chooser", "dravik/importer"}}
INCLUDE = re.compile(r'^#include "([^"]+)"', re.M)
NAMESPACE = re.compile(r"^namespace(?: ([\w:]+))? \{")
TYPE = re.compile(r"^(?:struct|class|enum class|enum)(?: \[\[\w+\]\])? (\w+)\b(?!\s*::)(?!.*;)")
QT = re.compile(r"^#include <Q\w+>", re.M)


def room_of(path):
    parts = path.split("/")
    room = "/".join(parts[:2]) if parts[0] == "dravik" else parts[0]
    return room if room in MAY_INCLUDE else None


def arrows(files):
    for path, text in files.items():
        room = room_of(path)
        for target in INCLUDE.findall(text):
            wanted = room_of(target)
            allowed = MAY_INCLUDE[room] | DIALOGS_OF_THE_OTHER_SIDE.get(room, set()) | {room, None}
            if wanted not in allowed:
                yield f"{path}: includes {target}, which stands above or beside {room}/"


def circles(files):
    state = {}

    def walk(path, way):
        if state.get(path) == "done" or path not in files:
            return None
        if path in way:
            return " -> ".join(way[way.index(path):] + [path])
        for target in INCLUDE.findall(files[path]):
            found = walk(target, way + [path])
            if found:
                return found
        state[path] = "done"
        return None

    for path in files:
        found = walk(path, [])
        if found:
            yield f"circle: {found}"
            return


def types_of(text):
    """(namespace, name) of every type defined in a namespace that the linker sees."""
    inside = []
    for line in text.splitlines():
        opened = NAMESPACE.match(line)
        if opened:
            inside.append(opened.group(1) or "(own)")
        elif line.startswith("}  // namespace"):
            inside.pop()
        elif inside and "(own)" not in inside:
            defined = TYPE.match(line)
            if defined:
                yield "::".join(inside), defined.group(1)


def twins(files):
    seen = {}
    for path, text in files.items():
        for name in types_of(text):
            if seen.setdefault(name, path) != path:
                yield f"{path}: type {'::'.join(name)} is defined in {seen[name]} too"


def forms_of(files, source):
    """The files of the targets that may use Qt Widgets, as the build states them."""
    for room in {room_of(path) for path in files}:
        build = source / room / "CMakeLists.txt"
        for listed in re.findall(r"vorela_forms\(\s*\w+\s+SOURCES(.*?)LINK", build.read_text(), re.S) if build.exists() else []:
            for name in listed.split():
                yield f"{room}/" + re.sub(r"\.(cpp|h)$", "", name)


def qt_in_modules(files, source):
    qt_rooms = {"app", "plotview", "dravik/chooser", "dravik/importer"}
    forms = set(forms_of(files, source))
    for path, text in files.items():
        if room_of(path) not in qt_rooms or path.rsplit("/", 1)[1].startswith("mod"):
            is_form = path == "batch/main.cpp" or re.sub(r"\.(cpp|h)$", "", path) in forms
            if QT.search(text) and not is_form:
                yield f"{path}: a module without a window includes Qt"


def main(source):
    files = {}
    for top in {room.split("/")[0] for room in MAY_INCLUDE}:
        for file in sorted((source / top).rglob("*")):
            if file.suffix in (".h", ".cpp", ".inl"):
                files[file.relative_to(source).as_posix()] = file.read_text(encoding="utf-8")
    if len(files) < 100:
        print(f"{source}: only {len(files)} sources found")
        return 1
    faults = [fault for check in (arrows, circles, twins) for fault in check(files)]
    faults += qt_in_modules(files, source)
    print("\n".join(faults) or f"{len(files)} sources stand as they should")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
