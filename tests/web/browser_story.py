#!/usr/bin/env python3
"""An operator's story, told to a real browser: browser_story.py PROGRAM FOLDER

PROGRAM is the host program; FOLDER gets three screenshots, and what the browser downloads. All traffic stays on the
loopback interface.
"""
import html.parser
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import urllib.error
import urllib.parse
import urllib.request

from selenium import webdriver
from selenium.common.exceptions import WebDriverException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select, WebDriverWait

NASTY = "<b>&amp; \"q\" 'a' x/y  100%41 \u00e4\u6f22+#?="
FILTER = NASTY + " filter"
PATIENCE = 120  # seconds; a limit for failures only


class Links(html.parser.HTMLParser):
    def __init__(self):
        super().__init__()
        self.found = []

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if (tag, name) in (("a", "href"), ("link", "href")):
                self.found.append(value)


def start_browser(folder):
    options = Options()
    options.binary_location = shutil.which("chromium")
    profile = tempfile.mkdtemp(prefix="vantiflux_browser_")
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--no-first-run",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-default-apps", "--disable-extensions", "--no-proxy-server", "--window-size=1200,900",
                     "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", "--user-data-dir=" + profile):
        options.add_argument(argument)
    options.add_experimental_option("prefs", {"download.default_directory": str(folder),
                                              "download.prompt_for_download": False})
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
    browser.set_page_load_timeout(PATIENCE)
    return browser, profile


