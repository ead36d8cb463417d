# SPDX-License-Identifier: MIT
"""What surrounds the code: types, documentation, the example, the command."""
import inspect
import os
import re
import subprocess
import sys
from pathlib import Path

import numpy as np
from astropy.io import fits

import orvik
import orvik.sim

SOURCE = Path(os.environ["ORVIK_SOURCE_DIR"])
BINARY = Path(os.environ["ORVIK_BINARY_DIR"])


def run(*command, **options):
    return subprocess.run([sys.executable, *command], capture_output=True, text=True, timeout=120,
                          **options)


def test_types(tmp_path):
    # NumPy's own annotations take long to read, and are not what is checked.
    config = BINARY / "mypy.ini"
    config.write_text("[mypy]\nstrict = True\ndisallow_any_generics = False\n"
                      "[mypy-numpy]\nfollow_imports = skip\nfollow_imports_for_stubs = True\n")
    cache = dict(os.environ, MYPY_CACHE_DIR=str(BINARY / "mypy_cache"))
    package = str(BINARY / "python/orvik")
    done = run("-m", "mypy", "--config-file", str(config), package, env=cache, cwd=BINARY)
    assert done.returncode == 0, done.stdout
    # The classes of an extension have a metaclass of their own, which stubs need not tell.
    stub = (SOURCE / "integrations/python/orvik/_orvik.pyi").read_text()
    allowed = tmp_path / "allowed"
    allowed.write_text("\n".join(f"orvik._orvik.{name}{member}" for member in ("", ".__init__")
                                 for name in re.findall(r"^class (\w+)", stub, re.MULTILINE)))
    done = run("-m", "mypy.stubtest", "orvik._orvik", "orvik._sim", "--allowlist", str(allowed),
               "--ignore-unused-allowlist", "--mypy-config-file", str(config), env=cache)
    assert done.returncode == 0, done.stdout


def test_everything_public_is_documented():
    def undocumented(owner, name):
        for key, value in vars(owner).items():
            if not key.startswith("_") and (callable(value) or isinstance(value, property)):
                if not inspect.getdoc(value):
                    yield f"{name}.{key}"

    names = [*orvik.__all__, *(f"sim.{name}" for name in orvik.sim.__all__)]
    missing = []
    for name in names:
        value = orvik
        for part in name.split("."):
            value = getattr(value, part)
        missing += [name] if not inspect.getdoc(value) else []
        if inspect.isclass(value):
            missing += undocumented(value, name)
            missing += undocumented(value.__mro__[1], name) if name == "Camera" else []
    assert missing == []


def test_example_writes_good_fits(tmp_path):
    file = tmp_path / "moon.fits"
    done = run(str(SOURCE / "examples/fits_with_astropy.py"), str(file), "0.05", "T15C")
    assert done.returncode == 0, done.stderr
    with fits.open(file, checksum=True) as opened:
        opened.verify("exception")
        header, data = opened[0].header, opened[0].data
        assert header["BITPIX"] == 16 and header["BZERO"] == 32768
        assert data.dtype == np.uint16 and data.shape == (976, 1304)
        assert data.max() > 40000 > data.min()
        expected = {"INSTRUME": "Vek T15C", "EXPTIME": 0.05, "BAYERPAT": "RGGB", "XPIXSZ": 3.75,
                    "ROWORDER": "TOP-DOWN", "TIMESYS": "UTC", "XBINNING": 1}
        assert {key: header[key] for key in expected} == expected
    done = run(str(SOURCE / "examples/fits_with_astropy.py"), str(file), "5000", "T15C")
    assert done.returncode == 1 and "Exposure: 5000" in done.stderr


def test_command_lists_cameras():
    done = run("-m", "orvik")
    assert done.returncode == 0 and done.stdout, done.stderr
    with orvik.sim.camera("T15C", serial="0012ABCD"):
        code = "import orvik.sim, orvik.__main__ as m; v = orvik.sim.camera('T15C'); m.main()"
        assert "Vek T15C" in run("-c", code).stdout
