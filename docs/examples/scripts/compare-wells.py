#!/usr/bin/env python3
"""Reads a table of many wells (vorela-batch --table, one file or several) with numpy: permeability-thickness of every
well, the mean of ln k with its standard error from the errors of the intervals, and a check whether the intervals agree.

    ./compare-wells.py wells.csv
"""
import csv
import sys

import numpy as np

COLUMNS = ("k_mD", "sigma_ln_k", "skin", "depth1_ft", "depth2_ft")


def number(text):
    return float(text) if text else np.nan  # an empty cell could not be computed


def read(paths):
    """Names of the databases and an array with a column for each of COLUMNS."""
    lines = []
    for path in paths:
        with open(path, newline="", encoding="utf-8") as file:
            lines += list(csv.DictReader(file))
    names = np.array([line["database"] for line in lines])
    return names, np.array([[number(line[column]) for column in COLUMNS] for line in lines]).reshape(-1, len(COLUMNS))


def main():
    names, table = read(sys.argv[1:])
    k, sigma, skin, top, bottom = table.T
    known = np.isfinite(k) & np.isfinite(sigma) & (sigma > 0)
    print(f"{len(set(names))} wells, {len(k)} intervals, {known.sum()} with a result and its error")
    if not known.any():
        return
    for name in dict.fromkeys(names[known]):
        here = known & (names == name)
        print(f"{name}: k h {np.sum(k[here] * (bottom - top)[here]):.5g} mD ft, skin {np.round(skin[here], 2).tolist()}")
    weights = 1 / sigma[known] ** 2
    mean = np.average(np.log(k[known]), weights=weights)
    spread = np.sum(weights * (np.log(k[known]) - mean) ** 2) / max(known.sum() - 1, 1)
    print(f"all: k {np.exp(mean):.4g} mD, standard error of ln k {weights.sum() ** -0.5:.2g}, "
          f"scatter over errors {np.sqrt(spread):.3g} (1: the intervals agree)")


if __name__ == "__main__":
    main()
