#!/usr/bin/env python3
"""Prints the ratios of a benchmark run: for each WHAT, the peers' median time over ours.

Argument: a JSON file that a Google Benchmark program wrote. Benchmarks are named WHAT/WHO; ours are WHAT/qvimage, and
their user counter "target" is the ratio asked for. Exit code 1 when a ratio is under its target.
"""
import json
import sys

OURS = "qvimage"


def medians(path):
    """{what: {who: benchmark}} of the medians, in the order in which the program lists them."""
    with open(path, encoding="utf-8") as file:
        runs = json.load(file)["benchmarks"]
    if any(run["run_type"] == "aggregate" for run in runs):
        runs = [run for run in runs if run.get("aggregate_name") == "median"]
    runs.sort(key=lambda run: (run["family_index"], run["per_family_instance_index"]))  # they ran interleaved
    found = {}
    for run in runs:
        what, _, who = run["run_name"].removesuffix("/real_time").rpartition("/")
        found.setdefault(what, {})[who] = run
    return found


def time_of(run):
    """Processor time, which other programs on the machine disturb least, unless the benchmark asks for real time."""
    return run["real_time" if run["run_name"].endswith("/real_time") else "cpu_time"]


def readable(run):
    """The run's time, and its speed if it says how many bytes it moved."""
    text = f'{time_of(run):.4g} {run["time_unit"]}'
    if "bytes_per_second" in run:
        text += f' ({run["bytes_per_second"] / 1e9:.2f} GB/s)'
    return text


def main(path):
    under = 0
    print(f'{"":44} {"qvimage":>24}   {"ratio":>6} {"asked":>6}   peer')
    for what, whos in medians(path).items():
        ours = whos.pop(OURS, None)
        if ours is None:
            print(f"{what:44} has no {OURS}: {', '.join(whos)}")
            continue
        target = ours.get("target")
        if not whos:
            print(f"{what:44} {readable(ours):>24}")
        for who, peer in whos.items():
            ratio = time_of(peer) / time_of(ours)
            short = target is not None and ratio < target
            under += short
            asked = "" if target is None else f"{target:.2f}"
            mark = "<" if short else " "
            print(f"{what:44} {readable(ours):>24}   {ratio:6.2f} {asked:>6} {mark} {who}: {readable(peer)}")
    if under:
        print(f"{under} under the ratio asked for")
    return 1 if under else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
