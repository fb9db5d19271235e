"""What is measured: a row is two commands, A and B, and what A may cost of B.

Texts of a row may hold {size}, one of the row's sizes, {last}, the number before
it, {folder}, an empty folder of the row's own for each size, {bin}, where the
built programs lie, and {bench}, where this file lies.
"""

from dataclasses import dataclass, field


@dataclass(frozen=True)
class Row:
    name: str
    a: tuple[str, ...]
    b: tuple[str, ...]
    limit: float  # the most that A may take, in times of B
    sizes: tuple[int, ...] = (1,)
    unit: str = ""  # what the sizes count; empty where there is but one
    variables: dict[str, str] = field(default_factory=dict)
    make: tuple[str, ...] = ()  # run once for each size, before anything else
    prepare: tuple[str, ...] = ()  # run before each of the measured runs
    # What is compared: "cpu", processor time with that of the children, or "wall",
    # where a run waits for a disk.
    clock: str = "cpu"


def command(words, sizes, unit, limit=1.1, **variables):
    """A row of st against the bare client, both on the generating library."""
    return Row(
        name=words.split()[0],
        a=("{bin}/generated_st", *words.split()),
        b=("{bin}/bare_client", *words.split()),
        limit=limit,
        sizes=sizes,
        unit=unit,
        variables={f"BENCH_{name.upper()}": value for name, value in variables.items()},
    )


SPACES = """
SELECT s.name, count(u.id), count(u.period_id), s.status, s.spare_state
  FROM space s LEFT JOIN volume v ON v.space_id = s.id LEFT JOIN unit u ON u.volume_id = v.id
  GROUP BY s.id ORDER BY s.id"""


def lab(name, a, b, limit, make, sizes=(1,), **rest):
    """A row of a program on a lab recorder, {folder}/r, against less."""
    return Row(name=name, a=a, b=b, limit=limit, make=make, sizes=sizes,
               variables={"STLAB_RECORDER": "{folder}/r"}, **rest)


def periods(word, list_name):
    """A row of a list of st against the plain SQL, over up to 2.8 million periods."""
    return lab(f"lab: {word.split()[0]}, 256 channels", ("{bin}/st", *word.split()),
               ("{bin}/bare_lists", "{folder}/r", list_name), limit=1.5, sizes=(30, 90),
               unit="days of hourly periods in 5 streams",
               make=("{bench}/make-periods", "{bin}", "{folder}/r", "{size}"))


# Makes {size} volumes with preallocated units for autoclean.
VOLUMES = ("{bench}/make-volumes", "{folder}", "{size}")

LEAK = ("{bench}/leak-units", "{bin}", "{folder}/r", "{size}")

ROWS = (
    Row("start", ("{bin}/generated_st",), ("{bin}/bare_client",), limit=1.1),
    command("recoverid 0", (1,), ""),
    command("spacelist", (100, 1000, 10000, 100000), "spaces", spaces="{size}"),
    command("vollist Storage00000000", (100, 1000, 10000, 40000), "volumes", spaces="1",
            volumes="{size}"),
    command("volset vol{last:08} 1 0", (100, 1000, 10000, 40000), "volumes", volumes="{size}"),
    command("volchn vol00000000", (100, 1000, 10000, 100000), "channels", volumes="1",
            channels="{size}"),
    command("voluse -1", (100, 1000, 10000, 40000), "volumes, a channel each", volumes="{size}",
            channels="{size}"),
    command("volclean -1", (10, 100, 1000, 4000), "channels on 2 spaces", channels="{size}"),
    command("nullid -1", (100, 1000, 10000), "periods a stream, 80 streams", limit=1.0,
            channels="10", periods="{size}", null_percent="100"),
    command("spaceinfo Storage00000000", (10, 50, 200, 1000), "channels, 100 storage ids each",
            channels="{size}", storage_ids="100"),
    Row("autoclean, no leak", ("{bin}/generated_st", "autoclean"),
        ("{bench}/du-loop", "{folder}"), limit=1.1, sizes=(30, 100, 300), unit="volumes",
        variables={"BENCH_FOLDER": "{folder}", "BENCH_VOLUMES": "{size}"}, make=VOLUMES),
    Row("autoclean, all leak", ("{bin}/generated_st", "autoclean"),
        ("{bin}/bare_client", "autoclean"), limit=1.1, sizes=(10, 30, 100),
        unit="volumes, 32 channels",
        variables={"BENCH_FOLDER": "{folder}", "BENCH_VOLUMES": "{size}",
                   "BENCH_CHANNELS": "32", "BENCH_LEAKING_PERCENT": "100"}, make=VOLUMES),
    Row("st-report --json", ("{bin}/generated_st_report", "--json"),
        ("{bench}/st-lists", "{bin}/generated_st", "{folder}"), limit=1.2,
        sizes=(24, 720, 2160), unit="hourly periods a stream, 256 channels",
        # Nothing needs attention.
        variables={"BENCH_FOLDER": "{folder}", "BENCH_VOLUMES": "2", "BENCH_CHANNELS": "256",
                   "BENCH_PERIODS": "{size}", "BENCH_NULL_PERCENT": "0"},
        make=("{bench}/make-volumes", "{folder}", "2")),
    lab("lab: spacelist", ("{bin}/st", "spacelist"),
        ("/usr/bin/sqlite3", "-readonly", "{folder}/r/catalogue.db", SPACES), limit=1.1,
        make=("{bin}/stlab", "make", "{folder}/r")),
    lab("lab: recycling", ("{bin}/st", "volclean", "-1"), ("{bin}/bare_recycling", "{folder}/r"),
        limit=1.3, sizes=(600, 6000), unit="units", clock="wall",
        make=LEAK, prepare=LEAK),
    lab("lab: check", ("{bin}/stlab", "check"), ("{bin}/bare_scan", "{folder}/r"), limit=1.2,
        sizes=(250, 2500), unit="units on each of 4 volumes",
        make=("{bin}/stlab", "make", "{folder}/r", "--volume-mb", "{size}")),
    periods("nullid -1", "nullid"),
    periods("spaceinfo Storage1", "spaceinfo"),
    periods("volclean -1", "volclean"),
)
