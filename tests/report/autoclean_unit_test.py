"""What runs unattended, systemd/st-autoclean: between stand-ins for st-report and st.

    autoclean_unit_test.py ST_AUTOCLEAN METRICS_SAMPLE
"""

import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

ST_AUTOCLEAN, METRICS_SAMPLE = (pathlib.Path(word).resolve() for word in sys.argv[1:3])

# Says what the files of its folder hold: lines, metrics and the status. The first
# run has those of "before", the next ones those of "after".
ST_REPORT = r"""#!/bin/sh
folder=${0%/*}
printf 'st-report %s\n' "$*" >>"$folder/called"
answer=$folder/before
[ "$(grep -c '^st-report' "$folder/called")" = 1 ] || answer=$folder/after
while [ $# -gt 0 ]; do
  [ "$1" != --metrics ] || metrics=$2
  shift
done
[ ! -e "$answer.metrics" ] || cp "$answer.metrics" "$metrics"
cat "$answer.lines"
[ ! -e "$answer.errors" ] || cat "$answer.errors" >&2
exit "$(cat "$answer.status")"
"""

ST = r"""#!/bin/sh
printf 'st %s\n' "$*" >>"${0%/*}/called"
echo "Volume space leak detected count: 1"
"""

SOUND = """# TYPE st_report_volume_leak gauge
st_report_completion_timestamp_seconds 1732174200
st_report_unreasonable_answers 0
st_report_volume_leak{volume="vol1"} 0
st_report_volume_leak{volume="vol2"} 0
st_report_volume_mounted{volume="vol1"} 1
st_report_volume_mounted{volume="vol2"} 1
st_report_volume_state{volume="vol1"} 0
st_report_volume_state{volume="vol2"} 1
"""
LEAKING = SOUND.replace('leak{volume="vol2"} 0', 'leak{volume="vol2"} 1')
LEAK_LINE = "leak: volume vol2 has lost 7 MB\n"
CALL = "st-report --check --color never --metrics"


