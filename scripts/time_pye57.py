#!/usr/bin/env python3
"""time_pye57.py FILE...: the processor time that pye57 takes for the points of the first scan of each file."""

import sys
import time
from pathlib import Path

import pye57

ROUNDS = 3

for path in map(Path, sys.argv[1:]):
    best = float("inf")
    for _ in range(ROUNDS):
        begin = time.process_time()
        values = pye57.E57(str(path)).read_scan(0, colors=True, ignore_missing_fields=True)
        best = min(best, time.process_time() - begin)
    points = len(values["cartesianX"])
    print(f"{path.stem:44} pye57 {best / points * 1e9:8.2f} ns a point")
