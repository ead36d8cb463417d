# SPDX-License-Identifier: MIT
"""Several users and cameras, losses, the token, and how the page looks."""
import time
import unittest

from selenium.webdriver.common.keys import Keys

from page_case import COOLED, MOON, PageTest


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

        button = page.driver.find_element("css selector", "[data-direction='0']")
        page.run("arguments[0].scrollIntoView({ block: 'center' })", button)
        seen = other.driver.find_element("css selector", "[data-direction='0']")

        def is_on():
            return seen.get_attribute("aria-pressed") == "true"

        # A line also goes off by itself a little later: the page must not rely on that.
        page.run("""
          window.sent = [];
          const { send } = WebSocket.prototype;
          WebSocket.prototype.send = function (text) {
            window.sent.push(text);
            send.call(this, text);
          };""")

        def said_off():
            return '"on":false' in page.run("return window.sent.splice(0).join()")

        def press():
            page.actions().click_and_hold(button).perform()
            other.until(is_on, "a line that is on")
            # For longer than a line stays on without being held again.
            since = time.monotonic()
            while time.monotonic() - since < 1.6:
                self.assertTrue(is_on())

        press()
        page.actions().release().perform()
        page.until(said_off, "the page's word that the line is off")
        other.until(lambda: not is_on(), "the released line off")
        press()
        page.actions().move_by_offset(0, -150).perform()
        page.until(said_off, "the page's word that the line is off")
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
        fitted = int(page.text("zoom").split()[0])
        page.touch([(180 - 10 * step, 200) for step in range(10)],
                   [(220 + 10 * step, 200) for step in range(10)])
        page.until(lambda: int(page.text("zoom").split()[0]) > 4 * fitted, "a pinched picture")
        page.click("fit")
        page.until(lambda: int(page.text("zoom").split()[0]) == fitted, "the whole picture")
        page.touch([(180, 250 - 10 * step) for step in range(10)])
        page.until(lambda: page.run("return scrollY") > 0, "a page that scrolls by its picture")
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
