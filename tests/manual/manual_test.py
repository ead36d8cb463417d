#!/usr/bin/env python3
"""Compares man pages and completions with what the programs say of themselves, and types into
shells. Usage: manual_test.py FOLDER PROGRAM..."""
import os
import pty
import re
import select
import shutil
import subprocess
import sys
import tempfile
import time
import unittest

FOLDER, *PROGRAMS = [os.path.abspath(name) for name in sys.argv[1:]]
del sys.argv[1:]
LIMIT = 60


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True, timeout=LIMIT).stdout


def commands_of(program):
    """{path: (options, subcommands)} of all commands, as --help tells them."""
    found = {}

    def visit(path):
        text = output(*path, "--help")
        options = [name for line in re.findall(r"^  (-.*)$", text, re.M)
                   for name in re.findall(r"(?:^|,)(--?[\w-]+)", line.split(" ")[0])]
        below = text.split("\nSubcommands:\n")[1].split("\n\n")[0] if "\nSubcommands:" in text else ""
        members = re.findall(r"^  (\w+) ", below, re.M)
        found[tuple(path)] = options, members
        for member in members:
            visit([*path, member])

    visit([program])
    return {(os.path.basename(program), *path[1:]): facts for path, facts in found.items()}


def bash_offers(*words):
    """What bash's completion offers for the last of the words."""
    name = words[0]
    typed = " ".join(f"'{word}'" for word in words)
    script = (f"source {FOLDER}/{name}.bash; COMP_WORDS=({typed}); COMP_CWORD={len(words) - 1}; "
              f"_{name}; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
    return output("bash", "--norc", "-c", script).split()


def typed_into(shell, setup, keys):
    """The words that a program gets when these keys are typed into a shell that is set up so."""
    place = tempfile.TemporaryDirectory()
    for name, text in ((".bashrc", setup), (".zshrc", setup), ("moonlight.fits", "")):
        with open(os.path.join(place.name, name), "w", encoding="utf-8") as file:
            file.write(text)
    ours, theirs = pty.openpty()
    environment = {"PATH": os.environ["PATH"], "TERM": "vt100", "HOME": place.name}
    process = subprocess.Popen(shell, stdin=theirs, stdout=theirs, stderr=theirs, cwd=place.name,
                               env=environment, start_new_session=True)
    os.close(theirs)

    def shown_until(end):
        shown = ""
        limit = time.monotonic() + LIMIT
        while end not in shown and time.monotonic() < limit:
            if select.select([ours], [], [], 1)[0]:
                shown += os.read(ours, 65536).decode(errors="replace")
        return shown

    shown_until("at your service: ")
    os.write(ours, keys.encode() + b"\n")
    words = re.findall(r"<([^<>]*)>", shown_until("<end>"))
    os.close(ours)
    process.kill()
    process.wait()
    place.cleanup()
    return words


# A program that shows its arguments, and a prompt.
SETUP = "".join(f"{os.path.basename(program)}() {{ printf '<%s>' \"$@\" end; }}\n"
                for program in PROGRAMS) + "PS1='at your service: '\n"
# Keys, and the command line that they complete to. Some shells write "=" after an option.
TYPED = [
    ("orvikctl sn\t--ty\traw1\t-o moo\t", "snap --type raw16 -o moonlight.fits"),
    ("orvikctl dark re\t--sim T15\t", "dark record --sim T15C"),
    ("orvikctl set Exp\t2s Gam\t40", "set Exposure=2s Gamma=40"),
    ("orvikctl snap --flip=bo\t", "snap --flip both"),
    ("orvik-simcam --scene pl\tT14\t", "--scene planet T14C"),
    ("orvik-server --no-d\t--tok\tmoo\t", "--no-discovery --token-file moonlight.fits"),
]
TYPED = [one for one in TYPED if one[0].split()[0] in map(os.path.basename, PROGRAMS)]


class ManualTest(unittest.TestCase):
    def test_lists_every_option(self):
        for program in PROGRAMS:
            name = os.path.basename(program)
            page = output("groff", "-man", "-Tascii", "-P-cbou", "-rLL=200n", f"{FOLDER}/{name}.1")
            with open(f"{FOLDER}/_{name}", encoding="utf-8") as file:
                zsh = file.read()
            commands = commands_of(program)
            self.assertGreater(len(commands), 16 if name == "orvikctl" else 0)
            for path, (options, members) in commands.items():
                with self.subTest(" ".join(path)):
                    self.assertIn("--help", options)
                    self.assertCountEqual(bash_offers(*path, "-"), options)
                    if members:
                        self.assertCountEqual(bash_offers(*path, ""), members)
                    function = re.search("^_" + "_".join(path) + r"\(\) \{\n(.*?)^\}", zsh,
                                         re.M | re.S).group(1)
                    part = page
                    if len(path) > 1:
                        part = re.search(f"^   {' '.join(path)}\n(.*?)^(   )?[a-zA-Z]", page,
                                         re.M | re.S).group(1)
                    for option in options:
                        self.assertRegex(function, rf"{option}[=+\[]")
                        if option != "-h":
                            self.assertRegex(part, rf"{option}(?![\w-])")

    def test_offers_what_fits(self):
        self.assertEqual(bash_offers("orvikctl", "snap", "--type", "r"), ["raw8", "rgb24", "raw16"])
        self.assertEqual(bash_offers("orvikctl", "snap", "--gain", ""), [])
        self.assertEqual(bash_offers("orvikctl", "get", "cool"), [])
        self.assertEqual(bash_offers("orvikctl", "get", "Cool"), ["CoolPowerPerc", "Cooler-on"])
        self.assertEqual(bash_offers("orvikctl", "set", "Gain", "=", ""), [])
        self.assertIn("T13C_C", bash_offers("orvikctl", "list", "--sim", ""))
        self.assertIn("video.rate", bash_offers("orvikctl", "selftest", "--only", "video"))

    def test_pages_are_clean(self):
        for program in PROGRAMS:
            page = f"{FOLDER}/{os.path.basename(program)}.1"
            done = subprocess.run(["groff", "-man", "-ww", "-z", page], capture_output=True,
                                  text=True, check=True)
            self.assertEqual(done.stderr, "")

    def completes(self, shell, setup):
        for keys, expected in TYPED:
            with self.subTest(keys):
                given = " ".join(typed_into(shell, setup, keys))
                self.assertEqual(re.sub(r"(--[-\w]+)=", r"\1 ", given), expected + " end")

    def test_completes_in_bash(self):
        sources = "".join(f"source {FOLDER}/{os.path.basename(program)}.bash\n"
                          for program in PROGRAMS)
        self.completes(["bash", "--noprofile", "-i"], sources + SETUP)

    @unittest.skipUnless(shutil.which("zsh"), "zsh is not installed")
    def test_completes_in_zsh(self):
        # Keys that are typed ahead complete as well.
        load = (f"fpath=({FOLDER} $fpath)\nautoload -U compinit\ncompinit -u -D\n"
                "zstyle ':completion:*' insert-tab false\n")
        self.completes(["zsh", "-d", "-i"], load + SETUP)


if __name__ == "__main__":
    unittest.main()
