#!/usr/bin/env python3
"""Prints what the benchmarks of a results folder found, and writes it as a page of docs."""

import json
import pathlib
import statistics
import sys


def main():
    for path in sorted(pathlib.Path(sys.argv[1]).glob("*.json")):
        if path.stat().st_size == 0:
            continue
        runs = {}
        for entry in json.loads(path.read_text())["benchmarks"]:
            if entry["run_type"] != "iteration":
                continue
            if entry.get("error_occurred"):
                print(f"{entry['name']}: {entry['error_message']}")
                continue
            runs.setdefault(entry["run_name"], []).append(entry)
        for name, entries in sorted(runs.items()):
            time = statistics.median(e["cpu_time"] for e in entries)
            unit = entries[0]["time_unit"]
            pixels = entries[0].get("pixels")
            each = f"  {time * 1000 / pixels:8.3f} ns/pixel" if pixels and unit == "us" else ""
            print(f"{name:60} {time:12.3f} {unit}{each}")


if __name__ == "__main__":
    main()