class Autoclean(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="st-autoclean-")
        self.addCleanup(temporary.cleanup)
        self.folder = pathlib.Path(temporary.name)
        self.temporary = self.folder / "tmp"
        self.temporary.mkdir()
        self.program("st-report", ST_REPORT)
        self.program("st", ST)

    def program(self, name, text):
        (self.folder / name).write_text(text)
        (self.folder / name).chmod(0o755)

    def answers(self, when, status, lines, metrics, errors=None):
        for part, text in {"status": f"{status}\n", "lines": lines, "metrics": metrics,
                           "errors": errors}.items():
            if text is not None:
                (self.folder / f"{when}.{part}").write_text(text)

    def run_it(self):
        environment = {"PATH": f"{self.folder}:/usr/bin:/bin", "TMPDIR": str(self.temporary)}
        done = subprocess.run([ST_AUTOCLEAN], env=environment, capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, timeout=60, cwd="/")
        self.assertEqual(os.listdir(self.temporary), [])
        called = self.folder / "called"
        self.called = [line.rsplit(" /", 1)[0] if "--metrics" in line else line
                       for line in called.read_text().splitlines()]
        return done.returncode, done.stdout, done.stderr

    def test_without_a_leak_nothing_is_said_or_done(self):
        self.answers("before", 0, "", SOUND)
        self.assertEqual(self.run_it(), (0, "", ""))
        self.assertEqual(self.called, [CALL])

    def test_what_is_no_leak_is_not_told_either(self):
        self.answers("before", 1, "null-id: channel 1\n", SOUND)
        self.assertEqual(self.run_it(), (0, "", ""))
        self.assertEqual(self.called, [CALL])

    def test_a_leak_is_cleaned_and_told_before_and_after(self):
        self.answers("before", 1, LEAK_LINE, LEAKING)
        self.answers("after", 0, "", SOUND)
        self.assertEqual(self.run_it(),
                         (0, f"Before:\n{LEAK_LINE}Volume space leak detected count: 1\n"
                             "After:\nnothing needs attention\n", ""))
        self.assertEqual(self.called, [CALL, "st autoclean", CALL])

    def test_what_stays_to_be_looked_at_is_told(self):
        self.answers("before", 1, LEAK_LINE + "null-id: channel 1\n", LEAKING)
        self.answers("after", 1, "null-id: channel 1\n", SOUND)
        status, output, errors = self.run_it()
        self.assertEqual((status, errors), (0, ""))
        self.assertTrue(output.endswith("After:\nnull-id: channel 1\n"), output)

    def test_a_leak_that_stays_is_a_failure(self):
        for when in ("before", "after"):
            self.answers(when, 1, LEAK_LINE, LEAKING)
        status, output, errors = self.run_it()
        self.assertEqual((status, errors), (1, "st-autoclean: something leaks still\n"))
        self.assertTrue(output.endswith("After:\n" + LEAK_LINE), output)
        self.assertEqual(self.called.count("st autoclean"), 1)

    def test_nothing_is_cleaned_while_a_part_cannot_be_asked(self):
        self.answers("before", 3, LEAK_LINE, LEAKING, errors="st-report: no channels\n")
        self.assertEqual(self.run_it(),
                         (3, LEAK_LINE, "st-report: no channels\nst-autoclean: the service, or a "
                                        "part of it, could not be asked: nothing is cleaned\n"))
        self.assertEqual(self.called, [CALL])

    def test_nothing_is_cleaned_while_a_volume_is_not_mounted(self):
        self.answers("before", 1, LEAK_LINE,
                     LEAKING.replace('mounted{volume="vol1"} 1', 'mounted{volume="vol1"} 0'))
        self.assertEqual(self.run_it(),
                         (1, "Before:\n" + LEAK_LINE,
                          "st-autoclean: a volume is not mounted: nothing is cleaned\n"))
        self.assertEqual(self.called, [CALL])

    def test_nothing_is_cleaned_while_the_service_says_not_mounted(self):
        for state in (2, 3):
            with self.subTest(state=state):
                self.answers("before", 1, LEAK_LINE,
                             LEAKING + f'st_report_volume_state{{volume="vol1"}} {state}\n')
                self.assertEqual(self.run_it(),
                                 (1, "Before:\n" + LEAK_LINE,
                                  "st-autoclean: a volume is not mounted: nothing is cleaned\n"))
                self.assertEqual(self.called, [CALL])
                (self.folder / "called").unlink()

    def test_nothing_is_cleaned_while_answers_make_no_sense(self):
        self.answers("before", 1, LEAK_LINE, LEAKING.replace("answers 0", "answers 2"))
        status, _, errors = self.run_it()
        self.assertEqual((status, errors), (1, "st-autoclean: the service answers what makes no "
                                               "sense: nothing is cleaned\n"))
        self.assertEqual(self.called, [CALL])

    def test_names_are_no_numbers(self):
        for name in ("x} 1", '\\"} 1', "st_report_volume_leak 1", "\\n1", "st_report_volume_leak{} 1"):
            with self.subTest(name=name):
                self.answers("before", 0, "", SOUND.replace("vol2", name))
                self.assertEqual(self.run_it(), (0, "", ""))
                (self.folder / "called").unlink()

    def test_the_programs_own_metrics_are_understood(self):
        sample = subprocess.run([METRICS_SAMPLE, "good"], check=True, text=True,
                                capture_output=True).stdout
        mounted = sample.replace('mounted{volume="vol3"} 0', 'mounted{volume="vol3"} 1')
        self.assertNotEqual(sample, mounted)
        sound = mounted.replace('leak{volume="vol2"} 1', 'leak{volume="vol2"} 0')
        self.assertNotEqual(mounted, sound)
        self.answers("before", 1, LEAK_LINE, mounted)
        self.answers("after", 1, "", sound)
        self.assertEqual(self.run_it()[0], 0)
        self.assertEqual(self.called, [CALL, "st autoclean", CALL])
        (self.folder / "called").unlink()
        self.answers("before", 1, LEAK_LINE, sample)
        self.assertEqual(self.run_it()[0], 1)
        self.assertEqual(self.called, [CALL])

    def test_a_report_without_metrics_is_a_failure(self):
        self.answers("before", 0, "", "")
        self.assertEqual(self.run_it(), (3, "", "st-autoclean: st-report wrote no metrics\n"))
        self.assertEqual(self.called, [CALL])

    def test_a_report_that_fails_is_a_failure(self):
        for status in (2, 127, 139):
            self.answers("before", status, "", None)
            self.assertEqual(self.run_it(), (status, "", "st-autoclean: st-report failed with status "
                                                         f"{status}\n"))
            (self.folder / "called").unlink()

    def test_a_second_report_that_fails_is_a_failure(self):
        self.answers("before", 1, LEAK_LINE, LEAKING)
        self.answers("after", 3, "", SOUND)
        status, _, errors = self.run_it()
        self.assertEqual((status, errors), (3, "st-autoclean: the service, or a part of it, could "
                                               "not be asked: whether something leaks is not known\n"))
        self.assertEqual(self.called, [CALL, "st autoclean", CALL])

    def test_an_st_that_fails_is_a_failure(self):
        self.answers("before", 1, LEAK_LINE, LEAKING)
        self.program("st", "#!/bin/sh\nexit 127\n")
        self.assertEqual(self.run_it()[0], 127)
        self.assertEqual(self.called, [CALL])

    def test_one_that_is_stopped_leaves_nothing(self):
        self.answers("before", 1, LEAK_LINE, LEAKING)
        self.program("st", "#!/bin/sh\nkill -TERM $PPID\n")
        self.assertEqual(self.run_it()[0], 143)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
