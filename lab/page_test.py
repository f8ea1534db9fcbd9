#!/usr/bin/python3
"""The settings page as its owner uses it: Chromium on a computer of the lab's LAN.

  page_test.py BUILD_DIR [PICTURES]

It boots the lab's router and runs itself in the namespace of lan1. Pictures of the page, light and dark, go into the
folder PICTURES. Status 77 (skipped) where the box is not permitted or
there is no Chromium.
"""
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

LAB = pathlib.Path(__file__).resolve().parent
LOGIN = "admin:1234@"
OLD, NEW = "192.168.1.1", "192.168.7.1"

failures = 0


def check(what, good, seen=""):
    global failures
    failures += not good
    print(f"  {'ok  ' if good else 'FAIL'}  {what}" + ("" if good else f": {seen}"), flush=True)


class Page:
    def __init__(self, browser):
        self.browser = browser

    def find(self, selector):
        return self.browser.find_element("css selector", selector)

    def find_all(self, selector):
        return self.browser.find_elements("css selector", selector)

    def text(self, selector):
        return self.browser.execute_script("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def until(self, what, condition):
        from waits import HANG_LIMIT
        end = time.monotonic() + HANG_LIMIT
        while True:
            try:
                if condition():
                    return check(what, True)
            except Exception as error:  # An element that the page has just replaced.
                seen = error
            else:
                seen = self.text("body")
            if time.monotonic() > end:
                sys.exit(f"  FAIL  {what}: {seen}")
            time.sleep(0.1)

    def log_in(self, host):
        # A page with a password in its address may not send requests, so this is another one.
        self.browser.get(f"http://{LOGIN}{host}/")

    def open(self, address):
        self.browser.get(address)
        self.until(f"{address}: the groups are there", lambda: len(self.find_all("#groups button")) > 10)

    def search(self, words):
        field = self.find("#search")
        field.clear()
        field.send_keys(words)

    def write(self, key, value):
        """Types a value over the one that is there."""
        from selenium.webdriver.common.keys import Keys
        self.search(key)
        selector = f"[aria-describedby~='help-{key}']"
        self.until(f"{key} is found", lambda: self.find(selector).is_displayed())
        self.find(selector).send_keys(Keys.CONTROL, "a", Keys.NULL, value)
        self.until(f"{key}={value} is a change", lambda: key in self.text("#changed"))

    def move_lan(self, address):
        net = address.rpartition(".")[0]
        self.write("lan_ipaddr", address)
        self.write("lan_bipaddr", net + ".255")
        self.write("dhcp_start_ip", net + ".33")
        self.write("dhcp_end_ip", net + ".64")

    def add_row(self, key, *cells):
        self.find(f"[aria-label='Add a row to {key}']").click()
        for field, text in zip(self.find_all("main tbody tr:last-child input"), cells):
            field.send_keys(text)

    def planned(self):
        return self.find("#try").is_enabled()

    def picture(self, name):
        if not PICTURES:
            return
        for scheme in ("light", "dark"):
            self.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": 1100, "height": 760, "deviceScaleFactor": 1, "mobile": False})
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                         {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            self.browser.save_screenshot(f"{PICTURES}/{name}-{scheme}.png")

    def finding(self, key):
        return self.text(f"#findings-{key}")


def shell(*words):
    return subprocess.run(words, capture_output=True, text=True, check=False)


def play(page):
    page.log_in(OLD)
    page.open(f"http://{OLD}/settings.cgi")
    check("its groups are those of the reference", page.find_all("#groups button")[1].text != "", "no second group")

    page.write("wifi_ssid", "Attic")
    page.until("what restarts", lambda: "rc wlan stop, rc wlan start" in page.text("#plan"))
    check("nothing is an error", page.text("#found") == "" and page.planned(), page.text("#found"))

    page.write("dhcp_start_ip", "192.168.1.900")
    page.until("a wrong pool is an error at its field", lambda: "error: " in page.finding("dhcp_start_ip"))
    page.until("it cannot be tried", lambda: not page.planned())
    page.browser.execute_script("[...document.querySelectorAll('#groups button')].find("
                                "button => button.textContent === 'DHCP server').click()")
    page.until("it is there in its group, too", lambda: "error: " in page.finding("dhcp_start_ip"))
    page.picture("settings")
    page.write("dhcp_start_ip", "192.168.1.40")
    page.until("a right one can", page.planned)

    page.search("pcdb_list")
    page.until("a list has a table", lambda: page.find("[aria-label='Add a row to pcdb_list']").is_displayed())
    page.add_row("pcdb_list", "attic", "192.168.1.50", "02:00:00:00:00:50")
    page.add_row("pcdb_list", "cellar", "192.168.1.51", "02:00:00:00:00:51")
    wanted = "attic;192.168.1.50;02:00:00:00:00:50\x01cellar;192.168.1.51;02:00:00:00:00:51"
    seen = page.browser.execute_script("return wanted.pcdb_list")
    check("its rows are the records", seen == wanted, repr(seen))
    page.until("and rc takes them", lambda: "rc dhcpd start" in page.text("#plan") and page.planned())
    for _ in range(2):
        page.find("[aria-label='Remove row 1 of pcdb_list']").click()
    page.until("without its rows it is no change", lambda: "pcdb_list" not in page.text("#changed"))

    page.search("http_password")
    secret = "[aria-describedby~='help-http_password']"
    page.until("a secret is not shown", lambda: page.find(secret).get_attribute("placeholder") == "unchanged")
    sent = page.browser.execute_async_script(
        "const done = arguments[0]; fetch('settings.cgi?show').then(a => a.text()).then(done)")
    check("the router does not send it", "1234" not in sent.split('"http_password":"')[1][:10], sent[:200])

    # Keyboard alone: the button has the focus, and Enter presses it.
    page.browser.execute_script("document.querySelector('#try').focus()")
    page.browser.switch_to.active_element.send_keys("\n")
    page.until("the change is on trial", lambda: page.find("#keep").is_displayed())
    check("and counted down", "Undone in " in page.text("#trial-text"), page.text("#trial-text"))
    page.until("Keep has the focus", lambda: page.browser.switch_to.active_element.get_attribute("id") == "keep")
    page.browser.switch_to.active_element.send_keys("\n")
    page.until("kept", lambda: "Kept, and written to flash." in page.text("#status"))

    page.move_lan(NEW)
    page.until("another LAN address can be tried", page.planned)
    page.find("#try").click()
    page.until("the page says where the router will be", lambda: NEW in page.text("#trial-link"))
    place = page.find("#trial-link a").get_attribute("href")
    check("and takes the token along", place.startswith(f"http://{NEW}/settings.cgi#") and len(place) > 40, place)
    shell("ip", "addr", "add", "192.168.7.2/24", "dev", "eth0")
    page.until("the router is there", lambda: "401" in shell(
        "curl", "-s", "-m", "5", "-o", "/dev/null", "-w", "%{http_code}", f"http://{NEW}/").stdout)
    page.log_in(NEW)
    page.open(place)
    check("the token is not in the address any more", "#" not in page.browser.current_url, page.browser.current_url)
    page.until("the trial is there", lambda: page.find("#keep").is_displayed())
    page.find("#keep").click()
    page.until("kept there", lambda: "Kept, and written to flash." in page.text("#status"))

    page.move_lan(OLD)
    page.until("one more", page.planned)
    page.browser.execute_script("document.querySelector('#seconds').value = '30'")
    page.find("#try").click()
    page.until("it moves away", lambda: OLD in page.text("#trial-link"))
    page.until("nobody keeps it: the router comes back",
               lambda: "The router is as it was" in page.text("#status"))
    check("and says why", "not confirmed in time" in page.text("#status"), page.text("#status"))


def answer(host, *options):
    """The status of a request to the page's program, and its text."""
    run = shell("curl", "-s", "-u", "admin:1234", "-w", "\n%{http_code}", *options)
    text, _, status = run.stdout.rpartition("\n")
    return status, text


def refusals():
    """What no other page can make a browser do."""
    place = f"http://{NEW}/settings.cgi"
    kind = ("-H", "Content-Type: text/x-settings")
    own = ("-H", f"Origin: http://{NEW}")
    change = ("--data-binary", "wifi_ssid=Foreign")
    for what, options, wanted in [
        ("without a password", ("-u", "admin:wrong", place + "?show"), "401"),
        ("a change by GET", (place + "?try=30",), "405"),
        ("a form of another page", (*own, *change, place + "?try=30"), "403"),
        ("another page", (*kind, "-H", "Origin: http://evil.example", *change, place + "?try=30"), "403"),
        ("a page without a name", (*kind, "-H", "Origin: null", *change, place + "?try=30"), "403"),
        ("no Origin and no Referer", (*kind, *change, place + "?try=30"), "403"),
        ("a name that was pointed to the router",
         (*kind, "-H", "Host: evil.example", "-H", "Origin: http://evil.example", *change, place + "?try=30"), "403"),
        ("a longer address that begins alike",
         (*kind, "-H", f"Origin: http://{NEW}.evil.example", *change, place + "?try=30"), "403"),
        ("too long a request", (*kind, *own, "--data-binary", "x" * 70000, place + "?preview"), "413"),
        ("no such request", (place + "?reboot",), "404"),
    ]:
        status, text = answer(NEW, *options)
        check(f"refused: {what}", status == wanted, (status, text))
    status, text = answer(NEW, *kind, *own, "--data-binary", "wifi_ssid=$(reboot)`reboot`\n", place + "?preview")
    check("its own request is answered", (status, text.rpartition("status ")[2]) == ("200", "0\n"), (status, text))
    status, text = answer(NEW, *kind, "-H", f"Referer: http://{NEW}/settings.cgi", *change, place + "?preview")
    check("so is one with a Referer only", status == "200", (status, text))
    status, text = answer(NEW, place + "?trial")
    check("none of these put anything on trial", '"on_trial":false' in text, text)
    text = shell("curl", "-s", "-i", "-u", "admin:1234", place).stdout
    check("the page has a policy", "Content-Security-Policy: default-src 'none'; script-src 'self';" in text, text)


def looks(page, contrast):
    for width, height in ((1280, 900), (390, 800)):
        for scheme in ("light", "dark"):
            page.browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
                "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 500})
            page.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                         {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            page.search("pcdb_list")
            page.until(f"{scheme}, {width} px: the list", lambda: "Add" in page.text("main"))
            wide = page.browser.execute_script("return document.documentElement.scrollWidth")
            check("no wider than the window", wide <= width, wide)
            lowest, text = page.browser.execute_script(contrast)
            check("every text is readable: contrast 4.5 or more", lowest >= 4.5, f"{lowest:.2f} of {text!r}")


def in_the_lab():
    from browser import CONTRAST, start_browser
    with tempfile.TemporaryDirectory() as folder:
        browser = start_browser(pathlib.Path(folder))
        try:
            page = Page(browser)
            play(page)
            refusals()
            looks(page, CONTRAST)
            errors = [entry for entry in browser.get_log("browser")
                      if "settings.cgi" not in entry["message"] and "favicon" not in entry["message"]]
            check("no errors in the browser's console", not errors, errors)
        finally:
            browser.quit()
    sys.exit(1 if failures else 0)


if sys.argv[1:2] == ["--in-lab"]:
    PICTURES = sys.argv[2] if len(sys.argv) > 2 else ""
    sys.path.insert(0, str(LAB))
    in_the_lab()
if not shutil.which("chromium") or not shutil.which("chromedriver"):
    print("skipped: chromium or chromedriver is not installed")
    sys.exit(77)
sys.exit(subprocess.run([LAB / "router", "--build-dir", sys.argv[1],
                         "--exec", "lan1", " ".join([__file__, "--in-lab", *sys.argv[2:]])], check=False).returncode)
