#!/usr/bin/env python3
"""Reads results of vorela-batch --json and draws the permeability and skin of every interval against depth, each with
its 95 % range, as an SVG picture. Only Python's own library.

    vorela-batch well.dkb --json well.json
    ./profile.py well.json -o well.svg
"""
import argparse
import json
import math

WIDTH, HEIGHT, MARGIN, GAP = 760, 560, 70, 40
KNOWN = "vorela-results/1."  # a later second number only adds keys


def intervals_of(path):
    """Of one well: depth span, recommended estimate and grade of each interval; without an estimate None."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    if not results.get("schema", "").startswith(KNOWN):
        raise SystemExit(f"{path}: schema {results.get('schema')!r} is not {KNOWN}x")
    for places, exact in zip(results["intervals"], results["exact"]["intervals"]):
        method = exact["recommended"]
        yield {"top": places["depth1"], "bottom": places["depth2"], "label": exact["label"], "grade": exact["grade"],
               "method": method, "estimate": exact[method] if method else None}


class Axis:
    """A scale along a line of pixels."""

    def __init__(self, low, high, start, end, logarithmic=False):
        self.log = logarithmic
        self.low, self.high = (math.log10(low), math.log10(high)) if logarithmic else (low, high)
        if self.high - self.low < 1e-9:
            self.low, self.high = self.low - 0.5, self.high + 0.5
        self.start, self.end = start, end

    def __call__(self, value):
        place = math.log10(value) if self.log else value
        share = min(max((place - self.low) / (self.high - self.low), 0), 1)
        return self.start + share * (self.end - self.start)

    def ticks(self):
        if self.log:
            return [10 ** n for n in range(math.floor(self.low), math.ceil(self.high) + 1) if self.low <= n <= self.high]
        step = 10 ** math.floor(math.log10((self.high - self.low) / 2))
        first = math.ceil(self.low / step)
        return [n * step for n in range(first, math.floor(self.high / step) + 1)][::max(1, int((self.high - self.low) / step / 6))]


def panel(axis, depth, title, key, range_key, intervals):
    """Bars of the ranges, lines of the values, of one quantity."""
    yield f'<text x="{(axis.start + axis.end) / 2}" y="{MARGIN - 35}" text-anchor="middle">{title}</text>'
    yield f'<rect x="{axis.start}" y="{MARGIN}" width="{axis.end - axis.start}" height="{HEIGHT - 2 * MARGIN}" class="frame"/>'
    for tick in axis.ticks():
        yield f'<line x1="{axis(tick)}" x2="{axis(tick)}" y1="{MARGIN}" y2="{HEIGHT - MARGIN}" class="grid"/>'
        yield f'<text x="{axis(tick)}" y="{MARGIN - 12}" text-anchor="middle" class="small">{tick:g}</text>'
    for interval in intervals:
        top, bottom, found = depth(interval["top"]), depth(interval["bottom"]), interval["estimate"]
        if not found or found[key] is None:
            continue
        low, high = found[range_key]
        left = axis(low) if low is not None else axis.start
        right = axis(high) if high is not None else axis.end
        yield f'<rect x="{left}" y="{top}" width="{max(right - left, 1)}" height="{bottom - top}" class="range"/>'
        yield f'<line x1="{axis(found[key])}" x2="{axis(found[key])}" y1="{top}" y2="{bottom}" class="value"/>'


def span(intervals, key, range_key):
    values = [found[key] for found in (one["estimate"] for one in intervals) if found and found[key] is not None]
    values += [end for one in intervals if one["estimate"] for end in one["estimate"][range_key] if end is not None]
    return (min(values), max(values)) if values else (1, 10)


def picture(intervals):
    depth = Axis(min(one["top"] for one in intervals), max(one["bottom"] for one in intervals), MARGIN, HEIGHT - MARGIN)
    middle = (MARGIN + WIDTH - MARGIN) / 2
    k_low, k_high = span(intervals, "permeability", "permeabilityRange")
    skin_low, skin_high = span(intervals, "skin", "skinRange")
    k_axis = Axis(k_low / 2, k_high * 2, MARGIN, middle - GAP / 2, logarithmic=True)
    skin_axis = Axis(skin_low - 1, skin_high + 1, middle + GAP / 2, WIDTH - MARGIN)
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif">',
             "<style>.frame{fill:none;stroke:#000}.grid{stroke:#ddd}.range{fill:#9db4c5}.value{stroke:#c22;stroke-width:3}"
             ".small{font-size:11px}</style><rect width='100%' height='100%' fill='#fff'/>"]
    parts += panel(k_axis, depth, "permeability, mD", "permeability", "permeabilityRange", intervals)
    parts += panel(skin_axis, depth, "skin", "skin", "skinRange", intervals)
    for one in intervals:
        for place in (one["top"], one["bottom"]):
            parts.append(f'<text x="{MARGIN - 6}" y="{depth(place) + 4}" text-anchor="end" class="small">{place:g} ft</text>')
        parts.append(f'<text x="{WIDTH - MARGIN + 8}" y="{(depth(one["top"]) + depth(one["bottom"])) / 2}" '
                     f'class="small">{one["grade"] or "-"} {one["method"] or ""}</text>')
    return "\n".join(parts + ["</svg>\n"])


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("results", help="file of vorela-batch --json")
    arguments.add_argument("-o", "--output", help="picture, .svg")
    given = arguments.parse_args()
    intervals = list(intervals_of(given.results))
    if not intervals:
        raise SystemExit(f"{given.results}: no interval: they lie between two levels")
    for one in intervals:
        found = one["estimate"]
        value = f"k {found['permeability']:.4g} mD  skin {found['skin']:.3g}" if found and found["permeability"] else "no result"
        print(f"{one['label']:>20} ft  {value}  grade {one['grade'] or '-'}  {one['method'] or ''}")
    if given.output:
        with open(given.output, "w", encoding="utf-8") as file:
            file.write(picture(intervals))


if __name__ == "__main__":
    main()
