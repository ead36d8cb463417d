#!/usr/bin/env python3
"""The benchmark report and the comparison of two runs, on recorded results."""
import contextlib
import io
import json
import sys
import tempfile
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "scripts"))
import bench  # noqa: E402
import bench_report  # noqa: E402
import bench_results  # noqa: E402


def entries(name, cpu, real=None, **more):
    """The repetitions of a case as Google Benchmark writes them, times in microseconds."""
    real = real or cpu
    return [{"name": name, "run_name": name, "run_type": "iteration", "time_unit": "us",
             "cpu_time": one, "real_time": other, **more} for one, other in zip(cpu, real)]


def aggregate(name):
    return [{"name": name + "_median", "run_name": name, "run_type": "aggregate",
             "time_unit": "us", "cpu_time": 0.001, "real_time": 0.001}]


RUN = (entries("demosaic/orvik/S", [100, 104, 96, 101, 99], family_index=0,
               items_per_second=1e10, bytesPerPixel=1)
       + entries("memcpy/8 bit/S", [50] * 5, family_index=1, bytesPerPixel=1)
       + entries("road raw8, one core/orvik/S/real_time", [26] * 5, [137] * 5, family_index=2,
                 switchesPerFrame=4.5, cpuPerFrame=130)
       + entries("road raw8, one core/memcpy/S/real_time", [27] * 5, [27.4] * 5, family_index=3)
       + entries("demosaic/opencv/S", [300] * 5, family_index=4)
       + entries("loopback/process_time/real_time", [9] * 5, [90] * 5, family_index=5)
       + entries("latency/orvik/S/iterations:10000/repeats:1/manual_time", [90], [191],
                 family_index=6, low=110, median=124, high=140, p99=300, worst=5000)
       + aggregate("demosaic/orvik/S"))


class BenchTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def write(self, name, content):
        path = self.folder / name
        path.write_text(content if isinstance(content, str) else json.dumps(content))
        return path

    def read(self, listed, name="run.json"):
        context = {"num_cpus": 2, "compiler": "GCC 12", "load_avg": [0.5, 0.4, 0.3]}
        return bench_results.read([self.write(name, {"context": context, "benchmarks": listed})])

    def record(self, listed, name):
        cases, _, context = self.read(listed)
        build = {"commit": name, "date": "2026-01-01T00:00:00+00:00", "cpu": "a processor"}
        return self.write(name + ".json", bench_results.record_of(cases, context, build))

    def test_clocks_quartiles_and_ratios(self):
        cases, failures, _ = self.read(RUN)
        self.assertEqual(failures, [])
        demosaic = cases["demosaic/orvik/S"]
        self.assertEqual((demosaic.clock, demosaic.runs), ("cpu", 5))
        for value, expected in ((demosaic.low, 99e-6), (demosaic.median, 100e-6),
                                (demosaic.high, 101e-6)):
            self.assertAlmostEqual(value, expected)
        # Work of several threads takes what the clock on the wall says, under its plain name.
        road = cases["road raw8, one core/orvik/S"]
        self.assertEqual(road.clock, "real")
        self.assertAlmostEqual(road.median, 137e-6)
        self.assertAlmostEqual(cases["loopback"].median, 90e-6)
        # One run of many frames brings its own distribution.
        self.assertAlmostEqual(cases["latency/orvik/S"].median, 124e-6)
        self.assertAlmostEqual(cases["latency/orvik/S"].high, 140e-6)
        found = bench_results.ratios(cases)
        self.assertAlmostEqual(found["demosaic/orvik/S"]["memcpy"], 0.5)
        self.assertAlmostEqual(found["demosaic/orvik/S"]["opencv"], 3.0)
        self.assertAlmostEqual(found["road raw8, one core/orvik/S"]["memcpy"], 0.2)
        text = bench_report.report(cases)
        # The pixels of the last repetition, 1e10/s x 99 us, by the median.
        self.assertRegex(text, r"demosaic +S +100\.0 +1 % +cpu +9\.90 +x0\.50 +opencv x3\.00")
        self.assertIn("130 us of all cores a frame, 4.5 switches a frame", text)
        self.assertRegex(text, r"latency/orvik/S +99 % below 300 us, worst 5000 us")

    def test_a_case_that_fails_counts_as_nothing(self):
        broken = RUN + [{"run_name": "dark/orvik/S", "run_type": "iteration", "time_unit": "us",
                         "cpu_time": 1, "real_time": 1, "error_occurred": True,
                         "error_message": "byte 7 of the output is not written"}]
        broken += entries("dark/orvik/S", [1, 1])  # repetitions that did not notice
        path = self.write("b.json", {"context": {}, "benchmarks": broken})
        said = io.StringIO()
        with contextlib.redirect_stderr(said):
            cases, _, is_good = bench.read([path])
        self.assertFalse(is_good)
        self.assertNotIn("dark/orvik/S", cases)
        self.assertIn("dark/orvik/S: byte 7 of the output is not written", said.getvalue())

    def test_which_differences_are_real(self):
        steady = [100, 101, 99, 100, 100]
        for after, expected in (([90, 91, 89, 90, 90], True),      # clearly faster
                                ([110, 111, 109, 110, 110], True),  # clearly slower
                                ([98, 98, 98, 98, 98], False),      # apart, but by 2 % only
                                ([60, 120, 80, 125, 90], False),    # as noisy as it is different
                                (steady, False)):
            one = self.read(entries("dark/orvik/S", steady))[0]
            other = self.read(entries("dark/orvik/S", after))[0]
            for before, later in ((one, other), (other, one)):
                (name, _, is_real), = bench_report.compare(before, later)
                self.assertEqual((name, is_real), ("dark/orvik/S", expected), after)

    def test_records_are_compared(self):
        faster = [{**each, "cpu_time": each["cpu_time"] / 2} if "demosaic/orvik" in each["run_name"]
                  else each for each in RUN]
        names = [str(self.record(RUN, "one")), str(self.record(faster[5:] + faster[:5], "two"))]
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            options, args = bench.parse(["compare", *names])
            self.assertEqual(bench.compare(options, args), 0)
        self.assertRegex(said.getvalue(), r"demosaic/orvik/S +100\.00 +50\.00 +x2\.00")
        self.assertIn("1 of 7 cases differ beyond their noise; 6 do not.", said.getvalue())
        self.assertNotIn("the machine changed", said.getvalue())
        before, _ = bench_results.read_record(names[0])
        self.assertIn("| demosaic | S | 100 | 9.9 | 0.50 | opencv 3.00 |",
                      bench_report.markdown(before))
        peer = dict(before)
        peer["demosaic/opencv/S"] = bench_results.Case(1e-4, 1e-4, 1e-4, 5)
        del peer["loopback"]
        text = bench_report.comparison(before, peer)
        # A peer that is three times as fast as before: nothing smaller can be believed.
        self.assertIn("demosaic/opencv/S differs by > 100 %", text)
        self.assertIn("0 of 6 cases differ beyond their noise", text)
        self.assertIn("Only in the first: 1 cases, such as loopback.", text)

    def test_files_that_are_no_records(self):
        for content in ("", "[]", "{}", '{"format": 2}', '{"format": 1, "cases": {"a": 3}}'):
            path = self.write("bad.json", content)
            with self.assertRaises(bench_results.BadResults, msg=content):
                bench_results.read_record(path)
            with self.assertRaises(bench_results.BadResults, msg=content):
                bench_results.read([path])


if __name__ == "__main__":
    unittest.main()
