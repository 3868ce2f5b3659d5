#!/usr/bin/env python3
"""Prints the rows of a benchmark run side by side: scripts/bench-table.py FILE.json

A row is named job/side or job/side/arguments. Each job has a line for each peer, with ours in front."""
import json
import sys

NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
SCALES = ((1e9, "s"), (1e6, "ms"), (1e3, "us"), (1, "ns"))
# Counters that are shown instead of the time: what a row measures is not its speed.
AMOUNTS = ("kept_per_entry", "searched_per_entry", "bytes_kept", "kept_bytes")


def least(rows):
    """Job and side to what was measured, the least of the repetitions."""
    found = {}
    for row in rows:
        if row["run_type"] != "iteration" or row.get("error_occurred"):
            continue
        parts = row["run_name"].split("/")
        real = "real_time" in parts
        parts = [part for part in parts if part != "real_time" and not part.startswith("iterations:")]
        job, side, arguments = parts[0], parts[1], "/".join(parts[2:])
        time = row["real_time" if real else "cpu_time"] * NANOSECONDS[row["time_unit"]]
        measured = {"time": time} | {name: row[name] for name in AMOUNTS if name in row}
        if job.endswith("_memory"):
            del measured["time"]
        for what, value in measured.items():
            key = (f"{job} {arguments}".strip(), what)
            sides = found.setdefault(key, {})
            sides[side] = min(value, sides.get(side, value))
    return found


def text(what, value):
    if what != "time":
        return f"{value:,.1f} B"
    scale, unit = next((s for s in SCALES if value >= s[0]), SCALES[-1])
    return f"{value / scale:.3g} {unit}"


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        found = least(json.load(file)["benchmarks"])
    line = "{:<34} {:>12} {:>12}  {:>6}  {}"
    print(line.format("job", "ours", "other", "ratio", ""))
    for (job, what), sides in found.items():
        ours = sides.pop("ours", None)
        label = job if what == "time" else f"{job} {what}"
        if ours is None or not sides:
            for side, value in [("ours", ours)] * (ours is not None) + list(sides.items()):
                print(line.format(label, text(what, value), "", "", side).rstrip())
        for side, value in sides.items() if ours is not None else ():
            print(line.format(label, text(what, ours), text(what, value), f"{value / ours:.2f}", side))


if __name__ == "__main__":
    main()
