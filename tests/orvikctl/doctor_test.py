#!/usr/bin/env python3
"""Runs `orvikctl doctor` on made-up machines. Usage: doctor_test.py ORVIKCTL"""
import json
import os
import unittest
import unittest.mock

from program import InOwnFolder, run

T15C, T05C, T01C = 0x1500, 0x0580, 0x0100


class Machine:
    """The files of a machine that doctor looks at, with nothing wrong on it."""

    def __init__(self, root):
        self.root = root
        os.makedirs(self.path("sys/bus/usb/devices"))
        os.makedirs(self.path("proc"))
        self.write("sys/module/usbcore/parameters/usbfs_memory_mb", "16")
        self.write("proc/sys/kernel/osrelease", "6.1.0-18-amd64")
        self.write("etc/udev/rules.d/70-orvik.rules", 'ATTR{idVendor}!="4f56", GOTO="orvik_end"')

    def path(self, name):
        return os.path.join(self.root, name)

    def write(self, name, text):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text + "\n")

    def link(self, name, target):
        os.makedirs(os.path.dirname(self.path(name)), exist_ok=True)
        os.symlink(target, self.path(name))

    def plug(self, port, number, speed="5000", vendor=0x4F56, control="on", **more):
        device = f"sys/bus/usb/devices/{port}/"
        address = len(os.listdir(self.path("sys/bus/usb/devices"))) + 1
        files = {"idVendor": f"{vendor:04x}", "idProduct": f"{number:04x}", "speed": speed,
                 "busnum": "2", "devnum": str(address), "power/control": control, **more}
        for name, text in files.items():
            self.write(device + name, text)
        node = f"dev/bus/usb/002/{address:03d}"
        self.write(node, "")
        return "/" + node


class DoctorTest(InOwnFolder):
    def setUp(self):
        super().setUp()
        self.machine = Machine(os.path.join(self.folder.name, "machine"))

    def findings(self, code=1):
        text, _ = run("doctor", "--json", "--root", self.machine.root, sim=None, code=code)
        self.report = json.loads(text)
        for finding in self.report["findings"]:
            self.assertRegex(finding["what"], r"^[A-Z].*\.$")
            self.assertRegex(finding["fix"], r"\.$")
        return [finding["id"] for finding in self.report["findings"]]

    def test_a_sound_machine(self):
        self.machine.plug("2-1", T15C)
        self.machine.plug("1-3", T01C, speed="480")  # a camera of USB 2
        self.machine.plug("1-4", 0x1234, vendor=0x1111, control="auto", speed="12")  # no camera
        self.assertEqual(self.findings(code=0), [])
        self.assertEqual([camera["name"] for camera in self.report["cameras"]],
                         ["Vek T01C", "Vek T15C"])
        text, _ = run("doctor", "--root", self.machine.root, sim=None)
        self.assertIn("Nothing is wrong", text)

    def test_no_camera(self):
        self.assertEqual(self.findings(code=3), [])
        self.machine.write("proc/sys/kernel/osrelease", "4.4.0")
        self.assertEqual(self.findings(), ["old-kernel"])
        text, _ = run("doctor", "--root", self.machine.root, sim=None, code=1)
        self.assertIn("No camera is connected", text)
        empty = self.machine.path("empty")
        os.mkdir(empty)
        self.machine.root = empty
        self.assertEqual(self.findings(), ["no-usb", "no-udev-rules"])

    def test_speed_and_sleep(self):
        self.machine.plug("1-1", T15C, speed="480", control="auto")
        self.machine.plug("1-2", T01C, speed="12")
        self.machine.plug("2-2", 0x1FFF, product="Vek T99C")
        self.assertEqual(self.findings(),
                         ["usb2-port", "autosuspend", "slow-link", "unknown-model"])
        whats = [finding["what"] for finding in self.report["findings"]]
        self.assertTrue(whats[0].startswith("Vek T15C on port 1-1 "))
        self.assertTrue(whats[3].startswith("Vek T99C on port 2-2 "))

    def test_memory(self):
        self.machine.plug("2-1", T05C)
        self.assertEqual(self.findings(), ["usb-memory"])
        # 7380 x 4928 samples of 2 bytes are 69.4 MiB.
        self.assertIn("want 70", self.report["findings"][0]["what"])
        for enough in ("70", "0"):
            self.machine.write("sys/module/usbcore/parameters/usbfs_memory_mb", enough)
            self.assertEqual(self.findings(code=0), [])

    def test_settings(self):
        self.machine.plug("2-1", T15C)
        self.machine.write("a-file", "")
        os.environ["XDG_CONFIG_HOME"] = self.machine.path("a-file/below")
        self.assertEqual(self.findings(), ["no-settings"])
        what = self.report["findings"][0]["what"]
        self.assertIn(self.machine.path("a-file/below/orvik/settings.json (Not a directory)"), what)

    def test_cameras_that_the_environment_replaces(self):
        self.machine.plug("2-1", T15C)
        with unittest.mock.patch.dict(os.environ, ORVIK_SIM="T13C_C,scene=moon"):
            self.assertEqual(self.findings(), ["virtual-cameras"])
            self.assertIn("T13C_C,scene=moon", self.report["findings"][0]["what"])
            os.environ["ORVIK_REPLAY"] = "night.txt"
            self.assertEqual(self.findings(), ["replay"], "it takes precedence")

    def test_access(self):
        node = self.machine.plug("2-1", T15C)
        os.remove(self.machine.path(node[1:]))
        self.assertEqual(self.findings(), ["no-device-file"])
        os.remove(self.machine.path("etc/udev/rules.d/70-orvik.rules"))
        self.assertEqual(self.findings(), ["no-device-file", "no-udev-rules"])

    @unittest.skipIf(os.geteuid() == 0, "root may open everything")
    def test_permission(self):
        node = self.machine.plug("2-1", T15C)
        os.chmod(self.machine.path(node[1:]), 0o444)
        self.assertEqual(self.findings(), ["no-permission"])
        self.assertIn("plugdev", self.report["findings"][0]["fix"])
        os.remove(self.machine.path("etc/udev/rules.d/70-orvik.rules"))
        self.assertEqual(self.findings(), ["no-permission"])
        self.assertIn("70-orvik.rules", self.report["findings"][0]["fix"])

    def test_holders(self):
        node = self.machine.plug("2-1", T15C)
        driver = "sys/bus/usb/devices/2-1/2-1:1.0/driver"
        self.machine.link(driver, "../../../../bus/usb/drivers/usbfs")
        self.assertEqual(self.findings(), ["in-use"])
        self.assertIn("another user", self.report["findings"][0]["what"])
        self.machine.write("proc/4711/comm", "sky-recorder")
        self.machine.link("proc/4711/fd/0", "/dev/null")
        self.machine.link("proc/4711/fd/5", node)
        self.assertEqual(self.findings(), ["in-use"])
        self.assertIn("sky-recorder (process 4711)", self.report["findings"][0]["what"])
        os.remove(self.machine.path("proc/4711/fd/5"))
        os.remove(self.machine.path(driver))
        self.machine.link(driver, "../../../../bus/usb/drivers/gspca_main")
        self.assertEqual(self.findings(), ["kernel-driver"])


if __name__ == "__main__":
    unittest.main(verbosity=1)
