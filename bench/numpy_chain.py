#!/usr/bin/python3
"""Corrects one band of a RedEdge in numpy, written down plainly from the formulas.

numpy_chain.py FOLDER [--check]

FOLDER holds what `chain_benchmark --dump FOLDER` wrote. The program compares its values with those of
the chain. Without --check it also prints how long one correction takes: the median in seconds.
"""

import os

for name in ("OMP_NUM_THREADS", "OPENBLAS_NUM_THREADS", "MKL_NUM_THREADS"):
    os.environ[name] = "1"

import json
import pathlib
import statistics
import sys
import time

try:
    import numpy as np
except ImportError:
    sys.exit(77)

# The chain rounds to 32-bit floats after each step: six roundings of 6e-8.
TOLERANCE = 2e-6
REPETITIONS = 15


def vignetting(p):
    """Relative brightness of each pixel: a polynomial of the distance to the centre."""
    x, y = np.meshgrid(np.arange(p["width"]) - p["center"][0], np.arange(p["height"]) - p["center"][1])
    return np.polyval(p["vignetting"][::-1], np.sqrt(x * x + y * y))


def correct(raw, p):
    """Radiance, but for a constant factor, of a band of raw values; no_data where it is unknown."""
    band = raw.astype(np.float64)
    valid = (band > p["least"] + p["dark"]) & (band < p["largest"])
    columns, rows = np.transpose(p["bad_pixels"])
    valid[rows, columns] = False
    signal = (band - p["dark"]) / vignetting(p)
    row = np.arange(p["height"])
    exposure = p["exposure"] + p["k1"] * row - p["k2"] * p["exposure"] * row
    factor = p["f_number"] ** 2 / (exposure * p["iso"] * p["sensitivity"]) / p["samples"]
    return np.where(valid, signal * factor[:, np.newaxis], p["no_data"])


def seconds(raw, p):
    """Processor time, as chain_benchmark counts it."""
    start = time.process_time()
    correct(raw, p)
    return time.process_time() - start


def main():
    folder = pathlib.Path(sys.argv[1])
    p = json.loads((folder / "parameters.json").read_text())
    shape = (p["height"], p["width"])
    raw = np.fromfile(folder / "input.f32", np.float32).reshape(shape)
    expected = np.fromfile(folder / "result.f32", np.float32).reshape(shape)

    result = correct(raw, p)
    if not np.array_equal(result == p["no_data"], expected == p["no_data"]):
        sys.exit("numpy and the chain differ in which pixels have no value")
    difference = np.max(np.abs(result / expected - 1.0))
    if not difference <= TOLERANCE:
        sys.exit(f"numpy and the chain differ by {difference:.1e} of a value")
    if "--check" not in sys.argv:
        print(statistics.median(seconds(raw, p) for _ in range(REPETITIONS)))


if __name__ == "__main__":
    main()
