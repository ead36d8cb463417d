"""Runs orvikctl as a user would. The test's first argument is the program."""
import json
import os
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.path.abspath(sys.argv.pop(1))
LIMIT = 60  # seconds that no run may take


def run(*arguments, code=0, sim="T15C", timeout=LIMIT):
    """Runs the program, checks its exit code unless it is None, and returns (stdout, stderr)."""
    command = [PROGRAM, *arguments] + (["--sim", sim] if sim else [])
    done = subprocess.run(command, capture_output=True, text=True, timeout=timeout,
                          stdin=subprocess.DEVNULL)
    if code is not None and done.returncode != code:
        raise AssertionError(f"{command}: {done.returncode}, not {code}\n{done.stderr}")
    return done.stdout, done.stderr


def result(*arguments, **more):
    """The JSON that the program writes."""
    return json.loads(run(*arguments, "--json", **more)[0])


def offered_models():
    """The models that can be plugged; the message about a wrong one names them."""
    return run("list", sim="none", code=2)[1].split("Models:")[1].split()


def contents(name):
    with open(name, "rb") as file:
        return file.read()


def fits_file(name):
    """A FITS file, opened by astropy; without it the test is skipped."""
    try:
        from astropy.io import fits
    except ImportError:
        raise unittest.SkipTest("astropy is not installed") from None
    return fits.open(name)


def header(name):
    """The cards of a FITS file."""
    with fits_file(name) as file:
        return dict(file[0].header)


def picture(name):
    """The pixels of a FITS file, less their median."""
    import numpy
    with fits_file(name) as file:
        return file[0].data - numpy.median(file[0].data)


class InOwnFolder(unittest.TestCase):
    """Each test has an empty folder to work in, and settings of its own."""

    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        os.chdir(self.folder.name)
        self.settings = tempfile.TemporaryDirectory()
        self.addCleanup(self.settings.cleanup)
        os.environ["XDG_CONFIG_HOME"] = self.settings.name
