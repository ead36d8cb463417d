#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the pictures of orvik-server's page for the documents: docs/images/server-*.png.

    scripts/server_screenshots.py build/release/orvik-server
"""
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tests/server/page_browser"))

from browser import Browser  # noqa: E402
from served import Served  # noqa: E402

COOLING = 400  # seconds, at most
IMAGES = ROOT / "docs/images"
CAMERAS = ("T10C_C,scene=moon,ambient=12,light=2.5", "T15C,scene=stars")


def save(page, name):
    page.run("document.activeElement?.blur()")
    page.until(lambda: "/s" in page.text("shown"), "a rate")
    page.until(lambda: page.text("toasts") == "", "messages that have gone")
    page.driver.save_screenshot(str(IMAGES / f"server-{name}.png"))


def desktop(page):
    page.size(1280, 800)
    page.until_moving()
    page.choose("type", "rgb24")
    page.enter("control-0", "20")
    page.enter("control-1", "50 ms")
    for name in ("frame", "capture"):
        page.open(name, False)
    page.open("cooling")
    page.type("cool-target", "-10")
    page.enter("cool-rate", "30")
    page.until(lambda: "Holding" in page.text("cooling-text"), "a cold sensor", COOLING)
    page.click("crosshair")
    page.driver.find_element("css selector", "[data-mode=linear]").click()
    page.run("const e = document.getElementById('white'); e.value = 0.7;"
             "e.dispatchEvent(new Event('input'))")
    page.run("document.querySelector('.panels').scrollTop = 0")
    save(page, "desktop")


def telephone(page):
    page.size(390, 844, ratio=2, mobile=True)
    page.driver.refresh()
    page.until_moving()
    page.run("scrollTo(0, 0)")
    save(page, "telephone")


def night(page):
    page.size(1280, 800)
    page.driver.refresh()
    page.until_moving()
    for name, is_open in (("histogram", True), ("controls", False), ("cooling", True),
                          ("guide", True)):
        page.open(name, is_open)
    page.click("night")
    page.run("document.querySelector('.panels').scrollTop = 0")
    page.until(lambda: page.text("levels"), "a histogram")
    save(page, "night")


def main():
    served = Served(sys.argv[1], *CAMERAS)
    page = Browser()
    try:
        page.driver.get(served.url("/camera/0"))
        for take in (desktop, telephone, night):
            take(page)
        assert not page.errors()
    finally:
        page.close()
        served.close()


if __name__ == "__main__":
    main()
