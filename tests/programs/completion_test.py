"""Completion in a real, interactive bash behind a terminal of its own.

A line is typed, TAB is pressed, and the shell tells what then stands in its line
or, of several candidates, what it lists. Nothing waits for time to pass: each
question is answered by a mark in what the shell prints.

    completion_test.py ST STLAB COMPLETION_FOLDER
"""

import os
import pathlib
import pty
import re
import select
import shlex
import sqlite3
import subprocess
import sys
import tempfile
import unittest

ST, STLAB, COMPLETION = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
LINE, LIST = "\x14", "\x0f"  # the keys that tell the line, and list the candidates

SETUP = r"""
bind 'set enable-bracketed-paste off'
bind 'set bell-style none'
bind 'set completion-query-items 0'
bind 'set page-completions off'
bind 'set completion-display-width 0'
bind '"\C-o": possible-completions'
bind -x '"\C-t": printf "<<%s>>\n" "$READLINE_LINE"'
"""


class Shell:
    """A bash that has loaded all completions; `path` stands in front of its PATH."""

    def __init__(self, folder, path, **variables):
        environment = {"PATH": f"{path}:/usr/sbin:/usr/bin:/sbin:/bin", "TERM": "dumb", "PS1": "",
                       "HISTFILE": "", "HOME": str(folder), "LC_ALL": "C", "TZ": "UTC"} | variables
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execve("/bin/bash", ["bash", "--norc", "--noprofile", "-i"], environment)
        # The end of the shell is that nobody holds its terminal any more.
        os.set_inheritable(self.terminal, False)
        self.run(SETUP + "".join(f". {shlex.quote(str(each))}\n" for each in COMPLETION.iterdir()))

    def close(self):
        os.close(self.terminal)
        os.waitpid(self.process, 0)

    def _until(self, mark):
        told = b""
        while mark not in told:
            if not select.select([self.terminal], [], [], 60)[0]:
                raise TimeoutError(told)
            told += os.read(self.terminal, 65536)
        return told.decode(errors="replace").replace("\r", "")

    def _type(self, keys):
        os.write(self.terminal, keys.encode())

    def run(self, commands):
        """Runs commands; gives what they printed, with what was typed."""
        self._type(commands + "\necho en''ded\n")
        return self._until(b"\nended\r\n")

    def _asked(self, line, keys):
        """What is shown of the line while the keys are pressed, and the line in the end."""
        self._type(line + keys + LINE)
        shown, found = re.search(r"(.*)<<(.*)>>\n", self._until(b">>\r\n"), re.DOTALL).groups()
        self._type("\x15")
        self.run("")
        return shown.split("\n"), found

    def completed(self, line):
        """What stands in the line after TAB, which has to be all that is shown."""
        shown, found = self._asked(line, "\t")
        assert len(shown) == 2, shown
        return found

    def words(self, line):
        """The words of the completed line, as a shell reads them."""
        return shlex.split(self.completed(line))

    def listed(self, line):
        """The candidates behind the line, of which there have to be several."""
        shown, found = self._asked(line, LIST)
        assert found == line, found
        return shown[1:shown.index(line, 1)]


def command_words(program, expression):
    output = subprocess.run([program] + (["help"] if program == STLAB else []), text=True,
                            capture_output=True, stdin=subprocess.DEVNULL).stdout
    return re.findall(expression, output, re.MULTILINE)


