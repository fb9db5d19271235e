"""Prometheus's own reading of the metrics and of the alerts.

    promtool_test.py METRICS_SAMPLE TREE

Ends with 77 where there is no promtool.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SAMPLE, TREE = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
RULES = TREE / "docs/st-report.rules.yml"
RULES_TEST = TREE / "tests/report/rules_test.yml"


def promtool(*words, text=None):
    done = subprocess.run([PROMTOOL, *words], input=text, text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, cwd=TREE / "tests/report")
    return done.returncode, done.stdout


def sample(kind):
    return subprocess.run([SAMPLE, kind], check=True, text=True, capture_output=True).stdout


class Metrics(unittest.TestCase):
    def test_of_a_recorder_are_accepted(self):
        self.assertEqual(promtool("check", "metrics", text=sample("good")), (0, ""))

    def test_of_nonsense_are_accepted(self):
        self.assertEqual(promtool("check", "metrics", text=sample("nonsense")), (0, ""))

    def test_that_are_wrong_are_not(self):
        good = sample("good")
        for wrong in (good.replace("# HELP st_report_exit_status", "# HOLP st_report_exit_status"),
                      good.replace("_bytes", "_megabytes"),
                      good + "st_report_info{version=\"a\"b\"} 1\n"):
            self.assertNotEqual(promtool("check", "metrics", text=wrong)[0], 0)


class Rules(unittest.TestCase):
    def test_are_accepted(self):
        status, said = promtool("check", "rules", RULES)
        self.assertEqual(status, 0, said)
        self.assertIn("SUCCESS: 7 rules found", said)

    def test_do_what_they_are_for(self):
        status, said = promtool("test", "rules", RULES_TEST)
        self.assertEqual(status, 0, said)
        self.assertIn("SUCCESS", said)

    def test_each_has_been_seen_to_be_raised_and_not(self):
        names = re.findall(r"- alert: (\w+)", RULES.read_text())
        self.assertEqual(len(names), 7)
        asked = RULES_TEST.read_text()
        for name in names:
            with self.subTest(name=name):
                self.assertRegex(asked, rf"alertname: {name}\n +exp_alerts:")
                self.assertRegex(asked, rf"alertname: {name}\}}")

    def test_that_say_something_else_are_noticed(self):
        """Each condition turned round makes the rules' test fail."""
        for old, new in (("leak == 1", "leak == 0"), ("mounted == 0", "mounted == 1"),
                         ("status == 5", "status == 3"), ("without_id > 0", "without_id >= 0"),
                         ("reachable == 0", "reachable == 1"), ("> 3 * 3600", "> 4 * 3600"),
                         ("leak|not-mounted", "not-mounted"), ("for: 90m", "for: 30m")):
            with self.subTest(old=old), tempfile.TemporaryDirectory() as folder:
                wrong = pathlib.Path(folder) / "rules.yml"
                text = RULES.read_text()
                self.assertIn(old, text)
                wrong.write_text(text.replace(old, new))
                test = pathlib.Path(folder) / "test.yml"
                test.write_text(RULES_TEST.read_text().replace("../../docs/st-report.rules.yml",
                                                               str(wrong)))
                self.assertNotEqual(promtool("test", "rules", test)[0], 0)


PROMTOOL = shutil.which("promtool")
if __name__ == "__main__":
    if not PROMTOOL:
        print("skipped: there is no promtool (tools/packages report)")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
