"""Headless Chromium for the tests that use pages as people do."""
import shutil

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.remote.remote_connection import RemoteConnection

from waits import HANG_LIMIT, PROGRAM_LIMIT

# The lowest contrast of any text with its background (WCAG 2, success criterion 1.4.3), and that text.
CONTRAST = """
const probe = document.createElement('canvas').getContext('2d', { willReadFrequently: true });
const channels = (colour) => {
    probe.clearRect(0, 0, 1, 1); probe.fillStyle = colour; probe.fillRect(0, 0, 1, 1);
    return [...probe.getImageData(0, 0, 1, 1).data];
};
const light = (colour) => channels(colour).slice(0, 3).map((c) => c / 255)
    .map((c) => c <= 0.04045 ? c / 12.92 : ((c + 0.055) / 1.055) ** 2.4)
    .reduce((sum, c, i) => sum + c * [0.2126, 0.7152, 0.0722][i], 0);
let lowest = [99, 'no text'];
const texts = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (texts.nextNode()) {
    const element = texts.currentNode.parentElement;
    if (!texts.currentNode.data.trim() || !element.checkVisibility({ visibilityProperty: true })) continue;
    let behind = element;
    while (behind && channels(getComputedStyle(behind).backgroundColor)[3] === 0) behind = behind.parentElement;
    const style = getComputedStyle(element);
    const ink = element.namespaceURI.endsWith('svg') ? style.fill : style.color;
    const [a, b] = [light(ink), light(getComputedStyle(behind ?? document.body).backgroundColor)];
    const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (contrast < lowest[0]) lowest = [contrast, texts.currentNode.data];
}
return lowest;
"""


def start_browser(folder):
    """With its profile in the folder. The caller ends it with quit()."""
    options = Options()
    options.binary_location = shutil.which("chromium")
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={folder / 'profile'}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    # The connection's limit is the longest, so that the wait that hangs is reported first.
    RemoteConnection.set_timeout(PROGRAM_LIMIT)
    browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    browser.set_page_load_timeout(HANG_LIMIT)
    browser.set_script_timeout(HANG_LIMIT)
    return browser