class Completion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory(prefix="st-completion-")
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.bin = cls.folder / "bin"
        cls.bin.mkdir()
        (cls.bin / "st").symlink_to(ST)
        (cls.bin / "stlab").symlink_to(STLAB)
        cls.recorder = cls.folder / "a recorder"
        subprocess.run([STLAB, "make", cls.recorder, "--volume-mb", "4", "--days", "0",
                        "--channels", "3"], check=True, stdout=subprocess.DEVNULL)
        with sqlite3.connect(cls.recorder / "catalogue.db") as catalogue:
            catalogue.execute("UPDATE space SET name = 'Main Store' WHERE id = 1")
            catalogue.execute("UPDATE space SET name = 'Other:Store' WHERE id = 2")
        catalogue.close()
        cls.shell = Shell(cls.folder, cls.bin, STLAB_RECORDER=str(cls.recorder))

    @classmethod
    def tearDownClass(cls):
        cls.shell.close()
        cls.temporary.cleanup()

    def shell_in(self, *place, **variables):
        shell = Shell(*place, **variables)
        self.addCleanup(shell.close)
        return shell

    def test_each_command_word_of_st_is_completed(self):
        words = command_words(ST, r"^st ([a-z]+)\b")
        self.assertGreaterEqual(len(words), 10)
        self.assertEqual(sorted(self.shell.listed("st ")), sorted(words))
        for word in words:
            self.assertEqual(self.shell.completed("st " + word[:-1]).rstrip(), "st " + word)

    def test_each_command_word_of_stlab_is_completed(self):
        words = command_words(STLAB, r"^  ([a-z][a-z-]*) ")
        self.assertGreaterEqual(len(words), 11)
        self.assertEqual(sorted(self.shell.listed("stlab ")), sorted(words + ["--version"]))
        self.assertEqual(sorted(self.shell.listed("stlab help ")), sorted(words))

    def test_each_option_of_stlab_is_completed(self):
        for word in command_words(STLAB, r"^  ([a-z][a-z-]*) "):
            help_text = subprocess.run([STLAB, "help", word], text=True, capture_output=True).stdout
            named = re.findall(r"^  (-[^ ]*)", help_text, re.MULTILINE)
            options = [each for names in named for each in names.split(",") if each != "-h"]
            self.assertIn("--help", options)
            offered = self.shell.listed(f"stlab {word} -")
            self.assertEqual(sorted(set(offered) - {"-h"}), sorted(options))

    def test_a_space_is_quoted_as_its_quote_asks(self):
        for typed in ("st vollist M", "st vollist Main\\ S", "st spaceinfo 'Main S",
                      'st vollist "M'):
            words = self.shell.words(typed)
            self.assertEqual(words[2:], ["Main Store"], typed)
        self.assertEqual(self.shell.words("st vollist O")[2:], ["Other:Store"])
        self.assertEqual(self.shell.words("st vollist Other\\:")[2:], ["Other:Store"])

    def test_a_completed_line_runs(self):
        self.shell._type("st vollist M\t\n")
        self.assertIn("Space: Main Store\n", self.shell.run(""))

    def test_volumes_of_all_spaces(self):
        self.assertEqual(self.shell.listed("st volset "), ["vol1", "vol2", "vol3", "vol4"])
        self.assertEqual(self.shell.listed("st volchn vo"), ["vol1", "vol2", "vol3", "vol4"])
        self.assertEqual(self.shell.listed("st volset vol1 "), ["0", "1"])
        self.assertEqual(self.shell.listed("st volset vol1 0 "), ["0", "1"])

    def test_channels_and_all_of_them_only_where_nothing_is_deleted(self):
        for word in ("voluse", "nullid", "recoverid"):
            self.assertEqual(self.shell.listed(f"st {word} "), ["-1", "0", "1", "2"])
        self.assertEqual(self.shell.listed("st volclean "), ["0", "1", "2"])

    def test_nothing_where_nothing_is_taken(self):
        for line in ("st spacelist ", "st autoclean ", "st vollist M x", "st bogus ",
                     "st volset vol1 0 1 ", "stlab make --now ", "stlab make --spaces "):
            self.assertEqual(self.shell.completed(line), line)

    def test_values_of_options(self):
        self.assertEqual(self.shell.listed("stlab record --type "), ["alarm", "manual", "normal"])
        self.assertEqual(self.shell.completed("stlab damage --mount f"),
                         "stlab damage --mount foreign ")
        self.assertEqual(self.shell.completed("stlab leak --type=a"), "stlab leak --type=alarm ")
        self.assertEqual(self.shell.listed("stlab leak --volume "),
                         ["vol1", "vol2", "vol3", "vol4"])
        self.assertEqual(self.shell.listed("stlab assign --channel "), ["0", "1", "2"])

    def test_folders_and_kinds_of_damage(self):
        (self.folder / "rec two").mkdir()
        (self.folder / "rec file").touch()
        self.assertEqual(self.shell.words("stlab check rec"), ["stlab", "check", "rec two/"])
        self.assertEqual(self.shell.words("stlab collect --trace rec\\ f")[2:],
                         ["--trace", "rec file"])
        self.assertIn("null-ids", self.shell.listed("stlab damage "))
        self.assertEqual(self.shell.words("stlab damage nul"), ["stlab", "damage", "null-ids"])

    def test_settings_of_the_shell_change_nothing(self):
        shell = self.shell_in(self.folder, self.bin, STLAB_RECORDER=str(self.recorder))
        shell.run("set -u; set -f; IFS=:l; shopt -s nocasematch nullglob failglob")
        self.assertEqual(shell.words("st vollist M")[2:], ["Main Store"])
        self.assertEqual(shell.listed("st volset vol1 "), ["0", "1"])
        self.assertEqual(shell.completed("st spacelist "), "st spacelist ")
        self.assertEqual(shell.listed("stlab leak --type "), ["alarm", "normal"])
        self.assertEqual(shell.listed("stlab leak --volume "), ["vol1", "vol2", "vol3", "vol4"])

    def test_without_a_program_nothing_is_said(self):
        shell = self.shell_in(self.folder, self.folder / "nowhere")
        for line in ("st ", "st vollist ", "stlab ", "stlab leak --volume "):
            self.assertEqual(shell.completed(line), line)

    def test_another_program_of_the_name_is_not_started(self):
        other = self.folder / "other"
        other.mkdir()
        (other / "st").write_text(f"#!/bin/sh\ntouch '{other}/started'\n")
        (other / "st").chmod(0o755)
        shell = self.shell_in(self.folder, other)
        self.assertEqual(shell.completed("st "), "st ")
        self.assertFalse((other / "started").exists())

    def test_without_a_recorder_nothing_is_said(self):
        shell = self.shell_in(self.folder, self.bin, STLAB_RECORDER="/nowhere", STLAB_LOCK_TIMEOUT_MS="x")
        for line in ("st vollist ", "st volset ", "st volclean ", "stlab leak --volume "):
            self.assertEqual(shell.completed(line), line)

    def test_asking_changes_nothing_and_leaves_no_trace(self):
        trace = self.folder / "trace"
        shell = self.shell_in(self.folder, self.bin, STLAB_RECORDER=str(self.recorder),
                      STLAB_TRACE=str(trace))
        before = {each: each.stat().st_mtime_ns for each in self.recorder.rglob("*")}
        for line in ("st vollist ", "st volset ", "st volclean ", "st nullid "):
            shell.listed(line)
        self.assertEqual(before, {each: each.stat().st_mtime_ns
                                  for each in self.recorder.rglob("*")})
        self.assertFalse(trace.exists())


