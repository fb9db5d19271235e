"""What is installed for st-report, and how systemd reads its units.

    units_test.py CMAKE BUILD

Ends with 77 where there is no systemd-analyze.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

CMAKE, BUILD = sys.argv[1:3]
UNITS = ["st-autoclean.service", "st-autoclean.timer", "st-report.service", "st-report.timer"]


class Units(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory(prefix="st-units-")
        cls.stage = pathlib.Path(cls.temporary.name)
        subprocess.run([CMAKE, "--install", BUILD, "--component", "st-report"], check=True,
                       env=os.environ | {"DESTDIR": str(cls.stage)}, stdout=subprocess.DEVNULL)
        cls.installed = {each.name: each for each in cls.stage.rglob("*") if each.is_file()}

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def settings(self, unit):
        """Pairs of names and values, in the order of the unit."""
        text = self.installed[unit].read_text()
        return dict(re.findall(r"^([A-Za-z]+)=(.*)$", text, re.MULTILINE))

    def verified(self, *changes):
        """What systemd-analyze says of the units, started from where they were installed."""
        with tempfile.TemporaryDirectory(prefix="st-units-") as folder:
            files = []
            for unit in UNITS:
                text = self.installed[unit].read_text()
                text = re.sub(r"(?m)^ExecStart=", f"ExecStart={self.stage}", text)
                for old, new in changes:
                    text = text.replace(old, new)
                files.append(pathlib.Path(folder) / unit)
                files[-1].write_text(text)
            done = subprocess.run([ANALYZE, "verify", "--man=no", *files], text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
            return done.stdout + (f"status {done.returncode}" if done.returncode else "")

    def test_all_is_installed(self):
        for name in (*UNITS, "st-report", "st-report.8", "st-report.rules.yml", "st-autoclean"):
            self.assertIn(name, self.installed)
        self.assertTrue(os.access(self.installed["st-autoclean"], os.X_OK))
        completion = [each for each in self.stage.rglob("bash-completion/completions/st-report")]
        self.assertEqual(len(completion), 1)

    def test_systemd_finds_no_fault(self):
        self.assertEqual(self.verified(), "")

    def test_systemd_would_find_one(self):
        self.assertIn("Nicer", self.verified(("Nice=", "Nicer=")))
        self.assertIn("is not executable", self.verified(("st-autoclean\n", "absent\n")))

    def test_what_is_started_is_what_is_installed(self):
        programs = set()
        for unit in ("st-report.service", "st-autoclean.service"):
            program = self.settings(unit)["ExecStart"].split()[0]
            self.assertTrue(os.access(f"{self.stage}{program}", os.X_OK), program)
            programs.add(program.rsplit("/", 1)[1])
        self.assertEqual(programs, {"st-report", "st-autoclean"})

    def test_that_something_needs_attention_is_no_failure_of_the_metrics(self):
        self.assertEqual(self.settings("st-report.service")["SuccessExitStatus"], "1")
        self.assertNotIn("SuccessExitStatus", self.settings("st-autoclean.service"))

    def test_cleaning_gives_way(self):
        found = self.settings("st-autoclean.service")
        self.assertEqual((found["IOSchedulingClass"], found["CPUSchedulingPolicy"], found["Nice"]),
                         ("idle", "idle", "19"))

    def test_both_timers_are_caught_up_at_random(self):
        for unit in ("st-report.timer", "st-autoclean.timer"):
            found = self.settings(unit)
            self.assertEqual(found["Persistent"], "true")
            self.assertRegex(found["RandomizedDelaySec"], r"^[1-9]")
            subprocess.run([ANALYZE, "calendar", found["OnCalendar"]], check=True,
                           stdout=subprocess.DEVNULL)


ANALYZE = shutil.which("systemd-analyze")
if __name__ == "__main__":
    if not ANALYZE:
        print("skipped: there is no systemd-analyze (tools/packages report)")
        sys.exit(77)
    unittest.main(argv=sys.argv[:1])
