# SPDX-License-Identifier: MIT
"""A browser without a screen, and what the tests do with the page in it."""
import json
import os
import shutil
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

DEADLINE = 60
# A picture as numbers: brightness of N x N places of a part of the canvas.
SAMPLES = """
  const [x, y, width, height, count] = arguments;
  const picture = document.getElementById('picture');
  if (picture.width * picture.height === 0) return new Array(count * count).fill(0);
  const small = new OffscreenCanvas(count, count).getContext('2d');
  small.imageSmoothingQuality = 'high';
  small.drawImage(picture, x * picture.width, y * picture.height,
                  width * picture.width, height * picture.height, 0, 0, count, count);
  const bytes = small.getImageData(0, 0, count, count).data;
  return Array.from({ length: count * count },
                    (_, i) => (bytes[4 * i] + bytes[4 * i + 1] + bytes[4 * i + 2]) / 3);
"""


class Browser:
    def __init__(self, width=1280, height=800):
        self.folder = tempfile.mkdtemp()
        options = webdriver.ChromeOptions()
        for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage",
                         "--no-first-run", f"--window-size={width},{height}",
                         f"--user-data-dir={self.folder}/profile"):
            options.add_argument(argument)
        if os.geteuid() == 0:
            options.add_argument("--no-sandbox")
        options.add_experimental_option("prefs", {"download.default_directory": self.folder})
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        options.binary_location = shutil.which("chromium")
        self.driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")),
                                       options=options)
        self.driver.set_page_load_timeout(DEADLINE)
        self.size(width, height)

    def size(self, width, height, *, ratio=1, mobile=False):
        """The size of the page, in CSS pixels."""
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": ratio, "mobile": mobile})
        self.driver.execute_cdp_cmd("Emulation.setTouchEmulationEnabled", {"enabled": mobile})

    def close(self):
        self.driver.quit()
        shutil.rmtree(self.folder, ignore_errors=True)

    def errors(self):
        """What the browser has complained about since the last call."""
        return [entry for entry in self.driver.get_log("browser")
                if entry["level"] in ("SEVERE", "WARNING")]

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def get(self, name):
        return self.driver.find_element("id", name)

    def text(self, name):
        return self.run("const e = document.getElementById(arguments[0]);"
                        "return e.value ?? e.textContent", name)

    def attribute(self, name, attribute):
        return self.get(name).get_attribute(attribute)

    def until(self, condition, what, seconds=DEADLINE):
        """Waits for a condition and returns its value."""
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            value = condition()
            if value:
                return value
            time.sleep(0.05)
        raise AssertionError(f"in vain waited for: {what}; the page says "
                             + json.dumps(self.run("return document.body.innerText")[:1500]))

    def until_text(self, name, wanted):
        return self.until(lambda: wanted in self.text(name), f"{name} with {wanted!r}")

    def open(self, name, is_open=True):
        """Opens a panel."""
        self.run("document.getElementById('panel-' + arguments[0]).open = arguments[1]",
                 name, is_open)

    def click(self, name):
        element = self.get(name)
        self.run("arguments[0].scrollIntoView({ block: 'center' })", element)
        element.click()

    def enter(self, name, text):
        """Types into a field, and says so with the enter key."""
        self.type(name, text)
        self.get(name).send_keys(Keys.ENTER)

    def type(self, name, text):
        self.run("arguments[0].scrollIntoView({ block: 'center' })", self.get(name))
        self.get(name).send_keys(Keys.CONTROL, "a")
        self.get(name).send_keys(text)

    def choose(self, name, value):
        """Chooses in a select as a user does."""
        self.run("const e = document.getElementById(arguments[0]); e.value = arguments[1];"
                 "e.dispatchEvent(new Event('change', { bubbles: true }))", name, value)

    def samples(self, part=(0, 0, 1, 1), count=24):
        return self.run(SAMPLES, *part, count)

    def until_moving(self):
        """Waits until the picture has changed twice."""
        seen = []

        def has_changed():
            now = self.samples(count=48)
            if now not in seen and max(now) > 0:
                seen.append(now)
            return len(seen) > 2

        self.until(has_changed, "a picture that moves")

    def touch(self, *courses):
        """Moves fingers, each along its course of points."""
        for step, points in enumerate(zip(*courses)):
            self.driver.execute_cdp_cmd("Input.dispatchTouchEvent", {
                "type": "touchMove" if step else "touchStart",
                "touchPoints": [{"x": x, "y": y, "id": finger}
                                for finger, (x, y) in enumerate(points)]})
        self.driver.execute_cdp_cmd("Input.dispatchTouchEvent",
                                    {"type": "touchEnd", "touchPoints": []})

    def actions(self):
        return ActionChains(self.driver, duration=20)
