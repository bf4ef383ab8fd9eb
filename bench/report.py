#!/usr/bin/python3
"""Times the RedEdge's chain and its numpy counterpart, and prints ratios.

report.py [--check] BUILD_FOLDER

Both programs take turns, a few seconds each, so that a busy machine slows both. --check compares
their values and measures nothing.
"""

import json
import pathlib
import statistics
import subprocess
import sys
import tempfile

ROUNDS = 5
LINES = ("onePass", "warm", "cold", "map", "mapFloor")
TITLES = {
    "onePass": "one pass: band times a number, in place",
    "warm": "chain, maps at hand",
    "cold": "chain, maps made",
    "map": "vignetting map and its inverse",
    "mapFloor": "root and polynomial of the map alone",
    "numpy": "numpy, map made",
    "numpy/cold": "numpy / chain, maps made",
    "numpy/warm": "numpy / chain, maps at hand",
}
AIMS = {
    "warm": ("<=", 8),
    "cold": ("<=", 90),
    "numpy/cold": (">=", 10),
    "numpy/warm": (">=", 60),
}


def run(*command):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        sys.exit(done.returncode)
    return done.stdout


def chain_times(program):
    """Median seconds of each line."""
    report = json.loads(
        run(
            program,
            "--benchmark_format=json",
            "--benchmark_enable_random_interleaving=true",
            "--benchmark_repetitions=9",
            "--benchmark_min_time=0.3",
        )
    )
    times = {line: [] for line in LINES}
    for entry in report["benchmarks"]:
        if entry["run_type"] == "iteration":
            times[entry["name"].split("/")[0]].append(entry["real_time"] * 1e-6)
    return {line: statistics.median(values) for line, values in times.items()}


def ratios(times):
    result = {line: times[line] / times["onePass"] for line in (*LINES, "numpy")}
    for line in ("cold", "warm"):
        result[f"numpy/{line}"] = times["numpy"] / times[line]
    return result


def main():
    arguments = [word for word in sys.argv[1:] if word != "--check"]
    if len(arguments) != 1:
        sys.exit(__doc__)
    program = pathlib.Path(arguments[0]) / "bin" / "chain_benchmark"
    numpy_chain = pathlib.Path(__file__).with_name("numpy_chain.py")
    with tempfile.TemporaryDirectory() as folder:
        run(program, "--dump", folder)
        run(sys.executable, numpy_chain, folder, "--check")
        if "--check" in sys.argv:
            return
        rounds = []
        for _ in range(ROUNDS):
            times = chain_times(program)
            times["numpy"] = float(run(sys.executable, numpy_chain, folder))
            rounds.append(ratios(times))

    print("RedEdge band of 1280 x 960, camera correction; medians, in passes over the band")
    for line, title in TITLES.items():
        values = [r[line] for r in rounds]
        text = f"{title:42}{statistics.median(values):8.1f}   ({min(values):.1f} .. {max(values):.1f})"
        if line in AIMS:
            sign, bound = AIMS[line]
            median = statistics.median(values)
            kept = median <= bound if sign == "<=" else median >= bound
            text = f"{text:74}aim {sign} {bound:<4}{'kept' if kept else 'MISSED'}"
        print(text)


main()
