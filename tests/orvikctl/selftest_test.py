#!/usr/bin/env python3
"""Runs `orvikctl selftest` on virtual cameras. Usage: selftest_test.py ORVIKCTL"""
import os
import unittest

from program import InOwnFolder, result, run


class SelftestTest(InOwnFolder):
    def test_every_model_passes(self):
        report = result("selftest", "--quick", sim="all", limit=280)
        failures = [f"{camera['name']}: {check['check']}: {check['detail']}"
                    for camera in report["cameras"] for check in camera["checks"]
                    if check["verdict"] == "fail"]
        self.assertEqual(failures, [])
        names = {camera["name"] for camera in report["cameras"]}
        self.assertEqual(len(names), 37, "each product has a name of its own")
        for camera in report["cameras"]:
            self.assertEqual(len(camera["checks"]), len(report["cameras"][0]["checks"]))
            self.assertLess(camera["summary"]["skipped"], 10, camera["name"])

    def test_tells_in_words(self):
        text, _ = run("selftest", "--only", "video.rate", "--only", "extras")
        self.assertIn("Vek T15C, camera 0", text)
        self.assertRegex(text, r"pass  video.rate +it streams: .* frames/s")
        self.assertRegex(text, r"skip  extras.mark .*: the camera has no mark")
        self.assertRegex(text, r"\n5 checks: 4 passed, 0 failed, 1 skipped, in ")
        self.assertIn("video.rate", run("selftest", "--list", sim=None)[0])

    def test_refuses_what_is_not_there(self):
        run("selftest", "T13C", code=3)
        run("selftest", "--only", "nothing", code=2)
        run("selftest", "--sim", "T15C", sim="all", code=2)
        self.assertEqual(run("selftest", "t15c", "--only", "arguments.index")[0].count("pass"), 2)

    def test_leaves_settings_alone(self):
        run("selftest", "--quick", "--only", "controls", "--only", "video.starts")
        self.assertEqual(os.listdir(os.environ["XDG_CONFIG_HOME"]), [])


if __name__ == "__main__":
    unittest.main(verbosity=1)
