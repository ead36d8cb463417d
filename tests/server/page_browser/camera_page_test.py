# SPDX-License-Identifier: MIT
"""One user at one camera: a real browser, the real server, virtual cameras."""
import glob
import os
import re
import unittest

import numpy
from astropy.io import fits

from page_case import COOLED, PageTest, SENSOR


def likeness(one, other):
    """Correlation of two lists of samples."""
    return numpy.corrcoef(one, other)[0, 1]


class Live(PageTest):
    def until_linear(self):
        """Waits for a picture that shows the values as they are."""
        self.page.until_moving()
        self.page.click("reset")
        self.page.until(lambda: self.page.attribute("white", "value") == "1", "the whole range")

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
        self.until_linear()
        self.set_exposure("8 ms")
        self.until_mean(lambda mean: 10 < mean < 40, "a well exposed Moon")

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

    def test_two_quick_changes_of_the_format_both_come(self):
        page = self.page
        page.until_moving()
        self.addCleanup(page.until_text, "size", "{} × {}".format(*SENSOR))
        self.addCleanup(page.choose, "bin", "1")
        page.run("const e = document.getElementById('bin'); e.value = 2;"
                 "e.dispatchEvent(new Event('change'));"
                 "document.getElementById('whole').click()")
        page.until_text("size", "bin 2")
        page.until_text("size", "{} × {}".format(*(length // 2 for length in SENSOR)))

    def test_region_is_what_was_dragged_also_in_a_flipped_image(self):
        page = self.page
        self.until_linear()
        self.set_exposure("8 ms")
        self.until_mean(lambda mean: 10 < mean < 40, "a well exposed Moon")
        part = (0.2, 0.25, 0.35, 0.4)
        view = page.run("const { width, height } = document.getElementById('view')"
                        ".getBoundingClientRect(); return [width, height]")
        scale = min(view[0] / SENSOR[0], view[1] / SENSOR[1])
        shown = [SENSOR[0] * scale, SENSOR[1] * scale]
        begin = [int((part[axis] - 0.5) * shown[axis]) for axis in (0, 1)]
        # What the canvas shows there, borders of the stage counted in.
        seen_at = [0.5 + begin[axis] / view[axis] for axis in (0, 1)]
        seen_size = [part[axis + 2] * shown[axis] / view[axis] for axis in (0, 1)]
        upright = page.samples()
        page.choose("control-9", "3")
        self.addCleanup(page.choose, "control-9", "0")
        page.until(lambda: likeness(page.samples(), upright[::-1]) > 0.9, "a flipped picture")
        dragged = page.samples((*seen_at, *seen_size))

        page.click("select")
        self.addCleanup(page.click, "whole")
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
        self.addCleanup(page.choose, "bin", "1")
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
              const copy = new OffscreenCanvas(width, 1).getContext('2d');
              copy.drawImage(picture, 0, -(height >> 1));
              const row = copy.getImageData(0, 0, width, 1).data;
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
        page.until(lambda: celsius() < warm - 0.5, "a colder sensor")
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
        page.get("capture-count").clear()
        page.type("capture-interval", "200 ms")
        page.click("capture-start")
        page.until_text("capture-text", "long_0")
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


if __name__ == "__main__":
    unittest.main()
