# SPDX-License-Identifier: MIT
"""The page as it is used: a real browser, the real server, virtual cameras."""
import glob
import os
import re
import sys
import time
import unittest

import numpy
from astropy.io import fits
from selenium.webdriver.common.keys import Keys

from browser import Browser
from served import Served

PROGRAM = os.path.abspath(sys.argv.pop(1))
MOON = "T15C,scene=moon"
COOLED = "T10C_C,scene=stars"
SENSOR = (1304, 976)


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
        (page or self.page).enter("control-1", text)
        (page or self.page).until_text("exposure", text)

    def mean(self):
        """Mean value of the first channel, as the panel of the histogram tells it."""
        found = re.search(r"mean ([\d.]+)", self.page.text("levels"))
        return float(found[1]) if found else None

    def until_mean(self, condition, what):
        self.page.until(lambda: self.mean() is not None and condition(self.mean()), what)


def likeness(one, other):
    """Correlation of two lists of samples."""
    return numpy.corrcoef(one, other)[0, 1]


class Live(PageTest):
    def test_picture_moves_and_histogram_follows_exposure(self):
        page = self.page
        page.until_text("link", "live")
        page.until_moving()
        page.until_text("size", "{} × {}".format(*SENSOR))
        page.until(lambda: float(page.text("rate").split("/")[0].replace("–", "0")) > 5, "a rate")
        self.set_exposure("8 ms")
        self.until_mean(lambda mean: mean > 5, "a bright Moon")
        bright = self.mean()
        before = page.run("return document.getElementById('histogram').toDataURL()")
        self.set_exposure("1 ms")
        self.until_mean(lambda mean: mean < bright / 2, "a darker Moon")
        self.assertNotEqual(page.run("return document.getElementById('histogram').toDataURL()"),
                            before)
        self.set_exposure("200 ms")
        page.until_text("levels", "saturated")

    def test_stretch(self):
        page = self.page
        page.until_moving()
        self.set_exposure("8 ms")
        page.click("reset")
        page.until(lambda: page.attribute("white", "value") == "1", "the whole range")

        def brightness():
            return numpy.mean(page.samples())

        linear = page.until(brightness, "a picture")
        page.run("const e = document.getElementById('white'); e.value = 0.2;"
                 "e.dispatchEvent(new Event('input'))")
        page.until(lambda: brightness() > 1.5 * linear, "a brighter picture by the white point")
        page.click("reset")
        page.until(lambda: brightness() < 1.2 * linear, "the linear picture")
        page.driver.find_element("css selector", "[data-mode=asinh]").click()
        page.until(lambda: brightness() > 1.3 * linear, "a brighter picture by asinh")
        self.assertTrue(page.get("strength").is_displayed())

    def test_region_is_what_was_dragged_also_in_a_flipped_image(self):
        page = self.page
        page.until_moving()
        self.set_exposure("8 ms")
        page.choose("control-9", "3")
        part = (0.2, 0.25, 0.35, 0.4)
        view = page.run("const { width, height } = document.getElementById('view')"
                        ".getBoundingClientRect(); return [width, height]")
        scale = min(view[0] / SENSOR[0], view[1] / SENSOR[1])
        shown = [SENSOR[0] * scale, SENSOR[1] * scale]
        begin = [int((part[axis] - 0.5) * shown[axis]) for axis in (0, 1)]
        # What the canvas shows there, borders of the stage counted in.
        seen_at = [0.5 + begin[axis] / view[axis] for axis in (0, 1)]
        seen_size = [part[axis + 2] * shown[axis] / view[axis] for axis in (0, 1)]
        upright = page.samples((*seen_at, *seen_size))
        page.until(lambda: likeness(page.samples((*seen_at, *seen_size)), upright) < 0.9,
                   "a flipped picture")
        dragged = page.samples((*seen_at, *seen_size))

        page.click("select")
        page.actions().move_to_element_with_offset(page.get("view"), *begin).click_and_hold() \
            .move_by_offset(20, 20) \
            .move_by_offset(*[int(part[axis + 2] * shown[axis]) - 20 for axis in (0, 1)]) \
            .release().perform()
        page.until(lambda: page.text("size") != "{} × {}".format(*SENSOR), "a smaller image")
        for name, axis in (("region-width", 0), ("region-height", 1)):
            self.assertAlmostEqual(int(page.text(name)), part[axis + 2] * SENSOR[axis], delta=12)
        for name, axis in (("region-x", 0), ("region-y", 1)):
            self.assertAlmostEqual(int(page.text(name)),
                                   (1 - part[axis] - part[axis + 2]) * SENSOR[axis], delta=12)

        width, height = (int(page.text(f"region-{name}")) for name in ("width", "height"))
        filled = min(view[0] / width, view[1] / height)
        room = [width * filled / view[0], height * filled / view[1]]
        whole = [0.5 - room[0] / 2, 0.5 - room[1] / 2, *room]
        page.until(lambda: likeness(page.samples(whole), dragged) > 0.9, "the dragged part")
        page.choose("bin", "2")
        page.until_text("size", "bin 2")
        page.click("whole")
        page.until_text("size", f"{SENSOR[0] // 2} × {SENSOR[1] // 2}")
        page.until_moving()

    def test_zoom_to_single_pixels_and_their_values(self):
        page = self.page
        page.until_moving()
        self.set_exposure("8 ms")
        page.click("one")
        page.until_text("zoom", "100 %")
        for _ in range(10):
            page.click("in")
        percent = int(page.text("zoom").split()[0])
        self.assertGreater(percent, 800)

        def steps():
            """How often the colour changes along a row of the screen."""
            return page.run("""
              const picture = document.getElementById('picture');
              const { width, height } = picture;
              const row = picture.getContext('2d').getImageData(0, height >> 1, width, 1).data;
              let count = 0;
              for (let i = 4; i < row.length; i += 4) {
                count += row[i] !== row[i - 4] || row[i + 1] !== row[i - 3] ||
                         row[i + 2] !== row[i - 2];
              }
              return [count, width];""")

        def is_sharp():
            count, width = steps()
            return width / (percent / 100) / 4 < count <= width / (percent / 100) + 2

        page.until(is_sharp, "sharp pixels")
        page.actions().move_to_element_with_offset(page.get("view"), 1, 1).perform()
        found = page.until(lambda: re.match(r"x (\d+)  y (\d+)  ·  \d+", page.text("readout")),
                           "a value")
        self.assertAlmostEqual(int(found[1]), SENSOR[0] // 2, delta=1)
        self.assertAlmostEqual(int(found[2]), SENSOR[1] // 2, delta=1)
        page.get("view").send_keys("0")
        page.until(lambda: int(page.text("zoom").split()[0]) < 100, "the whole image")


class CoolingAndFocus(PageTest):
    cameras = (COOLED,)

    def test_cooling_and_its_curve(self):
        page = self.page
        page.open("cooling")
        page.until_text("temperature", "°C")

        def celsius():
            return float(page.text("temperature").split("\u00a0")[0].replace("−", "-"))

        warm = celsius()

        def curve():
            return page.run("return document.getElementById('temperatures').toDataURL()")

        before = curve()
        page.type("cool-target", "5")
        page.enter("cool-rate", "60")
        page.until_text("cooling-text", "5 °C")
        page.until(lambda: celsius() < warm - 1, "a colder sensor")
        page.until(lambda: curve() != before, "another curve")
        page.open("events")
        page.until_text("events", "5")
        page.click("cooler-off")
        page.until_text("cooling-text", "The cooler is off.")

    def test_focus_help(self):
        page = self.page
        self.set_exposure("500 ms")
        page.open("focus")
        page.click("focus")
        page.until(lambda: re.match(r"[\d.]+ px", page.text("focus-figure")), "the size of a star")
        page.until(lambda: page.run("""
          const { width, height } = document.getElementById('magnifier');
          const bytes = document.getElementById('magnifier').getContext('2d')
            .getImageData(0, 0, width, height).data;
          return Math.max(...bytes.filter((_, i) => i % 4 < 3)) > 100"""), "a magnified star")
        page.click("focus")
        self.assertFalse(page.get("focus-body").is_displayed())


class Capture(PageTest):
    def test_fits_is_captured_and_downloaded(self):
        page = self.page
        page.until_moving()
        self.set_exposure("4 ms")
        page.type("capture-name", "luna")
        page.type("capture-object", "Moon")
        page.type("capture-count", "2")
        page.click("capture-start")
        page.until_text("capture-last", "2 done")
        page.until(lambda: page.text("files").count("luna") == 2, "two files")
        link = page.driver.find_element("partial link text", "luna")
        name = link.text
        link.click()
        page.until(lambda: name in os.listdir(page.folder), "the downloaded file")
        with fits.open(os.path.join(page.folder, name)) as file:
            header, image = file[0].header, file[0].data
        self.assertEqual(header["OBJECT"], "Moon")
        self.assertAlmostEqual(header["EXPTIME"], 0.004, delta=1e-4)
        self.assertEqual(image.shape[-2:], SENSOR[::-1])
        self.assertGreater(image.std(), 5)
        row = page.driver.find_element("css selector", f"[data-key^='{name}']")
        button = row.find_element("css selector", "button")
        button.click()
        self.assertIn(name, os.listdir(self.served.files))
        button.click()
        page.until(lambda: name not in page.text("files"), "a list without the file")
        self.assertNotIn(name, os.listdir(self.served.files))

    def test_sequence_goes_on_without_the_browser(self):
        page = self.page
        page.until_moving()
        page.type("capture-name", "long")
        page.type("capture-count", "")
        page.get("capture-count").clear()
        page.click("capture-start")
        page.until_text("capture-text", "long_0002")
        page.driver.get("about:blank")
        before = len(glob.glob(f"{self.served.files}/long*.fits"))
        page.until(lambda: len(glob.glob(f"{self.served.files}/long*.fits")) > before + 2,
                   "files of a browser that has gone")
        page.driver.get(self.served.url(self.path))
        page.until_text("capture-text", "done")
        self.assertFalse(page.get("capture-start").is_enabled())
        page.click("capture-stop")
        page.until_text("capture-last", "done")
        page.until_moving()

    def test_video(self):
        page = self.page
        page.until_moving()
        page.choose("capture-kind", "video")
        page.type("capture-name", "film")
        page.type("capture-seconds", "1 s")
        page.click("capture-start")
        page.until_text("files", "film")
        page.until_text("capture-last", "done")
        (path,) = glob.glob(f"{self.served.files}/film*.ser")
        self.assertGreater(os.path.getsize(path), 5 * SENSOR[0] * SENSOR[1])


class Losses(PageTest):
    cameras = (f"{MOON},fault=bulk replug 2000 at 400",)

    def tearDown(self):
        # A lost server cannot be announced to the browser's log other than as an error.
        errors = [entry for entry in self.page.errors() if "ERR_CONNECTION_REFUSED" not in
                  entry["message"]]
        self.assertEqual(errors, [])

    def test_camera_and_server_come_back(self):
        page = self.page
        page.until_moving()
        page.until_text("banner", "unplugged")
        self.assertEqual(page.text("link"), "unplugged")
        page.until(lambda: not page.get("banner").is_displayed(), "the camera plugged in again")
        page.until_text("link", "live")
        page.until_moving()

        self.served.kill()
        page.until_text("banner", "server is lost")
        self.assertEqual(page.text("link"), "offline")
        self.served.start()
        page.until(lambda: not page.get("banner").is_displayed(), "the server again")
        page.until_moving()
        self.set_exposure("3 ms")


class Together(PageTest):
    cameras = (COOLED,)

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.other = cls.browser()

    def setUp(self):
        super().setUp()
        self.other.driver.get(self.served.url(self.path))
        for page in (self.page, self.other):
            page.until_text("link", "live")

    def tearDown(self):
        super().tearDown()
        self.assertEqual(self.other.errors(), [])

    def test_both_see_the_same_and_who_changed_it(self):
        page, other = self.page, self.other
        other.type("control-5", "7")
        page.enter("control-0", "77")
        other.until(lambda: other.text("control-0") == "77", "the gain of the other browser")
        other.until_text("toasts", "77")
        for browser in (page, other):
            browser.open("events")
            browser.until_text("events", "77")
        self.assertIn("you", page.text("events"))
        self.assertNotIn("77", page.text("toasts"))
        self.assertIn("2 browsers", page.text("viewers"))

        # What is being typed stays.
        page.enter("control-5", "30")
        other.until_text("toasts", "30")
        self.assertEqual(other.text("control-5"), "7")
        other.get("control-5").send_keys(Keys.ESCAPE)
        self.assertEqual(other.text("control-5"), "30")

        page.driver.find_element("css selector", "[data-mode=asinh]").click()
        other.until(lambda: other.get("strength").is_displayed(), "the other browser's stretch")

    def test_guide_line_is_on_only_while_it_is_held(self):
        page, other = self.page, self.other
        page.open("guide")

        button = page.driver.find_element("css selector", "[data-line='0']")
        page.run("arguments[0].scrollIntoView({ block: 'center' })", button)
        seen = other.driver.find_element("css selector", "[data-line='0']")

        def is_on():
            return seen.get_attribute("aria-pressed") == "true"

        def press():
            page.actions().click_and_hold(button).perform()
            other.until(is_on, "a line that is on")
            # For longer than a line stays on without being held again.
            since = time.monotonic()
            while time.monotonic() - since < 1.6:
                self.assertTrue(is_on())

        press()
        page.actions().release().perform()
        other.until(lambda: not is_on(), "the released line off")
        press()
        page.actions().move_by_offset(0, -150).perform()
        other.until(lambda: not is_on(), "the line off that the pointer has left")
        page.actions().release().perform()
        press()
        page.driver.get("about:blank")
        other.until(lambda: not is_on(), "the line off whose browser has gone")


class Appearance(PageTest):
    cameras = (MOON, COOLED)

    def test_list_of_cameras(self):
        page = self.page
        page.driver.get(self.served.url("/"))
        page.until(lambda: page.text("cameras").count("camera ") == 2, "two cameras")
        page.driver.find_element("css selector", "a[href='/camera/1']").click()
        page.until_text("name", "T10C")
        page.until_text("link", "live")

    def test_night_is_red_and_remembered(self):
        page = self.page
        page.until_moving()
        page.click("night")
        page.driver.refresh()
        page.until_moving()
        red, other = page.driver.execute_async_script("""
          const [data, done] = arguments;
          const image = new Image();
          image.onload = () => {
            const canvas = new OffscreenCanvas(image.width, image.height);
            const context = canvas.getContext('2d');
            context.drawImage(image, 0, 0);
            const bytes = context.getImageData(0, 0, image.width, image.height).data;
            let [red, other] = [0, 0];
            for (let i = 0; i < bytes.length; i += 4) {
              red = Math.max(red, bytes[i]);
              other = Math.max(other, bytes[i + 1], bytes[i + 2]);
            }
            done([red, other]);
          };
          image.src = 'data:image/png;base64,' + data;""", page.driver.get_screenshot_as_base64())
        self.assertEqual(other, 0)
        self.assertGreater(red, 100)
        page.click("night")
        self.assertFalse(page.run("return document.documentElement.matches('.night')"))

    def test_telephone(self):
        page = self.page
        page.size(390, 844, ratio=2, mobile=True)
        self.addCleanup(page.size, 1280, 800)
        page.driver.refresh()
        page.until_moving()
        page.run("for (const e of document.querySelectorAll('details')) e.open = true")
        page.until(lambda: page.text("levels"), "a histogram")
        self.assertEqual(page.run("return document.documentElement.scrollWidth"), 390)
        small = page.run("""
          return [...document.querySelectorAll('button, input, select, summary')]
            .filter((e) => e.checkVisibility() && !e.closest('.handles'))
            .map((e) => [e.id || e.textContent, e.getBoundingClientRect()])
            .filter(([, { width, height }]) => Math.min(width, height) < 40)
            .map(([name, { width, height }]) => [name, width, height])""")
        self.assertEqual(small, [])
        unnamed = page.run("""
          return [...document.querySelectorAll('button, input, select')]
            .filter((e) => !e.textContent.trim() && !e.ariaLabel && !e.labels?.length)
            .map((e) => e.outerHTML)""")
        self.assertEqual(unnamed, [])


class Access(PageTest):
    token = "much-too-secret"

    def tearDown(self):
        errors = [entry for entry in self.page.errors() if "401" not in entry["message"]]
        self.assertEqual(errors, [])

    def test_token_opens_the_page(self):
        page = self.page
        page.until(lambda: "/login" in page.driver.current_url, "the form")
        page.enter("token", "wrong")
        page.until_text("problem", "not the right token")
        page.enter("token", self.token)
        page.until(lambda: page.driver.current_url.endswith("/camera/0"), "the page of the camera")
        page.until_moving()
        self.set_exposure("3 ms")


if __name__ == "__main__":
    unittest.main()
