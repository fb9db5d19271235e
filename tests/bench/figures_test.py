"""What bench/ says of its figures: with figures that were made up."""

import pathlib
import sys
import unittest
import xml.etree.ElementTree

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "bench"))

import counts
import measure
import page
import rows


class Counts(unittest.TestCase):
    def test_one_that_grew_by_more_than_a_tenth_is_wrong(self):
        wrong, said = counts.compare({"st list": 1101000}, {"st list": 1000000})
        self.assertEqual(said, [])
        self.assertEqual(wrong, ["st list: 1,101,000 instructions, 1.10 times its baseline of "
                                 "1,000,000. If that is meant, the line becomes:\n"
                                 "     1101000 st list"])

    def test_one_near_its_baseline_is_neither_wrong_nor_said(self):
        for count in (800000, 1000000, 1100000):
            self.assertEqual(counts.compare({"a": count}, {"a": 1000000}), ([], []))

    def test_one_far_below_is_said(self):
        wrong, said = counts.compare({"a": 500000}, {"a": 1000000})
        self.assertEqual(wrong, [])
        self.assertEqual(len(said), 1)
        self.assertIn("To hold that, the line becomes:\n      500000 a", said[0])

    def test_one_without_a_baseline_is_wrong_and_so_is_the_reverse(self):
        wrong, _ = counts.compare({"new": 2000}, {"old": 1000})
        self.assertEqual(wrong, ["new: has no baseline. Add:\n        2000 new",
                                 "old: has a baseline and no run"])

    def test_a_line_is_read_as_it_was_written(self):
        text = "# said first\n" + counts.line(1234000, "lab: spacelist") + "\n"
        self.assertEqual(counts.read(text), {"lab: spacelist": 1234000})


def point(size, a, b):
    return {"size": size, "pairs": 5, "a": {"cpu": a, "wall": a}, "b": {"cpu": b, "wall": b},
            "ratio": {"cpu": a / b, "wall": a / b}}


def row(name, *points):
    return {"name": name, "unit": "volumes", "clock": "cpu", "limit": 1.1, "a": "st", "b": "bare",
            "points": list(points), "kept": all(each["ratio"]["cpu"] <= 1.1 for each in points),
            "slope": {who: measure.slope(points, who, "cpu") for who in "ab"}}


class Slope(unittest.TestCase):
    def test_is_the_power_with_which_the_cost_grows(self):
        points = [point(10, 1, 1), point(100, 2, 2), point(1000, 200, 20)]
        self.assertAlmostEqual(measure.slope(points, "a", "cpu"), 2)
        self.assertAlmostEqual(measure.slope(points, "b", "cpu"), 1)

    def test_of_a_single_size_is_none(self):
        self.assertIsNone(measure.slope([point(1, 1, 1)], "a", "cpu"))


class Page(unittest.TestCase):
    def page_of(self, *measured):
        return page.page({"machine": "a machine", "moment": "now", "routines": [],
                          "rows": list(measured)})

    def test_names_what_missed_its_limit(self):
        text = self.page_of(row("good", point(1, 1.0, 1)), row("bad <1>", point(1, 2.0, 1)))
        self.assertIn("Limits missed: bad &lt;1&gt;<", text)
        self.assertIn("<tr class=missed><td>bad &lt;1&gt;</td>", text)
        self.assertIn("<tr><td>good</td>", text)

    def test_says_when_every_limit_is_kept(self):
        self.assertIn("Every limit is kept.", self.page_of(row("good", point(1, 1.0, 1))))

    def test_draws_both_curves_of_a_row_with_sizes(self):
        drawn = page.drawing(row("list", point(10, 1.0, 2.0), point(1000, 50.0, 80.0)))
        svg = xml.etree.ElementTree.fromstring(drawn)[0]
        self.assertEqual(len(svg.findall("circle")), 2)
        self.assertEqual(len(svg.findall("rect")), 2)
        self.assertEqual(len(svg.findall("polyline")), 2)


class Rows(unittest.TestCase):
    def test_have_names_of_their_own_and_texts_that_can_be_filled(self):
        self.assertEqual(len({each.name for each in rows.ROWS}), len(rows.ROWS))
        for each in rows.ROWS:
            for text in (*each.a, *each.b, *each.make, *each.prepare, *each.variables.values()):
                text.format(size=2, last=1, folder="f", bin="b", bench="h")

    def test_a_row_is_measured_at_each_of_its_sizes(self):
        measured = measure.measure_row(
            rows.Row("shell", ("/bin/sh", "-c", "test -e {folder}/prepared"), ("/bin/true",),
                     limit=1000, sizes=(1, 2), make=("/bin/mkdir", "{folder}/made"),
                     prepare=("/usr/bin/touch", "{folder}/prepared")), {}, seconds=0.001)
        self.assertEqual([each["size"] for each in measured["points"]], [1, 2])
        self.assertEqual(measured["points"][0]["pairs"], measure.FEWEST_PAIRS)
        self.assertTrue(measured["kept"])

    def test_a_rehearsal_runs_each_command_once(self):
        measured = measure.measure_row(
            rows.Row("true", ("/bin/true",), ("/bin/true",), limit=1000), {}, seconds=0)
        self.assertEqual(measured["points"][0]["pairs"], 1)

    def test_a_command_that_fails_ends_the_measurement(self):
        failing = rows.Row("failing", ("/bin/false",), ("/bin/true",), limit=1)
        with self.assertRaises(measure.Failed):
            measure.measure_row(failing, {}, seconds=0)


if __name__ == "__main__":
    unittest.main()
