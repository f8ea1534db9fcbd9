#!/usr/bin/python3
"""Reports as users see them: headless Chromium opens them from file:// and clicks.

  report_browser_test.py RCPLAN FACTORY_SETTINGS [unittest's arguments]

Status 77 (skipped) when there is no Chromium.
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "lab"))
from browser import CONTRAST, start_browser  # noqa: E402
from waits import HANG_LIMIT  # noqa: E402

ATTACK = "\"'><script>window.ran=1</script><img src=x onerror=window.ran=2>"

# A firewall that gives every part of the page content.
FIREWALL = {
    "wan_mode": "ip", "fix_ipaddr": "203.0.113.2", "fw_response_ping": "1", "log_access": "1",
    "fw_in_rules": r"web:1:all:8080:80:tcp:40\x01mail:1:all:25:25:tcp:41\x01",
    "fw_remote": "1", "fw_remote_type": "1", "fw_remote_single": "203.0.113.77", "fw_remote_port": "8889",
    "fw_dmz_enable": "1", "fw_dmz": "192.168.1.50", "fw_ttl": "4", "fw_ttl_ud": "77",
    "fw_block": "1", "fw_block_keyword": ATTACK,
}

def settings_with(changes):
    """The factory settings with some of them changed."""
    lines = [line for line in FACTORY.read_text().splitlines() if line.split("=")[0] not in changes]
    return "\n".join(lines + [f"{key}={value}" for key, value in changes.items()]) + "\n"


def make_report(name, changes, *words):
    settings = FOLDER / f"{name}.settings"
    settings.write_text(settings_with(changes))
    world = FOLDER / "world"
    world.write_text("interface br0 192.168.1.1\ninterface eth2.2 203.0.113.2\n")
    page = FOLDER / f"{name}.html"
    subprocess.run([RCPLAN, "report", page, "--settings", settings, "--world", world, *words], check=True)
    return page


class ReportTest(unittest.TestCase):
    def setUp(self):
        BROWSER.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": False})
        self.size(1280, 900)
        self.scheme("light")

    def tearDown(self):
        self.assertEqual(BROWSER.get_log("browser"), [], "the browser's console")

    def size(self, width, height):
        BROWSER.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
            "width": width, "height": height, "deviceScaleFactor": 1, "mobile": width < 500})

    def scheme(self, name):
        BROWSER.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                {"features": [{"name": "prefers-color-scheme", "value": name}]})

    def open(self, page):
        # Via an empty page, so that an earlier fragment is gone too.
        BROWSER.get("about:blank")
        BROWSER.get(page.as_uri())

    def find(self, selector):
        return BROWSER.find_element(By.CSS_SELECTOR, selector)

    def find_all(self, selector):
        return BROWSER.find_elements(By.CSS_SELECTOR, selector)

    def run_script(self, script, *arguments):
        return BROWSER.execute_script(script, *arguments)

    def seen(self, element):
        """Neither hidden nor folded away."""
        return self.run_script("return arguments[0].checkVisibility({ visibilityProperty: true })", element)

    def in_view(self, element):
        return self.run_script(
            "const box = arguments[0].getBoundingClientRect();"
            "return box.height > 0 && box.top >= 0 && box.bottom <= innerHeight;", element)

    def wait_until(self, condition):
        WebDriverWait(BROWSER, HANG_LIMIT).until(lambda _: condition())

    def expect_arrival(self, element_id):
        """The target of a click: it is unfolded and visible."""
        self.wait_until(
            lambda: self.run_script("return document.querySelector(':target')?.id") == element_id)
        target = self.find(f"[id='{element_id}']")
        self.wait_until(lambda: self.in_view(target))
        return target

    def press(self, element):
        self.run_script("arguments[0].scrollIntoView({ block: 'center' })", element)
        element.click()

    def follow(self, link):
        href = link.get_dom_attribute("href")
        # The page's own listener for this event runs first, so the page has finished when this one runs.
        self.run_script("window.arrived = location.hash === arguments[0];"
                        "addEventListener('hashchange', () => { window.arrived = true; }, { once: true });", href)
        self.press(link)
        self.wait_until(lambda: self.run_script("return window.arrived"))
        return self.expect_arrival(href.removeprefix("#"))

    def test_from_the_map_to_a_line_of_the_time_line(self):
        self.open(FIREWALL_PAGE)
        chain = self.find("#chain-nat-PRE_BASIC")
        self.assertFalse(self.seen(chain))
        node = self.find(".map a[href='#chain-nat-PRE_BASIC']")
        self.follow(node)
        self.assertTrue(self.seen(chain))
        self.assertFalse(self.seen(self.find("#chain-nat-PREROUTING")))
        self.assertEqual(node.get_attribute("aria-current"), "true")

        rule = next(rule for rule in chain.find_elements(By.CSS_SELECTOR, ".rule") if "--dport 8889" in rule.text)
        row = self.follow(rule.find_element(By.LINK_TEXT, "fw_remote_port"))
        self.assertEqual(row.tag_name, "tr")
        self.assertIn("fw_remote_port\n8889", row.text.replace(" 8889", "\n8889"))

        event, line = row.find_elements(By.CSS_SELECTOR, ".uses a")
        self.assertEqual(event.text, "write /tmp/rules")
        line = self.follow(line)
        self.assertIn("iptables -t nat -A PRE_BASIC -i eth2.2 -p tcp --dport 8889 -s 203.0.113.77", line.text)
        self.assertEqual(line.find_element(By.XPATH, "ancestor::section").get_attribute("id"), "timeline")

    def test_a_rule_leads_to_its_line_in_the_file(self):
        self.open(FIREWALL_PAGE)
        rule = self.find("#chain-filter-INPUT .rule")
        place = rule.find_element(By.CSS_SELECTOR, ".place")
        self.assertTrue(place.text.startswith("/tmp/rules:"))
        line = self.follow(place)
        self.assertIn("iptables -I INPUT -i br0 -j ACCEPT", line.text)
        self.assertEqual(line.find_element(By.CSS_SELECTOR, ".number").text, place.text.split(":")[1])
        self.assertIn("lan_if=br0", line.text)
        # Then to the line that wrote it.
        written = self.follow(line.find_element(By.CSS_SELECTOR, ".number"))
        self.assertIn("iptables -I INPUT -i br0 -j ACCEPT", written.text)

    def test_a_jump_leads_to_its_chain(self):
        self.open(FIREWALL_PAGE)
        self.follow(self.find("#chain-filter-INPUT a[href='#chain-filter-DOS']"))
        self.assertTrue(self.seen(self.find("#chain-filter-DOS")))
        self.assertFalse(self.seen(self.find("#chain-filter-INPUT")))
        BROWSER.back()
        BROWSER.back()

    def test_a_link_from_outside_unfolds_its_place(self):
        BROWSER.get("about:blank")
        BROWSER.get(FIREWALL_PAGE.as_uri() + "#chain-nat-DMZ")
        self.assertTrue(self.seen(self.expect_arrival("chain-nat-DMZ")))

    def test_why_opens_with_the_keyboard(self):
        self.open(FIREWALL_PAGE)
        why = self.find(".why > summary")
        reasons = self.find(".why ul")
        self.assertFalse(self.seen(reasons))
        why.send_keys(Keys.ENTER)
        self.assertTrue(self.seen(reasons))

    def test_a_chain_opens_with_the_keyboard(self):
        self.open(FIREWALL_PAGE)
        node = self.find(".map a[href='#chain-filter-FW_BASIC']")
        node.send_keys(Keys.ENTER)
        self.assertTrue(self.seen(self.expect_arrival("chain-filter-FW_BASIC")))

    def test_tab_reaches_links_buttons_and_maps(self):
        self.open(FIREWALL_PAGE)
        reached = set()
        for _ in range(2000):
            self.find("body").send_keys(Keys.TAB) if not reached else \
                BROWSER.switch_to.active_element.send_keys(Keys.TAB)
            element = BROWSER.switch_to.active_element
            if element.tag_name == "body":
                break
            reached.add(element.tag_name + "." + (element.get_attribute("class") or ""))
            if {"input.", "summary.", "div.map"} <= reached and any(r.startswith("a.node") for r in reached):
                return
        self.fail(f"Tab reached only {reached}")

    def test_the_filter_narrows_and_gives_back(self):
        self.open(FIREWALL_PAGE)
        before = self.run_script("return [...document.querySelectorAll('details')].map((fold) => fold.open)")
        field = self.find("#filter")
        field.send_keys("FW_DMZ_enable")
        # Heads of groups with a match are shown too; all other shown lines match themselves.
        shown = [line for line in self.find_all(".line:not(.head), .event > .line:only-child") if self.seen(line)]
        self.assertGreater(len(shown), 2)
        for line in shown:
            # Reasons under a closed button count too.
            self.assertIn("fw_dmz_enable", self.run_script("return arguments[0].textContent", line))
        self.assertRegex(self.find("output").text, r"^[0-9]+ lines$")
        self.assertTrue(self.seen(self.find("#setting-fw_dmz_enable")))
        self.assertFalse(self.seen(self.find("#setting-lan_if")))
        self.assertFalse(self.seen(self.find("#chain-filter-INPUT")))
        self.assertTrue(self.seen(self.find("#chain-nat-DMZ")))

        field.send_keys(Keys.CONTROL, "a", Keys.NULL, Keys.DELETE)
        self.assertEqual(self.find("output").text, "")
        self.assertTrue(self.seen(self.find("#setting-lan_if")))
        self.assertEqual(self.run_script(
            "return [...document.querySelectorAll('details')].map((fold) => fold.open)"), before)
        self.assertEqual(self.find_all(".out"), [])

    def test_a_filter_that_nothing_matches(self):
        self.open(FIREWALL_PAGE)
        self.find("#filter").send_keys("no such line")
        self.assertEqual(self.find("output").text, "0 lines")
        self.assertFalse(any(self.seen(line) for line in self.find_all(".line")))

    def test_the_filter_looks_for_one_kind_of_name(self):
        self.open(FIREWALL_PAGE)
        field = self.find("#filter")

        def shown(text):
            field.clear()
            field.send_keys(text)
            return [line for line in self.find_all(".line") if self.seen(line)]

        rules = shown("chain:IN_FILTER")
        self.assertGreater(len(rules), 0)
        for rule in rules:
            self.assertEqual(self.run_script("return arguments[0].closest('.chain').id", rule), "chain-filter-IN_FILTER")
        # The name alone also finds the rules that jump there.
        self.assertGreater(len(shown("IN_FILTER")), len(rules))
        tables = {self.run_script("return arguments[0].closest('.table').querySelector('h3 code').textContent", line)
                  for line in shown("table: nat")}
        self.assertEqual(tables, {"nat"})
        lines = shown("setting:fw_in_rules")
        self.assertGreater(len(lines), 2)
        for line in lines:
            self.assertIn("fw_in_rules", self.run_script("return arguments[0].textContent", line))
        self.assertEqual(shown("setting:no_such"), [])

    def test_a_long_list_is_named_by_its_entries(self):
        self.open(FIREWALL_PAGE)
        lines = self.run_script("return [...document.querySelectorAll('.file .line')].map((line) => line.textContent)")
        mail = [line for line in lines if "--dport 25 " in line]
        self.assertEqual(len(mail), 4)
        for line in mail:
            self.assertIn("fw_in_rules entry 2=mail:1:all:25:25:tcp:41", line)
            self.assertNotIn("web:1:all", line)

    def test_it_says_what_it_was_made_of(self):
        self.open(FIREWALL_PAGE)
        said = self.find(".source").text
        self.assertIn("firewall.settings", said)
        self.assertIn("world", said)
        self.assertRegex(said, r"made on\n[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2} UTC\nversion\nrcplan [0-9.]+")

    def test_prints_all_chains_and_no_controls(self):
        self.open(FIREWALL_PAGE)
        self.scheme("dark")
        BROWSER.execute_cdp_cmd("Emulation.setEmulatedMedia", {
            "media": "print", "features": [{"name": "prefers-color-scheme", "value": "dark"}]})
        # A4 within the margins, in CSS pixels.
        self.size(703, 1016)
        self.assertFalse(self.seen(self.find("nav")))
        self.assertFalse(any(self.seen(why) for why in self.find_all(".why > summary")))
        self.assertTrue(all(self.seen(chain) for chain in self.find_all(".chain")))
        self.assertEqual(self.run_script("return getComputedStyle(document.body).backgroundColor"),
                         "rgb(255, 255, 255)")
        self.assertLessEqual(self.run_script("return document.documentElement.scrollWidth"), 703)
        wide = self.run_script(
            "return [...document.querySelectorAll('.map svg')].map((e) => e.getBoundingClientRect().right)")
        self.assertLessEqual(max(wide), 703)
        # A rule with its place and its reasons takes a line or two.
        rule = self.find("#chain-filter-INPUT .rule")
        self.assertLess(rule.rect["height"], 30)
        BROWSER.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": ""})

    def test_a_link_to_what_the_filter_hides_ends_it(self):
        self.open(FIREWALL_PAGE)
        self.find("#filter").send_keys("fw_remote_port=8889")
        link = next(link for link in self.find_all("a[href='#setting-fw_remote_port']") if self.seen(link))
        self.follow(link)
        self.find("#filter").clear()
        self.find("#filter").send_keys("MASQUERADE")
        self.assertFalse(self.seen(self.find("#assumed")))
        self.follow(self.find("nav a[href='#assumed']"))
        self.assertEqual(self.find("#filter").get_attribute("value"), "")

    def test_a_nested_run_unfolds(self):
        self.open(NESTED_PAGE)
        nested = self.find(".nested")
        inside = nested.find_element(By.CSS_SELECTOR, ".line")
        self.assertFalse(self.seen(inside))
        self.press(nested.find_element(By.CSS_SELECTOR, "summary"))
        self.assertTrue(self.seen(inside))
        # Further in than the command that starts it.
        self.assertGreater(inside.location["x"], self.find("#timeline .line").location["x"])

    def test_a_phone_scrolls_maps_but_not_the_page(self):
        self.size(360, 800)
        for page in (FIREWALL_PAGE, NESTED_PAGE, HOSTILE_PAGE):
            self.open(page)
            self.assertLessEqual(self.run_script("return document.documentElement.scrollWidth"), 360)
            self.run_script("for (const fold of document.querySelectorAll('details')) fold.open = true;")
            self.assertLessEqual(self.run_script("return document.documentElement.scrollWidth"), 360, page)
            wide = self.run_script(
                "return [...document.querySelectorAll('body *')].filter((e) => !e.closest('svg') &&"
                "e.getBoundingClientRect().right > 360.5).map((e) => e.outerHTML.slice(0, 99))")
            self.assertEqual(wide, [])
        self.open(FIREWALL_PAGE)
        self.assertTrue(self.run_script(
            "const map = document.querySelector('.map'); return map.scrollWidth > map.clientWidth"))

    def test_reads_without_scripts(self):
        BROWSER.execute_cdp_cmd("Emulation.setScriptExecutionDisabled", {"value": True})
        self.open(FIREWALL_PAGE)
        self.assertFalse(self.seen(self.find("[role=search]")))
        self.assertIn("run\n/bin/sh /tmp/rules", self.find("#timeline").text.replace(" \n", "\n"))
        self.assertGreater(len([n for n in self.find_all(".map .node") if self.seen(n)]), 15)
        for chain in ("chain-filter-INPUT", "chain-filter-LOCAL_SERVICE", "chain-nat-PREROUTING"):
            self.assertTrue(self.seen(self.find(f"#{chain}")))
        fold = self.find(".file")
        self.assertFalse(self.seen(fold.find_element(By.CSS_SELECTOR, ".line")))
        self.press(fold.find_element(By.CSS_SELECTOR, "summary"))
        self.assertTrue(self.seen(fold.find_element(By.CSS_SELECTOR, ".line")))
        self.press(self.find(".why > summary"))
        self.assertTrue(self.seen(self.find(".why ul")))
        self.assertTrue(self.seen(self.find("#setting-fw_remote_port")))

    def test_texts_of_settings_do_not_run(self):
        for page in (HOSTILE_PAGE, HOSTILE_RADIO_PAGE, FIREWALL_PAGE):
            self.open(page)
            said = self.run_script("return document.querySelector('main').textContent")
            self.assertTrue(ATTACK in said, f"{page} does not show the text")
            self.assertIsNone(self.run_script("return window.ran ?? null"))
            self.assertEqual(len(self.find_all("script")), 1)
            self.assertEqual(self.find_all("img"), [])

    def test_the_policy_stops_any_other_script(self):
        self.open(FIREWALL_PAGE)
        self.run_script("const other = document.createElement('script'); other.textContent = 'window.ran = 3';"
                        "document.body.append(other);")
        self.assertIsNone(self.run_script("return window.ran ?? null"))
        refusals = []
        # The browser reports it with a delay; each reading gets the reports so far.
        self.wait_until(lambda: refusals.extend(BROWSER.get_log("browser")) or refusals)
        self.assertEqual(len(refusals), 1)
        self.assertIn("Content Security Policy", refusals[0]["message"])

    def test_texts_stand_out_in_both_schemes(self):
        backgrounds = set()
        for scheme in ("light", "dark"):
            self.scheme(scheme)
            self.open(FIREWALL_PAGE)
            self.run_script("for (const fold of document.querySelectorAll('details')) fold.open = true;")
            contrast, text = self.run_script(CONTRAST)
            self.assertGreaterEqual(contrast, 7, f"{scheme}: {text}")
            backgrounds.add(self.run_script("return getComputedStyle(document.body).backgroundColor"))
        self.assertEqual(len(backgrounds), 2)


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    if not shutil.which("chromium") or not shutil.which("chromedriver"):
        print("skipped: there is no Chromium")
        sys.exit(77)
    RCPLAN, FACTORY = sys.argv[1], pathlib.Path(sys.argv[2])
    with tempfile.TemporaryDirectory() as folder:
        FOLDER = pathlib.Path(folder)
        FIREWALL_PAGE = make_report("firewall", FIREWALL, "firewall", "start")
        NESTED_PAGE = make_report("nested", {"wan_mode": "pppoe"}, "wan", "restart")
        HOSTILE_PAGE = make_report("hostile", {"device_name": ATTACK}, "httpd", "start")
        HOSTILE_RADIO_PAGE = make_report("radio", {"wifi_ssid": ATTACK, "wifi_present": "1"}, "wlan", "start")
        BROWSER = start_browser(FOLDER)
        try:
            result = unittest.main(argv=sys.argv[:1] + sys.argv[3:], exit=False).result
        finally:
            BROWSER.quit()
    sys.exit(0 if result.wasSuccessful() else 1)
