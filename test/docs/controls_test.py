#!/usr/bin/python3
"""The controls of the pages do what readers expect of them: controls_test.py FOLDER

The button of the theme, the menu of a narrow window, the mark in the contents, the buttons that copy code,
and the links to the next and the previous page. No page may have an error in the browser's console.
"""

import pathlib
import sys

from selenium.common.exceptions import TimeoutException
from selenium.webdriver import ActionChains, Keys

import verdict
from browser_test import WIDTHS, browser, pages_of, resize, wait_for

GUIDE = "html/guides/first-steps.html"


def shown(driver, selector):
    for node in driver.find_elements("css selector", selector):
        if node.is_displayed():
            return node
    sys.exit(f"there is no {selector} in sight")


def theme(driver):
    """The button leads from the theme of the system to dark, to light and back; the next page keeps it."""
    colours = []
    for _ in range(3):
        shown(driver, ".theme-toggle").click()
        driver.refresh()
        colours.append(driver.execute_script(
            "return [document.body.dataset.theme, getComputedStyle(document.body).backgroundColor]"))
    (dark, black), (light, white), (auto, system) = colours
    if (dark, light, auto) != ("dark", "light", "auto") or black == white or system != white:
        yield f"the button of the theme leads to {colours}"


def menu(driver):
    """On a phone, the menu is out of sight until its button is pressed, and again after a press beside it."""
    resize(driver, WIDTHS["narrow"])
    edges = [edge_of_menu(driver)]
    shown(driver, "label.nav-overlay-icon").click()
    edges.append(edge_of_menu(driver))
    ActionChains(driver).move_by_offset(WIDTHS["narrow"] - 20, 400).click().perform()
    edges.append(edge_of_menu(driver))
    if not edges[0] <= 0 < edges[1] or edges[2] > 0:
        yield f"the menu ends at {edges} pixels: at first, opened, and closed"
    resize(driver, WIDTHS["wide"])


def edge_of_menu(driver):
    wait_for(driver, "return document.getAnimations().length === 0")  # it glides
    return driver.execute_script("return document.querySelector('.sidebar-drawer').getBoundingClientRect().right")


def contents(driver):
    """The contents of a page mark the section that is at the top of the window."""
    section = driver.find_elements("css selector", "article section section")[1]
    name = section.get_attribute("id")
    driver.execute_script("arguments[0].scrollIntoView({behavior: 'instant'})", section)
    try:
        wait_for(driver, f"return document.querySelector('.toc-tree .scroll-current > a[href=\"#{name}\"]')")
    except TimeoutException:
        yield f"the contents do not mark {name}"


def copies(driver):
    """What a button has copied is the code beside it, to the letter."""
    blocks = driver.find_elements("css selector", "div.highlight")
    if not blocks:
        yield "there is no code to copy"
    for block in blocks:
        driver.execute_script("arguments[0].scrollIntoView({block: 'center', behavior: 'instant'});"
                              "arguments[0].after(document.createElement('textarea'))", block)
        block.find_element("css selector", "button.copybtn").click()
        field = driver.find_element("css selector", "article textarea")
        field.send_keys(Keys.CONTROL, "v")
        code = block.find_element("css selector", "pre").get_attribute("textContent")
        if field.get_attribute("value").rstrip() != code.rstrip():
            yield f"the button copies {field.get_attribute('value')!r} for {code!r}"
        driver.execute_script("arguments[0].remove()", field)


def turn_pages(driver, folder, pages):
    """The links to the next page lead through all pages, and those to the previous one back."""
    page, previous, left = folder / "html/index.html", None, set(pages)
    while page in left:
        driver.get(page.as_uri())
        left.discard(page)
        turns = driver.execute_script("return ['.prev-page', '.next-page'].map("
                                      "name => document.querySelector(name)?.pathname)")
        back, following = (target and pathlib.Path(target) for target in turns)
        if back != previous:
            yield f"{page.name}: the previous page is {back}"
        for line in driver.get_log("browser"):
            if line["level"] == "SEVERE":
                yield f"{page.name}: {line['message']}"
        page, previous = following, page
    for page in left:
        yield f"{page.name}: no link to the next page leads there"


def main(folder):
    pages = pages_of(folder)
    with browser() as driver:
        resize(driver, WIDTHS["wide"])
        driver.get((folder / GUIDE).as_uri())
        faults = [*theme(driver), *menu(driver), *contents(driver), *copies(driver),
                  *turn_pages(driver, folder, pages)]
    return faults, len(pages), "pages turn; themes, menu, contents and copies work"


if __name__ == "__main__":
    verdict.of(main)
