#!/usr/bin/env python3
"""Prints the ratios of a benchmark run: for each WHAT, the peers' median time over ours.

Argument: a JSON file that a Google Benchmark program wrote. Benchmarks are named WHAT/WHO; ours are WHAT/qvimage, and
their user counter "target" is the ratio asked for. Instead of it, "most" says how many nanoseconds ours may take, "beyond"
how many more than the peer. Exit code 1 when something asked for is not reached.
"""
import json
import re
import sys

OURS = "qvimage"


def medians(path):
    """{what: {who: benchmark}} of the medians, in the order in which the program lists them; the processor level."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    runs = results["benchmarks"]
    if any(run["run_type"] == "aggregate" for run in runs):
        runs = [run for run in runs if run.get("aggregate_name") == "median"]
    runs.sort(key=lambda run: (run["family_index"], run["per_family_instance_index"]))  # they ran interleaved
    found = {}
    for run in runs:
        what, _, who = re.sub("/(real_time|min_time:[^/]*)", "", run["run_name"]).rpartition("/")
        found.setdefault(what, {})[who] = run
    return found, results["context"].get("qvimage_level")


def time_of(run):
    """Processor time, which other programs on the machine disturb least, unless the benchmark asks for real time."""
    return run["real_time" if run["run_name"].endswith("/real_time") else "cpu_time"]


def too_slow(ours, peer):
    """Does ours miss what its counters ask for?"""
    return ("target" in ours and time_of(peer) < ours["target"] * time_of(ours)) or (
        "beyond" in ours and time_of(ours) > time_of(peer) + ours["beyond"])


def asked_for(ours):
    if "beyond" in ours:
        return f'+{ours["beyond"]:.0f}ns'
    return f'{ours["target"]:.2f}' if "target" in ours else ""


def readable(run):
    """The run's time, and its speed if it says how many bytes it moved."""
    text = f'{time_of(run):.4g} {run["time_unit"]}'
    if "bytes_per_second" in run:
        text += f' ({run["bytes_per_second"] / 1e9:.2f} GB/s)'
    return text


def main(path):
    under = 0
    found, level = medians(path)
    if level:
        print("processor level", level)
    print(f'{"":44} {"qvimage":>24}   {"ratio":>6} {"asked":>6}   peer')
    for what, whos in found.items():
        ours = whos.pop(OURS, None)
        if ours is None:
            print(f"{what:44} has no {OURS}: {', '.join(whos)}")
            continue
        if not whos:
            short = time_of(ours) > ours.get("most", float("inf"))
            under += short
            asked = f'{ours["most"]:.0f}ns' if "most" in ours else ""
            print(f"{what:44} {readable(ours):>24}   {'':6} {asked:>6} {'<' if short else ' '}")
        under += any(too_slow(ours, peer) for peer in whos.values())
        for who, peer in sorted(whos.items(), key=lambda item: time_of(item[1])):  # the fastest first
            ratio = time_of(peer) / time_of(ours)
            short = too_slow(ours, peer)
            asked = asked_for(ours)
            mark = "<" if short else " "
            print(f"{what:44} {readable(ours):>24}   {ratio:6.2f} {asked:>6} {mark} {who}: {readable(peer)}")
    if under:
        print(f"{under} slower than asked for")
    return 1 if under else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
