#!/usr/bin/python3
"""Reads the pages as people do, in a browser: browser_test.py FOLDER

Takes a picture of every page from top to bottom, at two widths, light and dark, in FOLDER/pictures.
Fails for a page wider than its window, a picture that is clipped, a table that cannot be scrolled to its end, a link
or an anchor that is dead, a page more than two clicks away from the first one (the menu does not
count), and for words and lines of the log whose page is not among the first hits of the search, or that lead to
another heading than the one that is named.
"""

import base64
import pathlib
import urllib.parse

from selenium import webdriver
from selenium.webdriver.support.wait import WebDriverWait

import verdict

WIDTHS = {"wide": 1280, "narrow": 400}
HITS = 3

# What is wider than it may be, as words for people.
MEASURE = """
const faults = [], article = document.querySelector("article"), room = article.getBoundingClientRect();
for (const box of [document.documentElement, document.querySelector(".content")]) // which scrolls on a phone
    if (box.scrollWidth > box.clientWidth) faults.push(`the page is ${box.scrollWidth} pixels wide`);
function scrolls(node) {
    for (let parent = node.parentElement; parent !== article; parent = parent.parentElement)
        if (["auto", "scroll"].includes(getComputedStyle(parent).overflowX)) return true;
    return false;
}
for (const node of article.querySelectorAll("table, img, object, svg")) {
    const box = node.getBoundingClientRect();
    if (box.right > room.right + 1 && !scrolls(node))
        faults.push(`a ${node.tagName.toLowerCase()} ends at ${Math.round(box.right)} pixels`);
    if (node.tagName === "IMG" && node.naturalWidth === 0) faults.push(`${node.src} does not load`);
}
return faults;
"""
CLICKS = 2
READ = """
return {links: [...document.links].map(link => link.href),
    text: [...document.querySelectorAll("article a[href]")].map(link => link.href),
    anchors: [...document.querySelectorAll("[id]")].map(node => node.id)};
"""
HAS_SEARCHED = """
return document.querySelector('#search-results p.search-summary')?.innerText.match(/found|match/) != null;
"""
SEARCH = "return [...document.querySelectorAll('#search-results li a')].map(link => link.getAttribute('href'));"


def browser():
    options = webdriver.ChromeOptions()
    for option in ("headless=new", "no-sandbox", "disable-gpu", "disable-background-networking",
                   "no-first-run", "hide-scrollbars"):
        options.add_argument(f"--{option}")
    return webdriver.Chrome(options=options)


def resize(driver, width, height=900, scale=1):
    size = {"width": width, "height": height, "deviceScaleFactor": scale, "mobile": False}
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", size)


def pages_of(folder):
    return sorted(path for path in folder.glob("html/**/*.html") if path.stem not in ("search", "genindex"))


def take_pictures(driver, folder, pages):
    """What does not fit, page by page."""
    pictures = folder / "pictures"
    for theme in "light", "dark":
        feature = {"name": "prefers-color-scheme", "value": theme}
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [feature]})
        for window, width in WIDTHS.items():
            resize(driver, width)
            for page in pages:
                driver.get(page.as_uri())
                name = page.relative_to(folder / "html").with_suffix("").as_posix()
                for fault in driver.execute_script(MEASURE):
                    yield f"{name}, {window}, {theme}: {fault}"
                picture = pictures / f"{name}-{window}-{theme}.png"
                picture.parent.mkdir(parents=True, exist_ok=True)
                picture.write_bytes(whole_page(driver))


def whole_page(driver):
    """A picture of the page from top to bottom, whatever the height of the window."""
    size = driver.execute_cdp_cmd("Page.getLayoutMetrics", {})["cssContentSize"]
    shot = driver.execute_cdp_cmd("Page.captureScreenshot", {
        "captureBeyondViewport": True, "clip": {**size, "scale": 1}})
    return base64.b64decode(shot["data"])


def follow_links(driver, folder, pages):
    """Links that lead nowhere, and pages that are far from the first."""
    found = {}
    for page in pages:
        driver.get(page.as_uri())
        found[page] = driver.execute_script(READ)
    for page in pages:
        for address in map(urllib.parse.urlsplit, found[page]["links"]):
            target = target_of(address)
            anchor = urllib.parse.unquote(address.fragment)
            if address.scheme == "file" and not target.exists():
                yield f"{page.name}: {address.geturl()} leads nowhere"
            elif target in found and anchor and anchor not in found[target]["anchors"]:
                yield f"{page.name}: {target.name} has no place {anchor}"
    near = {folder / "html/index.html"}
    for _ in range(CLICKS):
        near |= {target_of(urllib.parse.urlsplit(link)) for page in near if page in found
                 for link in found[page]["text"]}
    for page in set(pages) - near:
        yield f"{page.name}: more than {CLICKS} clicks away from the first page"


def target_of(address):
    return pathlib.Path(urllib.parse.unquote(address.path))


def hits(driver, folder, words):
    """The links of the search, the best first."""
    driver.get((folder / "html/search.html").as_uri() + "?q=" + urllib.parse.quote(words))
    wait_for(driver, HAS_SEARCHED)
    return [link.partition("#")[::2] for link in driver.execute_script(SEARCH)]


def wait_for(driver, script):
    """Until the script gives what is true."""
    WebDriverWait(driver, 10, 0.05).until(lambda _: driver.execute_script(script))


def search(driver, folder):
    """Questions whose page is not among the first hits, and hits that lead to another place or nowhere."""
    for line in (pathlib.Path(__file__).parent / "questions").read_text(encoding="utf-8").splitlines():
        if not line or line.startswith("#"):
            continue
        place, _, words = line.partition(" | ")
        page, _, wanted = place.partition("#")
        found = hits(driver, folder, words)[:HITS]
        places = {name.removesuffix(".html"): anchor for name, anchor in found}
        if page not in places or wanted not in ("", places[page]):
            yield f"the search for '{words}' finds {places or 'nothing'}, not {place}"
        for name, anchor in found:
            if anchor and f'id="{anchor}"' not in (folder / "html" / name).read_text(encoding="utf-8"):
                yield f"the search for '{words}' leads to {name}#{anchor}, which is not there"


def main(folder):
    pages = pages_of(folder)
    with browser() as driver:
        faults = [*take_pictures(driver, folder, pages), *follow_links(driver, folder, pages),
                  *search(driver, folder)]
    return faults, len(pages), "pages fit, their links hold, and the search finds them"


if __name__ == "__main__":
    verdict.of(main)