STRANGE = ["$(touch pwned)", "`touch pwned`", "a;touch pwned", "b'c", 'd"e', "f\\g", "h*", "i!j",
           "~k", "l&m|n>o", "#p", "q\x1br", "s, t] [u", "v{w,x}", "$HOME", "--y", "z=1@2:3"]

FAKE_ST = r"""#!/bin/sh
printf '%s\n' "$*" >>"${0%/*}/asked"
echo "bad news" >&2
case $1 in
  '') printf 'st vollist space_name\nst volset volume_name volume_type volume_state\n' ;;
  spacelist)
    while IFS= read -r name; do
      printf '[01] [%s], total size: 0 GB, used: 0 MB, use 0.00%% [Normal]\n' "$name"
    done <"${0%/*}/names" ;;
  vollist)
    printf '[01] [%s], [SPARE ] [ACTIVE             ], total size 0 GB\n' "$2" ;;
esac
"""


class StrangeNames(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory(prefix="st-completion-")
        cls.folder = pathlib.Path(cls.temporary.name)
        (cls.folder / "st").write_text(FAKE_ST)
        (cls.folder / "st").chmod(0o755)
        cls.shell = Shell(cls.folder, cls.folder)

    @classmethod
    def tearDownClass(cls):
        cls.shell.close()
        cls.temporary.cleanup()

    def tearDown(self):
        self.assertFalse((self.folder / "pwned").exists())

    def test_each_comes_back_as_one_word_and_is_never_evaluated(self):
        for name in STRANGE:
            (self.folder / "names").write_text(name + "\n")
            for command in ("vollist", "volset"):
                for quote in ("", "'", '"'):
                    with self.subTest(name=name, command=command, quote=quote):
                        line = f"st {command} {quote}"
                        found = self.shell.completed(line)
                        if "\x1b" in name or (quote == '"' and "!" in name):
                            self.assertEqual(found, line)
                            continue
                        # The shell itself reads the line.
                        read = subprocess.run(
                            ["/bin/bash", "-c", "st() { printf '%s\\n' \"$2\"; }; " + found],
                            capture_output=True, text=True, cwd=self.folder)
                        self.assertEqual((read.stdout, read.stderr), (name + "\n", ""), found)

    def test_all_of_them_beside_each_other(self):
        (self.folder / "names").write_text("\n".join(STRANGE) + "\n")
        self.assertEqual(len(self.shell.listed("st vollist ")), len(STRANGE) - 1)

    def test_what_names_have_in_common_can_be_gone_on_from(self):
        (self.folder / "names").write_text("A b:1=x\nA b:2=y\n")
        self.assertEqual(self.shell.completed("st vollist A"), "st vollist A\\ b\\:")
        self.assertEqual(self.shell.words("st vollist A\\ b\\:1"), ["st", "vollist", "A b:1=x"])
        self.assertEqual(self.shell.words('st vollist "A b:2'), ["st", "vollist", "A b:2=y"])

    def test_only_what_reads_is_asked(self):
        (self.folder / "asked").unlink(missing_ok=True)
        (self.folder / "names").write_text("one\n")
        self.shell.completed("st volset ")
        self.assertEqual((self.folder / "asked").read_text().splitlines(),
                         ["", "spacelist", "vollist one"])


REPORT_OPTIONS = ["--anonymous", "--ascii", "--check", "--color", "--columns", "--compare",
                  "--expect-days", "--help", "--html", "--json", "--metrics", "--preview",
                  "--version"]


class Report(unittest.TestCase):
    """Of st-report, which is not started for it."""

    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory(prefix="st-completion-")
        folder = pathlib.Path(cls.temporary.name)
        (folder / "old report.json").touch()
        (folder / "other.html").touch()
        cls.shell = Shell(folder, folder)

    @classmethod
    def tearDownClass(cls):
        cls.shell.close()
        cls.temporary.cleanup()

    def test_each_option_is_completed(self):
        self.assertEqual(sorted(self.shell.listed("st-report ")), REPORT_OPTIONS)
        self.assertEqual(sorted(self.shell.listed("st-report --json --")), REPORT_OPTIONS)
        self.assertEqual(self.shell.completed("st-report --prev"), "st-report --preview ")

    def test_files_behind_options_that_take_one(self):
        for option in ("--html", "--metrics", "--compare"):
            for between in (" ", "="):
                with self.subTest(option=option, between=between):
                    line = f"st-report {option}{between}"
                    self.assertEqual(self.shell.completed(line + "ol"), line + "old\\ report.json ")

    def test_values(self):
        for between in (" ", "="):
            line = f"st-report --color{between}"
            self.assertEqual(sorted(self.shell.listed(line)), ["always", "auto", "never"])
            self.assertEqual(self.shell.completed(line + "n"), line + "never ")
        for line in ("st-report --columns ", "st-report --expect-days ", "st-report x"):
            self.assertEqual(self.shell.completed(line), line)

    def test_settings_of_the_shell_change_nothing(self):
        self.shell.run("set -u; set -f; IFS=-; shopt -s nocasematch nullglob failglob")
        self.test_values()
        self.test_each_option_is_completed()


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
