#!/usr/bin/env python3
"""Builds the guide: pictures from the program, HTML pages with one style sheet, and a PDF of all chapters.

  build_guide.py BIN_DIR PICTURES_PROGRAM OUT_DIR VERSION

Makes OUT_DIR/html/*.html with pictures/ beside them and OUT_DIR/vorela-guide.pdf. Needs python3-markdown and, for the
PDF, weasyprint."""
import contextlib
import datetime
import fcntl
import html
import json
import os
import pathlib
import re
import shutil
import struct
import subprocess
import sys

import markdown
import weasyprint

import guide_source

SOURCE = guide_source.FOLDER.parent.parent
WELL = ["--settings", "well.ini", "--set", "Parameters.1Height=30"]
SIMULATED = ["--levels", "2", "--depths", "9700,9750", "--permeability", "100,100", "--skin", "5,3", "--height", "30,60",
             "--seed", "8"]
ZONE = [word for key in ("TimeAuto=0", "Fixed=0", "Start=600", "End=1560") for word in ("--set", "Presentation." + key)]
# Windows show where their databases are. The pictures are to be the same wherever they are made.
WELLS = pathlib.Path("/tmp/vorela-guide")
PLOTS = {"quality-good.svg": "0.01", "quality-noisy.svg": "0.1"}  # by their noise


# --- Pictures ---

@contextlib.contextmanager
def wells_folder():
    """WELLS, empty and for this build alone: another one that is at work there is waited for."""
    while True:
        WELLS.mkdir(mode=0o700, exist_ok=True)
        handle = os.open(WELLS, os.O_RDONLY | os.O_DIRECTORY | os.O_NOFOLLOW)
        if os.fstat(handle).st_uid != os.geteuid():
            sys.exit(f"{WELLS}: the pictures are made there, and it is another user's: remove it")
        fcntl.flock(handle, fcntl.LOCK_EX)
        if WELLS.exists() and os.path.samestat(os.fstat(handle), WELLS.stat()):
            break
        os.close(handle)  # the build that was waited for has removed it
    try:
        for old in WELLS.iterdir():  # of a build that was killed
            shutil.rmtree(old) if old.is_dir() else old.unlink()
        yield WELLS
    finally:
        shutil.rmtree(WELLS)
        os.close(handle)


def pictures(bin_dir, program, folder, work):
    """Every picture of the guide, from databases made for it."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    shutil.copytree(SOURCE / "docs" / "examples", work, dirs_exist_ok=True)
    (work / "level1.csv").unlink()  # the logger's file gives way to the simulated level of the first test
    env = dict(os.environ, PATH=f"{bin_dir}:{os.environ['PATH']}", VORELA_REGISTRY=str(bin_dir / "vorela.reg"),
               XDG_CONFIG_HOME=str(work / "config"), LC_ALL="C.UTF-8")

    def run(*words):
        subprocess.run([str(word) for word in words], cwd=work, env=env, check=True, stdout=subprocess.DEVNULL,
                       stderr=subprocess.DEVNULL)

    for file, noise in PLOTS.items():
        name = pathlib.Path(file).stem + ".dkb"
        run("dravik", "simulate", name, *SIMULATED, "--noise", noise)
        run("vorela-batch", name, *WELL, *ZONE, "--plot", folder / file, "--plot-dataset", "LEVEL1", "--size", "1000x600")
    run("dravik", "simulate", "demo.dkb", "--noise", "0.005", "--drift", "0.1")
    run("dravik", "export", "demo.dkb", "LEVEL1", "--curves", "ZG,RTC", "--time-format", "dates", "-o", "level1.csv")
    screen = {"screens": [{"name": "guide", "x": 0, "y": 0, "width": 3200, "height": 2400, "logicalDpi": 96,
                           "logicalBaseDpi": 96, "dpr": 1}]}
    (work / "screen.json").write_text(json.dumps(screen), encoding="utf-8")
    env |= {"QT_QPA_PLATFORM": f"offscreen:configfile={work / 'screen.json'}", "QT_SCALE_FACTOR": "2"}
    settings = (work / "well.ini").read_text(encoding="utf-8")
    zone = "\n".join(word.removeprefix("Presentation.") for word in ZONE[1::2])
    (program.parent / "Vorela.ini").write_text(f"{settings}[Presentation]\n{zone}\n[Exact]\n", encoding="utf-8")
    subprocess.run([str(program), str(folder), str(work)], env=env, check=True)


def width_of(picture):
    """Of a PNG of two pixels a point, in points of the screen; nothing for a drawing."""
    if picture.suffix != ".png":
        return ""
    return f' style="width: {struct.unpack(">I", picture.read_bytes()[16:20])[0] // 2}px"'


# --- HTML ---

def console(match):
    """What is typed stands out, and the prompt is not copied with it."""
    lines, widest = [], 0
    for line in html.unescape(match.group(1)).rstrip("\n").split("\n"):
        prompt = line[:2] if line.startswith(("$ ", "> ")) else ">" if line == ">" else ""
        rest = html.escape(line[len(prompt):], quote=False)
        widest = max(widest, 0 if prompt else len(line))
        lines.append(f'<b><span class="prompt">{html.escape(prompt)}</span>{rest}</b>' if prompt else rest)
    columns = next((f' class="wide{columns}"' for columns in (110, 125, 160) if widest <= columns), "")
    return f"<pre{columns}><code>" + "\n".join(lines) + "</code></pre>"


def undivided(match):
    """A table of a few lines stands on one page."""
    table, few = match.group(), 12
    return table.replace("<table>", '<table class="short">') if table.count("<tr>") <= few else table


def filled(text, bin_dir):
    """Blocks of commands whose output is that of today's programs."""
    def run(match):
        lines = []
        for command in match.group(1).splitlines():
            words = command.split()
            printed = subprocess.run([str(bin_dir / words[0]), *words[1:]], stdout=subprocess.PIPE, check=True).stdout
            lines += ["$ " + command, printed.decode("utf-8").strip("\n")]
        return "```console\n" + "\n".join(lines) + "\n```"
    return re.sub(r"^```generated\n(.*?)\n```$", run, text, flags=re.S | re.M)


