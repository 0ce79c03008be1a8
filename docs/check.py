#!/usr/bin/python3
"""Walks the built site in headless Chromium, as a telephone of 360 pixels sees it: check.py SITE

Fails on a broken link, a console message, a page that scrolls sideways, and a search that does not find.
"""
import pathlib
import sys
import tempfile
import urllib.parse

from selenium import webdriver
from selenium.common.exceptions import TimeoutException
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support import expected_conditions
from selenium.webdriver.support.ui import WebDriverWait

SITE = pathlib.Path(sys.argv[1]).resolve()
WIDTH = 360
FLAGS = """--headless --no-sandbox --disable-gpu --disable-quic --no-first-run --disable-background-networking
           --disable-component-update --disable-sync"""


def chromium(profile):
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for flag in FLAGS.split() + [f"--user-data-dir={profile}"]:
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    browser.execute_cdp_cmd(
        "Emulation.setDeviceMetricsOverride",
        {"width": WIDTH, "height": 740, "deviceScaleFactor": 1, "mobile": True})
    return browser


def walk(browser):
    """Opens every page and gives what is wrong with it."""
    faults = []
    anchors = {}
    links = []
    for path in sorted(SITE.glob("*.html")):
        page = path.name
        browser.get(path.as_uri())
        faults += [f"{page}: {entry['message']}" for entry in browser.get_log("browser")]
        if browser.execute_script(
                "return [document.documentElement, document.getElementById('doc-content')]"
                ".some(e => e && e.scrollWidth > e.clientWidth)"):
            faults.append(f"{page}: scrolls sideways at {WIDTH} pixels")
        anchors[page] = browser.execute_script(
            "return [...document.querySelectorAll('[id], a[name]')].map(e => e.id || e.name)")
        links += [(page, urllib.parse.urlparse(link)) for link in browser.execute_script(
            "return [...document.querySelectorAll('[href], [src], [data]')].map(e => e.href || e.src || e.data)")]
    for page, url in links:
        target = pathlib.Path(urllib.parse.unquote(url.path))
        if url.scheme != "file":
            continue
        if not target.is_file() or SITE not in target.parents:
            faults.append(f"{page}: links to {target}, which is not there")
        elif url.fragment and url.fragment not in anchors[target.name]:
            faults.append(f"{page}: links to {target.name}#{url.fragment}, which is not there")
    print(f"{len(anchors)} pages, {len(links)} links")
    return faults


def search(browser, word):
    """Types a word into the search field and gives what is wrong with the first result."""
    browser.get((SITE / "index.html").as_uri())
    browser.find_element(By.ID, "MSearchField").send_keys(word)
    wait = WebDriverWait(browser, 20)
    wait.until(expected_conditions.frame_to_be_available_and_switch_to_it("MSearchResults"))
    shown = "return [...document.querySelectorAll('.SRResult')].some(e => e.offsetHeight && e.innerText == arguments[0])"
    try:
        wait.until(lambda b: b.execute_script(shown, word))
        return []
    except TimeoutException:
        return [f"the search does not find {word}"]


with tempfile.TemporaryDirectory() as profile:
    browser = chromium(profile)
    try:
        faults = walk(browser) + search(browser, "recvWaitAndDequeue")
    finally:
        browser.quit()
print("\n".join(faults), end="\n" if faults else "")
sys.exit(bool(faults))
