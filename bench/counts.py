"""Comparing instruction counts with their baselines."""

TOLERANCE = 1.1  # a count may be this many times its baseline
FAR_BELOW = 0.8


def line(count, name):
    """A line of the file of baselines."""
    return f"{count:>12} {name}"


def read(text):
    """The baselines: the count for each name."""
    pairs = (each.split(None, 1) for each in text.splitlines() if each and each[0] != "#")
    return {name: int(count) for count, name in pairs}


def rounded(count):
    return round(count, -3)


def compare(counts, baselines):
    """What is wrong with the counts, and what is only worth saying: two lists of texts."""
    wrong, said = [], []
    for name, count in counts.items():
        baseline = baselines.get(name)
        new_line = line(rounded(count), name)
        if baseline is None:
            wrong.append(f"{name}: has no baseline. Add:\n{new_line}")
        elif count > baseline * TOLERANCE:
            wrong.append(f"{name}: {count:,} instructions, {count / baseline:.2f} times its baseline "
                         f"of {baseline:,}. If that is meant, the line becomes:\n{new_line}")
        elif count < baseline * FAR_BELOW:
            said.append(f"{name}: {count:,} instructions, {count / baseline:.2f} times its baseline "
                        f"of {baseline:,}. To hold that, the line becomes:\n{new_line}")
    wrong += [f"{name}: has a baseline and no run" for name in baselines if name not in counts]
    return wrong, said