def body_of(name, bin_dir, pictures_folder):
    """A chapter as HTML; its links still lead to .md files."""
    text = filled((guide_source.FOLDER / name).read_text(encoding="utf-8"), bin_dir)
    extensions = ["tables", "fenced_code", "toc", "sane_lists"]
    settings = {"toc": {"slugify": lambda heading, separator: guide_source.slug(heading)}}
    body = markdown.markdown(text, extensions=extensions, extension_configs=settings, tab_length=3)
    body = re.sub(r'<pre><code class="language-console">(.*?)</code></pre>', console, body, flags=re.S)
    body = re.sub(r"<p>(?=<img [^>]*></p>)", '<p class="picture">', body)
    body = re.sub(r"<code>(?=[^<\n]{1,32}</code>)", '<code class="word">', body)  # no line ends within an option
    body = re.sub(r"<table>.*?</table>", undivided, body, flags=re.S)
    return re.sub(r'<img alt="([^"]*)" src="pictures/([^"]+)" ?/>',
                  lambda m: f'<img alt="{m.group(1)}" src="pictures/{m.group(2)}"{width_of(pictures_folder / m.group(2))}>',
                  body)


def title_of(name):
    return guide_source.headings((guide_source.FOLDER / name).read_text(encoding="utf-8"))[0]


def page(name, body, version):
    names = guide_source.chapters()
    entries = "".join(f'<li><a href="{other[:-3]}.html"{" class=here" if other == name else ""}>{title_of(other)}</a></li>'
                      for other in names)
    behind = names[names.index(name) + 1:]
    following = f'<p class="next">Next: <a href="{behind[0][:-3]}.html">{title_of(behind[0])}</a></p>' if behind else ""
    body = re.sub(r'href="([\w-]+)\.md(#[^"]*)?"', lambda m: f'href="{m.group(1)}.html{m.group(2) or ""}"', body)
    return f"""<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>{title_of(name)} – Vorela {version}</title>
<link rel="stylesheet" href="guide.css">
</head>
<body>
<nav><ol>{entries}</ol></nav>
<main>
{body}
{following}
</main>
</body>
</html>
"""


def book(bodies, version):
    """All chapters as one document: a heading `x` of chapter c is linked by #c--x."""
    parts = []
    for name, body in bodies.items():
        stem = name[:-3]
        body = re.sub(r'id="([^"]+)"', rf'id="{stem}--\1"', body)
        body = re.sub(r'href="#([^"]+)"', rf'href="#{stem}--\1"', body)
        body = re.sub(r'href="([\w-]+)\.md#([^"]+)"', r'href="#\1--\2"', body)
        body = re.sub(r'href="([\w-]+)\.md"', r'href="#\1"', body)
        # On paper a window is drawn with letters of the size of the text.
        body = re.sub(r'style="width: (\d+)px"', lambda m: f'style="width: {int(m.group(1)) * 3 // 4}px"', body)
        kind = "chapter contents" if name == "index.md" else "chapter"
        parts.append(f'<section class="{kind}" id="{stem}">{body}</section>')
    return f"""<!DOCTYPE html><html lang="en"><head><meta charset="utf-8"><title>Vorela: the guide</title>
<link rel="stylesheet" href="guide.css"></head><body><main>
<div class="title"><h1>Vorela</h1><p>The guide to version {version}</p></div>
{"".join(parts)}</main></body></html>"""


def write_pdf(document, pages, file):
    """The same bytes in every folder and on every day: a PDF calls its pictures by where they were found, and its fonts bear
    a date, which is that of the version."""
    base = "file:///guide/"
    day = re.search(r"^## \S+ \((.*)\)$", (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8"), re.M).group(1)
    moment = datetime.datetime.fromisoformat(day + "T00:00:00+00:00").timestamp()
    os.environ.setdefault("SOURCE_DATE_EPOCH", str(int(moment)))
    weasyprint.HTML(string=document, base_url=base, url_fetcher=lambda url: weasyprint.default_url_fetcher(
        (pages / url.removeprefix(base)).as_uri())).write_pdf(str(file))


def main(bin_dir, program, out, version):
    bin_dir, program, out = (pathlib.Path(path).resolve() for path in (bin_dir, program, out))
    pages = out / "html"
    shutil.rmtree(pages, ignore_errors=True)
    pages.mkdir(parents=True)
    with wells_folder() as wells:
        pictures(bin_dir, program, pages / "pictures", wells)
    shutil.copy(pathlib.Path(__file__).with_name("guide.css"), pages)
    bodies = {name: body_of(name, bin_dir, pages / "pictures") for name in guide_source.chapters()}
    for name, body in bodies.items():
        (pages / f"{name[:-3]}.html").write_text(page(name, body, version), encoding="utf-8")
    write_pdf(book(bodies, version), pages, out / "vorela-guide.pdf")


if __name__ == "__main__":
    main(*sys.argv[1:5])
