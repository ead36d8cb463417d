# SPDX-License-Identifier: MIT
"""What the tests of the page have in common."""
import os
import re
import sys
import unittest

from browser import Browser
from served import Served

PROGRAM = os.path.abspath(sys.argv.pop(1))
MOON = "T15C,scene=moon"
COOLED = "T10C_C,scene=stars"
SENSOR = (1304, 976)  # of MOON


class PageTest(unittest.TestCase):
    """One server and one browser for all tests of a class; each begins at `path`."""
    cameras = (MOON,)
    path = "/camera/0"
    token = None

    @classmethod
    def setUpClass(cls):
        cls.served = Served(PROGRAM, *cls.cameras, token=cls.token)
        cls.addClassCleanup(cls.served.close)
        cls.page = cls.browser()

    @classmethod
    def browser(cls):
        browser = Browser()
        cls.addClassCleanup(browser.close)
        return browser

    def setUp(self):
        self.page.driver.get(self.served.url(self.path))

    def tearDown(self):
        self.assertEqual(self.page.errors(), [])

    def set_exposure(self, text, page=None):
        page = page or self.page
        page.until(lambda: page.run("return document.getElementById('control-1')"), "controls")
        page.enter("control-1", text)
        page.until_text("exposure", text)

    def mean(self):
        """Mean value of the first channel, as the panel of the histogram tells it."""
        found = re.search(r"mean ([\d.]+)", self.page.text("levels"))
        return float(found[1]) if found else None

    def until_mean(self, condition, what):
        self.page.until(lambda: self.mean() is not None and condition(self.mean()), what)
