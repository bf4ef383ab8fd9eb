#!/usr/bin/python3
"""Looks at pages of reports in a browser.

check_page.py PLAIN FULL FOLDER

PLAIN is the page of a run; FULL that of a run whose plan explains all that a page can show, with
complete_run.HOSTILE in its names. Screenshots go to FOLDER. Prints the faults, and fails if there are any.
"""

import json
import os
import sys

from browser import Browser
from complete_run import HOSTILE

WIDTHS = (390, 800, 1280)  # a phone, a tablet, a desk
SECTIONS = ["looks", "cameras", "light", "map", "exposure", "targets", "masked"]
MORE = ["sky", "neighbours", "witnesses", "uncertainty", "problems"]


def faults_of(browser, name, width, scheme, folder):
    browser.scheme(scheme)
    if width != 800:
        browser.screenshot(os.path.join(folder, f"{name}-{width}{'-dark' if scheme == 'dark' else ''}.png"))
    browser.run("document.querySelectorAll('details').forEach((d) => { d.open = true; })")
    looks = ["faintCharts()", "blankCharts()", "wideElements()", "brokenHeadings()", "brokenTexts()", "bandsOutOfOrder()",
             f"hiddenSections({json.dumps(SECTIONS)})"]
    if name == "full":
        looks += ["faintTexts()", f"livingNames({json.dumps(HOSTILE)})", f"hiddenSections({json.dumps(MORE)})"]
    found = [fault for look in looks for fault in browser.run(look)]
    found += sorted(set(browser.complaints))
    browser.complaints.clear()
    return [f"{name}, {width} px, {scheme}: {fault}" for fault in found]


def main(plain, full, folder):
    with open(os.path.join(os.path.dirname(__file__), "looks.js"), encoding="utf-8") as file:
        script = file.read()
    faults = []
    with Browser() as browser:
        for name, page in (("plain", plain), ("full", full)):
            for width in WIDTHS:
                browser.scheme("light")
                browser.open(page, width)
                browser.run(script)
                for scheme in ("light", "dark"):
                    faults += faults_of(browser, name, width, scheme, folder)
        shown = browser.run("document.querySelector('#totals dt').textContent")
        if shown != "Neighbouring images differ by":
            faults.append(f"full: the first figure is {shown}")
    for fault in faults:
        print(fault, file=sys.stderr)
    print(f"{len(faults)} faults; screenshots in {folder}")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
