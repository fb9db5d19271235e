"""Runs the two commands of a row in turn, A B A B ..., and takes medians."""

import math
import os
import statistics
import subprocess
import tempfile
import time

FEWEST_PAIRS = 5
MOST_PAIRS = 41


class Failed(Exception):
    """A command of a row ended with another status than 0."""


def environment(variables):
    return {"LC_ALL": "C", "TZ": "UTC", "PATH": os.environ["PATH"], **variables}


def timed_run(words, variables):
    """Runs the command to its end, its output thrown away; ms by clock."""
    thrown_away = [(os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)]
    begin = time.perf_counter_ns()
    child = os.posix_spawn(words[0], words, variables, file_actions=thrown_away)
    _, status, used = os.wait4(child, 0)
    wall = time.perf_counter_ns() - begin
    if status != 0:
        raise Failed(f"{' '.join(words)}: status {os.waitstatus_to_exitcode(status)}")
    return {"wall": wall / 1e6, "cpu": (used.ru_utime + used.ru_stime) * 1e3}


def run_before(words, variables):
    if words:
        subprocess.run(words, env=variables, check=True, stdout=subprocess.DEVNULL)


def measure_pairs(a, b, prepare, variables, seconds):
    """Both commands' times, as many pairs as fit into the seconds; one pair in none."""
    times = ([], [])
    fewest = FEWEST_PAIRS if seconds > 0 else 1
    end = time.monotonic() + seconds
    while len(times[1]) < fewest or (len(times[1]) < MOST_PAIRS and time.monotonic() < end):
        for words, into in zip((a, b), times):
            run_before(prepare, variables)
            into.append(timed_run(words, variables))
    return times


def medians(runs):
    return {clock: statistics.median(run[clock] for run in runs) for clock in ("wall", "cpu")}


def measure_size(row, size, places, seconds):
    """The figures of one row at one size, in ms."""
    with tempfile.TemporaryDirectory(prefix="st-bench.") as folder:
        values = {**places, "size": size, "last": size - 1, "folder": folder}

        def filled(words):
            return [word.format(**values) for word in words]

        variables = environment({name: text.format(**values) for name, text in row.variables.items()})
        run_before(filled(row.make), variables)
        a, b = measure_pairs(filled(row.a), filled(row.b), filled(row.prepare), variables, seconds)
    a_median, b_median = medians(a), medians(b)
    return {
        "size": size,
        "pairs": len(a),
        "a": a_median,
        "b": b_median,
        "ratio": {clock: a_median[clock] / b_median[clock] for clock in a_median},
    }


def slope(points, who, clock):
    """How the cost grows with the size, as a power: between the two greatest sizes, where the
    start of a program weighs least. None for a single size."""
    if len(points) < 2:
        return None
    low, high = points[-2:]
    return math.log(high[who][clock] / low[who][clock]) / math.log(high["size"] / low["size"])


def measure_row(row, places, seconds):
    points = [measure_size(row, size, places, seconds) for size in row.sizes]
    worst = max(point["ratio"][row.clock] for point in points)
    return {
        "name": row.name,
        "unit": row.unit,
        "clock": row.clock,
        "limit": row.limit,
        "a": " ".join(row.a),
        "b": " ".join(row.b),
        "points": points,
        "slope": {who: slope(points, who, row.clock) for who in ("a", "b")},
        "worst": worst,
        "kept": worst <= row.limit,
    }
