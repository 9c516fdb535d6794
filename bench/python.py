"""The Python package beside numpy on the same frames, with the options and results of a Google Benchmark
program, as far as scripts/bench uses them. Names are WHAT/WHO."""
import argparse
import json
import os
import random
import statistics
import tempfile
import time

import numpy as np

import qvimage as qv

FRAME = np.random.default_rng(1).integers(0, 4096, (1080, 1920), np.uint16)
NO_SLOWER_THAN = 1.1  # times numpy's copy of the frame


def cases(folder):
    """WHAT/WHO, what is done, and the ratio asked for."""
    image, room = qv.Image.over(FRAME, bits=12), np.empty_like(FRAME)
    wide = np.empty((1080, 2000), np.uint16)[:, :1920]
    eight = np.empty(FRAME.shape, np.uint8)
    path = os.path.join(folder, 'frame.tif')
    image.save(path)
    file, narrow = qv.open(path), image.convert(8)
    asked = 1 / NO_SLOWER_THAN
    yield 'frame/qvimage', lambda: image.read(out=room), asked
    yield 'frame/numpy.copyto', lambda: np.copyto(room, FRAME), None
    yield 'padded_rows/qvimage', lambda: image.read(out=wide), None
    yield 'padded_rows/numpy.copyto', lambda: np.copyto(wide, FRAME), None
    yield 'as_8_bits/qvimage', lambda: narrow.read(out=eight), asked
    yield 'as_8_bits/numpy', lambda: np.right_shift(FRAME, 4, out=eight, casting='unsafe'), None
    yield 'tiff_read/qvimage', lambda: file.read(out=room), None
    yield 'tiff_read/numpy.fromfile', lambda: np.fromfile(path, np.uint16, FRAME.size), None
    yield 'small_part/qvimage', lambda: image[500:508, 900:908].read(), None
    yield 'small_part/numpy', lambda: FRAME[500:508, 900:908].copy(), None


def nanoseconds(action, seconds):
    """Processor and real time of a call, by as many as take so long."""
    calls, elapsed = 0, 0
    real, cpu = time.perf_counter_ns(), time.process_time_ns()
    while elapsed < seconds * 1e9:
        for _ in range(5):
            action()
        calls += 5
        elapsed = time.perf_counter_ns() - real
    return (time.process_time_ns() - cpu) / calls, elapsed / calls


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--benchmark_repetitions', type=int, default=7)
    parser.add_argument('--benchmark_min_time', type=float, default=.1)
    parser.add_argument('--benchmark_out', required=True)
    options, _ = parser.parse_known_args()
    with tempfile.TemporaryDirectory() as folder:
        listed = list(cases(folder))
        times = {name: [] for name, _, _ in listed}
        for action in (a for _, a, _ in listed):
            action()
        for _ in range(options.benchmark_repetitions):  # a slow moment of the machine hits all alike
            for name, action, _ in random.sample(listed, len(listed)):
                times[name].append(nanoseconds(action, options.benchmark_min_time))
    results = []
    for i, (name, _, asked) in enumerate(listed):
        cpu, real = (statistics.median(t) for t in zip(*times[name]))
        results.append({'run_name': name, 'run_type': 'aggregate', 'aggregate_name': 'median',
                        'family_index': i, 'per_family_instance_index': 0, 'time_unit': 'ns',
                        'cpu_time': cpu, 'real_time': real, **({'target': asked} if asked else {})})
    with open(options.benchmark_out, 'w') as file:
        json.dump({'context': {}, 'benchmarks': results}, file)


if __name__ == '__main__':
    main()
