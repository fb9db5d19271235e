"""The page: a table of ratios, and a drawing of cost against size for each row."""

import html
import math

WIDTH, HEIGHT = 380, 250
LEFT, RIGHT, TOP, BOTTOM = 62, 16, 30, 42

STYLE = """
body { font: 15px/1.4 sans-serif; margin: 2em auto; max-width: 62em; padding: 0 1em; }
table { border-collapse: collapse; }
th, td { border-bottom: 1px solid #bbb; padding: .2em .7em; text-align: right; white-space: nowrap; }
th:first-child, td:first-child, .text { text-align: left; }
.missed { font-weight: bold; }
figure { display: inline-block; margin: .6em; }
svg text { font: 12px sans-serif; }
.grid { stroke: #ccc; }
.line { fill: none; stroke: #000; stroke-width: 1.5; }
.b { stroke-dasharray: 5 4; }
"""


def decades(values):
    """The powers of ten around the values, two at least."""
    low = math.floor(math.log10(min(values)))
    high = max(math.ceil(math.log10(max(values))), low + 1)
    return low, high


def scale(low, high, start, end):
    """Maps a value between the powers of ten to a place between start and end."""
    return lambda value: start + (math.log10(value) - low) / (high - low) * (end - start)


def grid(x_range, y_range, x, y):
    parts = []
    for power in range(x_range[0], x_range[1] + 1):
        at = x(10.0**power)
        parts.append(f'<path class="grid" d="M{at:.1f} {TOP}V{HEIGHT - BOTTOM}"/>')
        parts.append(
            f'<text x="{at:.1f}" y="{HEIGHT - BOTTOM + 16}" text-anchor="middle">{10**power:,}</text>'
        )
    for power in range(y_range[0], y_range[1] + 1):
        at = y(10.0**power)
        parts.append(f'<path class="grid" d="M{LEFT} {at:.1f}H{WIDTH - RIGHT}"/>')
        parts.append(
            f'<text x="{LEFT - 6}" y="{at + 4:.1f}" text-anchor="end">{10.0**power:g} ms</text>'
        )
    return parts


def mark(who, x, y):
    if who == "a":
        return f'<circle cx="{x:.1f}" cy="{y:.1f}" r="4"/>'
    return f'<rect x="{x - 4:.1f}" y="{y - 4:.1f}" width="8" height="8" fill="#fff" stroke="#000"/>'


def curve(row, who, x, y):
    places = [(x(point["size"]), y(point[who][row["clock"]])) for point in row["points"]]
    line = " ".join(f"{px:.1f},{py:.1f}" for px, py in places)
    return [f'<polyline class="line {who}" points="{line}"/>'] + [
        mark(who, px, py) for px, py in places
    ]


def drawing(row):
    clock = row["clock"]
    x_range = decades([point["size"] for point in row["points"]])
    y_range = decades([point[who][clock] for point in row["points"] for who in "ab"])
    x = scale(*x_range, LEFT, WIDTH - RIGHT)
    y = scale(*y_range, HEIGHT - BOTTOM, TOP)
    name = html.escape(row["name"])
    parts = [
        f'<svg width="{WIDTH}" height="{HEIGHT}" role="img" aria-label="{name}: cost against size">',
        f'<text x="{LEFT}" y="16" font-weight="bold">{name}, {clock} time</text>',
        *grid(x_range, y_range, x, y),
        *curve(row, "b", x, y),
        *curve(row, "a", x, y),
        f'<text x="{(LEFT + WIDTH - RIGHT) / 2}" y="{HEIGHT - 6}" text-anchor="middle">'
        f'{html.escape(row["unit"])}</text>',
        "</svg>",
    ]
    return "<figure>" + "".join(parts) + "</figure>"


def cells(*texts):
    return "".join(f"<td>{text}</td>" for text in texts)


def power(value):
    return "" if value is None else f"{value:.2f}"


def table_lines(row):
    lines = []
    for point in row["points"]:
        ratio = point["ratio"]
        missed = ratio[row["clock"]] > row["limit"]
        last = point is row["points"][-1]
        size = f'{point["size"]:,} {html.escape(row["unit"])}' if row["unit"] else ""
        lines.append(
            f'<tr{" class=missed" if missed else ""}><td>{html.escape(row["name"])}</td>'
            + cells(
                size,
                *(f"{point[who][row['clock']]:.2f}" for who in "ab"),
                f'{ratio["cpu"]:.2f}',
                f'{ratio["wall"]:.2f}',
                f'{row["limit"]:.2f} {row["clock"]}' + (" missed" if missed else ""),
                power(row["slope"]["a"]) if last else "",
                power(row["slope"]["b"]) if last else "",
                point["pairs"],
            )
            + "</tr>"
        )
    return lines


HEADINGS = ("", "size", "A ms", "B ms", "A/B cpu", "A/B wall", "limit", "slope A", "slope B", "pairs")


def table(rows):
    head = "".join(f"<th>{text}</th>" for text in HEADINGS)
    return f"<table><tr>{head}</tr>" + "".join(
        line for row in rows for line in table_lines(row)
    ) + "</table>"


def commands_table(rows):
    return "<table><tr><th>row<th class=text>A<th class=text>B</tr>" + "".join(
        f'<tr><td>{html.escape(row["name"])}'
        + "".join(f'<td class=text><code>{html.escape(row[who])}</code>' for who in "ab")
        for row in rows
    ) + "</table>"


def routines_table(routines):
    return "<table><tr><th>routine<th>ns</tr>" + "".join(
        f'<tr><td>{html.escape(each["name"])}<td>{each["ns"]:.1f}' for each in routines
    ) + "</table>"


def page(figures):
    rows = figures["rows"]
    missed = [row["name"] for row in rows if not row["kept"]]
    verdict = "Limits missed: " + "; ".join(missed) if missed else "Every limit is kept."
    return f"""<!DOCTYPE html>
<html lang="en"><meta charset="utf-8"><title>What st costs</title><style>{STYLE}</style>
<h1>What st costs</h1>
<p>{html.escape(verdict)}</p>
<p>{html.escape(figures["machine"])}, {html.escape(figures["moment"])}. Medians of runs in turn,
A B A B. A slope is the power of the size with which the cost grows, between the two greatest
sizes. A line in bold missed its limit.</p>
{table(rows)}
<h2>Cost against size</h2>
<p>A: line and dots. B: dashes and squares. Both axes are logarithmic.</p>
{"".join(drawing(row) for row in rows if len(row["points"]) > 1)}
<h2>Routines</h2>
{routines_table(figures["routines"])}
<h2>Commands</h2>
{commands_table(rows)}
</html>
"""
