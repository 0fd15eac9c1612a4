#!/usr/bin/python3
"""The cheat sheet prints on one sheet of A4, with nothing cut off: print_test.py FOLDER"""

import base64
import re

import browser_test
import verdict

A4 = {"paperWidth": 8.27, "paperHeight": 11.69, "preferCSSPageSize": True}

CUT_OFF = """
return [...document.querySelectorAll("#cheat-sheet pre, #cheat-sheet table")].filter(
    node => node.scrollWidth > node.parentElement.clientWidth + 1).map(node => node.innerText);
"""


def main(folder):
    with browser_test.browser() as driver:
        driver.get((folder / "html/cheat-sheet.html").as_uri())
        printed = base64.b64decode(driver.execute_cdp_cmd("Page.printToPDF", A4)["data"])
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        browser_test.resize(driver, 726, 1123, 2)  # A4 without its margins
        faults = [f"the cheat sheet cuts off: {text}" for text in driver.execute_script(CUT_OFF)]
        driver.save_screenshot(str(folder / "cheat-sheet.png"))
    (folder / "cheat-sheet.pdf").write_bytes(printed)
    pages = len(re.findall(rb"/Type /Page\b(?!s)", printed))
    if pages > 1:
        faults.append(f"the cheat sheet takes {pages} pages")
    return faults, pages, "page of the cheat sheet in print"


if __name__ == "__main__":
    verdict.of(main)
