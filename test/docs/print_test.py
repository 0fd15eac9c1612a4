#!/usr/bin/python3
"""The cheat sheet prints on one sheet of A4, with nothing cut off: print_test.py FOLDER"""

import base64
import pathlib
import re
import sys

import browser_test

A4 = {"paperWidth": 8.27, "paperHeight": 11.69, "preferCSSPageSize": True}

CUT_OFF = """
return [...document.querySelectorAll("#cheat-sheet pre, #cheat-sheet table")].filter(
    node => node.scrollWidth > node.parentElement.clientWidth + 1).map(node => node.innerText);
"""


def main(folder):
    driver = browser_test.browser()
    try:
        driver.get((folder / "html/cheat-sheet.html").as_uri())
        printed = base64.b64decode(driver.execute_cdp_cmd("Page.printToPDF", A4)["data"])
        driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": "print"})
        size = {"width": 726, "height": 1123, "deviceScaleFactor": 2, "mobile": False}
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", size)  # A4 without its margins
        cut_off = driver.execute_script(CUT_OFF)
        driver.save_screenshot(str(folder / "cheat-sheet.png"))
    finally:
        driver.quit()
    (folder / "cheat-sheet.pdf").write_bytes(printed)
    pages = len(re.findall(rb"/Type /Page\b(?!s)", printed))
    faults = [f"the cheat sheet cuts off: {text}" for text in cut_off]
    if pages != 1:
        faults.append(f"the cheat sheet takes {pages} pages")
    print("\n".join(faults) if faults else "passed: the cheat sheet prints on one page")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