class Story:
    def __init__(self, browser, base, folder):
        self.browser = browser
        self.base = base
        self.folder = folder
        self.console = []
        self.seen = set()

    # Steps ---------------------------------------------------------------------------------------------------------

    def wait(self, condition, what):
        # Between two pages the old one's elements are gone and the new one's not there yet.
        WebDriverWait(self.browser, PATIENCE, ignored_exceptions=(WebDriverException,)).until(lambda _: condition(),
                                                                                              what)

    def check(self, holds, what):
        self.console += self.browser.get_log("browser")
        if not holds:
            raise AssertionError(f"{what}\nat {self.browser.current_url}\n{self.browser.page_source}")

    def sees(self, text):
        self.check(text in self.browser.find_element(By.TAG_NAME, "body").text, f"{text!r} is not to be seen")

    def misses(self, text):
        self.check(text not in self.browser.find_element(By.TAG_NAME, "body").text, f"{text!r} is to be seen")

    def go(self, action, path):
        """Does what leads to another page, and waits for that."""
        old = self.browser.find_element(By.TAG_NAME, "html")
        action()
        self.wait(lambda: self.browser.find_element(By.TAG_NAME, "html") != old and
                  self.browser.execute_script("return document.readyState") == "complete", f"the way to {path}")
        arrived = urllib.parse.urlparse(self.browser.current_url).path
        self.check(arrived == path, f"arrived at {arrived} in place of {path}")

    def follow(self, text, path, within="//body"):
        """Clicks the link with this text."""
        links = [a for a in self.browser.find_elements(By.XPATH, within + "//a") if a.get_attribute("textContent") == text]
        self.check(links, f"there is no link {text!r}")
        self.go(links[-1].click, path)

    def row_link(self, label, text, path):
        """Clicks a link in the row of a table that has the label in a cell."""
        for row in self.browser.find_elements(By.XPATH, "//tr"):
            cells = [cell.get_attribute("textContent") for cell in row.find_elements(By.XPATH, "./td")]
            if label in cells:
                self.go(row.find_element(By.LINK_TEXT, text).click, path)
                return
        self.check(False, f"no row has {label!r}")

    def fill(self, name, text):
        field = self.browser.find_element(By.NAME, name)
        field.clear()
        field.send_keys(text)

    def submit(self, path):
        self.go(self.browser.find_element(By.XPATH, "//input[@type='submit']").click, path)

    def choose(self, name, index_of):
        """Chooses from a menu and sees the script copy the choice to the input."""
        menu = Select(self.browser.find_element(By.ID, name + "Menu"))
        options = [o.get_attribute("value") for o in menu.options]
        self.check(index_of in options, f"{index_of!r} is not among {options}")
        menu.select_by_index(options.index(index_of))
        field = self.browser.find_element(By.ID, name)
        self.check(field.get_property("value") == index_of, f"the menu gave {field.get_property('value')!r}")
        self.check(menu.all_selected_options[0].text.startswith("Select "), "the menu did not go back to its head")

    def open(self, path, **query):
        self.browser.get(self.base + path + ("?" + urllib.parse.urlencode(query) if query else ""))

    def picture(self, name):
        self.browser.save_screenshot(str(self.folder / name))

    def crawl(self):
        """Every link that changes nothing leads to a page."""
        to_do = ["/"]
        while to_do:
            path = to_do.pop()
            if path in self.seen or re.match(r"/(Create|Remove|Add)", path):
                continue
            self.seen.add(path)
            try:
                with urllib.request.urlopen(self.base + path, timeout=PATIENCE) as reply:
                    page = reply.read()
                    kind = reply.headers.get_content_type()
            except urllib.error.HTTPError as error:
                raise AssertionError(f"{path} leads to {error.code}") from error
            if kind == "text/html":
                links = Links()
                links.feed(page.decode("utf-8"))
                to_do += [urllib.parse.urljoin(path, link) for link in links.found]

    def save(self):
        """Downloads through the link of the page that is open."""
        file = self.folder / "vantiflux-config.xml"
        file.unlink(missing_ok=True)
        self.browser.find_element(By.LINK_TEXT, "Save").click()
        self.wait(file.exists, "the download")
        return file

    def load(self, file):
        self.follow("Load", "/Load")
        self.browser.find_element(By.ID, "filename").send_keys(str(file))
        self.submit("/Load")
        self.sees("State successfully loaded!")

    # The story -----------------------------------------------------------------------------------------------------

    def tell(self):
        self.walk()
        self.build()
        self.look()
        self.save_and_load()
        self.load_the_server_itself()
        errors = [entry for entry in self.console if entry["level"] not in ("INFO", "DEBUG")]
        assert not errors, errors

    def walk(self):
        self.open("/")
        self.check(self.browser.title == "Vantiflux Web Interface", "the title")
        self.picture("1-start.png")
        self.follow("Codecs", "/Codecs.html")
        self.sees("SFImage")
        self.open("/index.html")
        self.misses("Log")
        self.follow("Root Namespace", "/Namespace.html")
        self.sees("Subnamespaces: Clock, Web")
        file = self.save()
        text = file.read_text()
        file.write_text(re.sub("(<Parameter name=\"Port\")", "<Parameter name=\"LogSize\" value=\"500\"/>\\1", text))
        self.load(file)  # which replaces the server
        self.open("/index.html")
        self.follow("Log", "/log.html")
        self.sees("GET /index.html 200")
        self.open("/Namespace.html")
        self.crawl()

    def build(self):
        self.follow("Subnamespaces", "/SubNamespaces.html")
        self.fill("label", NASTY)
        self.submit("/SubNamespaces.html")
        self.follow(NASTY, "/Namespace.html", "//table[2]")
        self.check(self.browser.find_element(By.TAG_NAME, "h1").get_property("textContent") == "Namespace " + NASTY,
                   "the heading")
        self.follow("Nodes", "/Nodes.html")
        self.sees("No nodes defined.")
        self.choose("name", "Clock")
        self.submit("/NodeTypes.html")
        self.sees("Reads the system time.")
        self.fill("_name", NASTY)
        self.submit("/Nodes.html")
        self.choose("name", "MotionFilter")
        self.submit("/NodeTypes.html")
        self.fill("_name", FILTER)
        field = self.browser.find_element(By.ID, "p0")
        self.field_name = field.get_attribute("name")
        field.clear()
        field.send_keys("7")
        self.submit("/Nodes.html")
        self.follow(FILTER, "/Nodes.html", "//table[2]")
        self.sees(f"{self.field_name}: 7")
        self.picture("2-node.png")
        self.crawl()

    def look(self):
        self.follow(NASTY, "/Namespace.html", "//div[@class='namespace']")
        self.follow("Routes", "/Routes.html")
        self.sees("No Routes defined.")
        outs = [o.get_attribute("value") for o in Select(self.browser.find_element(By.ID, "fromMenu")).options]
        ins = [o.get_attribute("value") for o in Select(self.browser.find_element(By.ID, "toMenu")).options]

        def add_route():
            self.choose("from", NASTY + "/Time")
            self.choose("to", ins[2])
            self.submit("/Routes.html")

        add_route()
        self.picture("3-routes.png")
        self.row_link(NASTY + "/Time", "remove", "/Routes.html")
        self.sees("No Routes defined.")
        add_route()
        self.open("/Namespace.html", namespace=NASTY)
        self.follow("External routes", "/ExternalRoutes.html")
        self.choose("internal", NASTY + "/Time")
        self.fill("external", NASTY + " time")
        self.submit("/ExternalRoutes.html")
        self.row_link(NASTY + " time", "remove", "/ExternalRoutes.html")
        self.sees("No Routes defined.")
        self.open("/Routes.html", namespace=NASTY)
        self.row_link(NASTY + "/Time", NASTY.replace("  ", " ") + "/Time", "/OutSlots.html")
        self.check(len(self.browser.find_elements(By.XPATH, "//tr[@class='odd' or @class='even']")) == 1, "one slot")
        self.follow("Show all OutSlots.", "/OutSlots.html")
        self.check(len(self.browser.find_elements(By.XPATH, "//tr[@class='odd' or @class='even']")) == len(outs) - 2,
                   "all slots")
        self.crawl()

    def save_and_load(self):
        self.open("/Namespace.html", namespace=NASTY)
        file = self.save()
        self.follow("Nodes", "/Nodes.html")
        self.row_link(NASTY, "stop", "/Nodes.html")
        self.row_link(FILTER, "stop", "/Nodes.html")
        self.sees("No nodes defined.")
        self.open("/Namespace.html", namespace=NASTY)
        self.load(file)
        self.open("/Nodes.html", node=NASTY + "/" + FILTER)
        self.sees(f"{self.field_name}: 7")
        self.open("/Nodes.html", node=NASTY + "/" + NASTY)
        self.sees("Status: Sleeping")
        self.open("/Routes.html", namespace=NASTY)
        self.misses("No Routes defined.")

    def load_the_server_itself(self):
        self.open("/Namespace.html")
        file = self.save()
        self.follow("Subnamespaces", "/SubNamespaces.html")
        self.row_link(NASTY, "remove", "/SubNamespaces.html")
        self.sees("Subnamespaces: Clock, Web")
        self.open("/Namespace.html")
        self.load(file)
        self.open("/Nodes.html", node="Web")
        self.sees("Status: Running - Webserver listening on")
        self.open("/Nodes.html", node=NASTY + "/" + FILTER)
        self.sees(f"{self.field_name}: 7")
        self.crawl()


def main():
    program, folder = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    tree = folder / "tree.vfx"
    tree.write_text('<Vantiflux versionMajor="1"><Node label="Clock" type="Clock"/></Vantiflux>')
    host = subprocess.Popen([program, "run", str(tree), "--web", "0"], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                            text=True)
    profile = None
    browser = None
    try:
        line = host.stderr.readline()
        base = re.search(r"http://\S+(?=/)", line).group()
        browser, profile = start_browser(folder)
        Story(browser, base, folder).tell()
    finally:
        if browser is not None:
            browser.quit()
        if profile is not None:
            shutil.rmtree(profile, ignore_errors=True)
        host.terminate()
        status = host.wait(PATIENCE)
        errors = host.stderr.read()
    assert status == 0 and errors == "", f"status {status}\n{errors}"


if __name__ == "__main__":
    main()
