"""What scripts of peers share: a folder, a seed, comparisons that are counted, other programs."""
import os
import random
import subprocess
import sys
import tempfile

import numpy as np

seed = int(os.environ.get("SEED", random.randrange(1 << 30)))
rng = np.random.default_rng(seed)
folder = tempfile.TemporaryDirectory(prefix="qvimage-peers-")
counts = {"passed": 0, "failed": 0}


def path(name):
    return os.path.join(folder.name, name)


def check(what, good, detail=""):
    counts["passed" if good else "failed"] += 1
    if not good:
        print("FAILED", what, detail)


def run(*command):
    return subprocess.run(command, capture_output=True, text=True)


def run_bytes(*command):
    return subprocess.run(command, capture_output=True)


def output_of(*command, given=None):
    """What a program that must succeed prints, in bytes."""
    return subprocess.run(command, input=given, capture_output=True, check=True).stdout


def finish():
    print(f"seed {seed}\n{counts['passed']} passed, {counts['failed']} failed")
    sys.exit(1 if counts["failed"] or not counts["passed"] else 0)
