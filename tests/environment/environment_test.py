#!/usr/bin/env python3
"""Runs programs with the environment variables of the library.
Usage: environment_test.py ORVIKCTL SIMCAM PLAIN_PROGRAM LIBORVIK LIBORVIK_SIM"""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest

ORVIKCTL, SIMCAM, PLAIN, LIBRARY, SIMULATOR = [sys.argv.pop(1) for _ in range(5)]


class EnvironmentTest(unittest.TestCase):
    """Each test has a folder with the plain program and both libraries, as they are installed."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        os.chdir(folder.name)
        self.beside = os.path.basename(SIMULATOR)
        shutil.copy(PLAIN, "plain")
        os.symlink(LIBRARY, os.path.basename(LIBRARY))
        os.symlink(SIMULATOR, self.beside)

    def run_program(self, *command, code=0, text="", **variables):
        """Runs a program and returns what it wrote to standard output and to standard error."""
        kept = {name: value for name, value in os.environ.items()
                if not name.startswith("ORVIK_") and name != "LD_LIBRARY_PATH"}
        done = subprocess.run(command, env={**kept, "XDG_CONFIG_HOME": os.getcwd(), **variables},
                              capture_output=True, text=True, timeout=120, input=text)
        self.assertEqual(done.returncode, code, f"{command} {variables}\n{done.stderr}")
        return done.stdout, done.stderr

    def plain(self, words, output, message="", **variables):
        written, told = self.run_program("./plain", *words.split(), **variables)
        self.assertEqual(written, "".join(8 * count + "\n" for count in output))
        self.assertRegex(told, rf"\A{message}\Z")

    def test_a_program_that_knows_no_virtual_cameras_has_them(self):
        self.plain("look", "3", ORVIK_SIM="T15C,fault=any fail at 9; any unplug at 99;T13C_C;T01C")
        self.plain("change stream change look", "0",
                   ORVIK_SIM="T15C,scene=grey,fault=bulk unplug at 60")
        self.plain("stream", "", ORVIK_SIM="T13C,scene=grey")  # left open and capturing

    def test_a_wrong_value_leaves_no_camera(self):
        for value, reason in (("T15C;T99X", "There is no model 'T99X'."),
                              ("T15C;T13C,scene=sun\nset", "The option 'scene' .* 'sun set'."),
                              ("", "No camera is named.")):
            self.plain("look look", "00", f"orvik: ORVIK_SIM: {reason} No camera is used.\n",
                       ORVIK_SIM=value)

    def test_the_simulator_beside_the_library_comes_first(self):
        os.mkdir("else")
        os.rename(self.beside, f"else/{self.beside}")
        self.plain("look", "0", "orvik: ORVIK_SIM: .*cannot be loaded: .*\n", ORVIK_SIM="T15C")
        found = {"ORVIK_SIM": "T15C", "LD_LIBRARY_PATH": "else"}
        self.plain("look", "1", **found)
        shutil.copy(LIBRARY, self.beside)
        self.plain("look", "0", "orvik: ORVIK_SIM: .* another version.*\n", **found)

    def test_a_program_may_plug_cameras_itself(self):
        self.plain("look plug look unplug look plug look", "1201", ORVIK_SIM="T15C")
        self.plain("plug look unplug look", "10", ORVIK_SIM="T15C")
        for command, text in (([ORVIKCTL, "list", "--sim", "T01C"], ""),
                              ([SIMCAM, "T01C", "--port", "0"], "quit\n")):
            output, message = self.run_program(*command, text=text, ORVIK_SIM="T15C;T99X")
            self.assertIn("T01C", output)
            self.assertNotRegex(output + message, "T15C|T99X")

    def test_recording_and_replay(self):
        snap = [ORVIKCTL, "snap", "--roi", "320x240", "--type", "raw8", "-o"]
        self.run_program(*snap, "seen.fits", ORVIK_SIM="T15C", ORVIK_RECORD="night.txt",
                         ORVIK_RECORD_WHOLE="")
        self.run_program(*snap, "again.fits", ORVIK_SIM="T13C", ORVIK_REPLAY="night.txt")
        images = []
        for name in ("seen.fits", "again.fits"):
            with open(name, "rb") as file:
                images.append(file.read()[-77760:])
        self.assertEqual(*images)

    def test_privileged_programs_ignore_all(self):
        other = next((group for group in [*os.getgroups(), 65534] if group != os.getgid()))
        shutil.copy(ORVIKCTL, "privileged")
        try:
            os.chown("privileged", -1, other)
        except PermissionError:
            self.skipTest("this user cannot give a file to another group")
        with open("/proc/self/status", encoding="ascii") as status:
            if "NoNewPrivs:\t1" in status.read() or os.statvfs(".").f_flag & os.ST_NOSUID:
                self.skipTest("set-group-ID has no effect here")
        for mode, honoured in ((0o755, True), (0o2755, False)):
            os.chmod("privileged", mode)
            for wrong in ({"ORVIK_SIM": "T99X"}, {"ORVIK_REPLAY": "nothing.txt"}):
                _, message = self.run_program("./privileged", "list", code=3, **wrong)
                self.assertEqual("orvik: " in message, honoured, message)
            record = f"{mode}.txt"
            self.run_program("./privileged", "list", "--sim", "T15C", ORVIK_RECORD=record)
            self.assertEqual(os.path.exists(record), honoured)


if __name__ == "__main__":
    unittest.main(verbosity=1)
