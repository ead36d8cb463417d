#!/usr/bin/env python3
"""Runs `orvikctl selftest` on virtual cameras. Usage: selftest_test.py ORVIKCTL"""
import concurrent.futures
import json
import os
import unittest

from program import InOwnFolder, offered_models, result, run


# Under the thread sanitizer virtual cameras do not make large pictures, or many at once, in the time
# that the library gives them: one small model of each family, one after the other.
SLOW = "ORVIK_SLOW" in os.environ
FAMILIES = ["T01C", "T02C", "T06C", "T10M", "T13C_C", "T15C"]


def plugged(model):
    """The time that requests take is lived through with one model of each family."""
    return model if model in FAMILIES else model + ",latency=0"


def reports_of_pair(models):
    sims = [part for model in models for part in ("--sim", plugged(model))]
    # The report names what failed; the exit code would only say that something did.
    text, _ = run("selftest", "--quick", "--json", *sims, sim=None, code=None, timeout=250)
    return json.loads(text)["cameras"]


class SelftestTest(InOwnFolder):
    def test_every_model_passes(self):
        models = FAMILIES if SLOW else offered_models()
        pairs = [models[n:n + 2] for n in range(0, len(models) - 1, 2)] + [models[-2:]]
        # Cameras are mostly waited for, so that several runs at once take little longer than one.
        with concurrent.futures.ThreadPoolExecutor(1 if SLOW else 4) as pool:
            cameras = [camera for pair in pool.map(reports_of_pair, pairs) for camera in pair]
        self.assertGreaterEqual(len(cameras), len(models))
        failures = [f"{camera['name']}: {check['check']}: {check['detail']}"
                    for camera in cameras for check in camera["checks"]
                    if check["verdict"] == "fail"]
        self.assertEqual(failures, [])
        for camera in cameras:
            self.assertEqual(len(camera["checks"]), len(cameras[0]["checks"]))
            skipped = [check["check"] for check in camera["checks"] if check["verdict"] == "skip"]
            self.assertLess(len(skipped), 10, camera["name"])
            self.assertNotIn("pair.video", skipped)

    def test_goes_through_all_models(self):
        report = result("selftest", "--only", "arguments.index", "--only", "pair.controls", sim="all")
        self.assertEqual(report["summary"]["passed"], 2 * len(offered_models()))

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
