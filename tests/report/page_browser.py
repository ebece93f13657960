"""page_browser.py TAZREPORT FOLDER: makes pages, opens them in headless Chromium and uses them.

Keeps screenshots in the folder: light, dark, and as wide as a phone. Ends with 77 and the reason where
there is no browser or the program makes no pages, else with 1 on the first thing that is not as it should be.
"""
import base64
import http.client
import json
import os
import random
import shutil
import socket
import subprocess
import sys
import tempfile
import time

CONTEXT = {
    "type": "context", "schema": 1, "program": "tazmet", "version": "1.0.0", "started": "2026-11-22T08:00:00Z",
    "machine": {"mhz": 2600, "processor": "Test CPU", "processors": 2, "cache_l1": 32768, "cache_l2": 1048576,
                "counter_mhz": 2500, "system": "Linux", "computer": "box"},
    "keys": ["-B"], "settings": {"timing": "spread, passes: 3", "presets": {}}, "seed": 7, "libraries": ["librkdi.so.1"],
    "code_path": "AVX2", "build": {"compiler": "g++", "type": "Release"}}
SIZES = (("64x64", 4096), ("256x256", 65536), ("1024x768", 786432), ("1920x1080", 2073600))
HOSTILE = "</script><script>document.title='taken'</script><img src=x onerror=\"document.title='taken'\">"


def write_run(path, functions, code_path, factor, seed, started="2026-11-22T08:00:00Z"):
    """A run of `functions` times four rows, of three passes each."""
    pick = random.Random(seed)
    with open(path, "w", encoding="utf-8") as file:
        file.write(json.dumps({**CONTEXT, "code_path": code_path, "started": started}) + "\n")
        for number in range(functions):
            for size, elements in SIZES:
                name = HOSTILE if number == 3 else f"rkdiFunction{number:03d}_JPEG_8u_C{number % 4 + 1}R"
                base = (0.05 + number % 17 / 9) * factor * elements * (1.6 if elements > 500000 else 1)
                clocks = [base * (1 + pick.expovariate(60)) for _ in range(45)]
                minima = [min(clocks[i::3]) for i in range(3)]
                row = {"type": "row", "function": name, "name": [name], "test": "T", "source": "s",
                       "parameters": {"ImageSize": size}, "unit": "px", "time": "", "note": "",
                       "result": "ACCURWRN" if number % 11 == 5 else "OK", "reason": "passes differ" if number % 11 == 5 else "",
                       "elements": elements, "bytes_read": 2, "bytes_written": 1, "working_set": 3 * elements,
                       "clocks_per_element": min(clocks) / elements, "clocks_per_call": min(clocks),
                       "statistics": {"count": 45, "minimum": min(clocks), "median": sorted(clocks)[22], "spread": 0.01, "tail": 0.1},
                       "pass_minima": minima,
                       "samples": {"clocks": clocks, "calls": [1] * 45, "pass": [1 + i % 3 for i in range(45)], "disturbed": [False] * 45}}
                file.write(json.dumps(row) + "\n")
        file.write(json.dumps({"type": "end", "ended": "2026-11-22T08:10:00Z", "tests": 1, "failures": 0, "warnings": 0}) + "\n")


class Browser:
    """Just enough of the WebDriver protocol."""

    def __init__(self, driver, chromium, profile):
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.port = probe.getsockname()[1]
        self.process = subprocess.Popen([driver, f"--port={self.port}"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        arguments = ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--hide-scrollbars",
                     "--disable-background-networking", "--disable-component-update", "--disable-sync",
                     "--disable-dev-shm-usage", f"--user-data-dir={profile}"]
        wanted = {"capabilities": {"alwaysMatch": {"goog:loggingPrefs": {"browser": "ALL"},
                  "goog:chromeOptions": {"binary": chromium, "args": arguments}}}}
        for attempt in range(100):
            try:
                self.session = self.call("POST", "/session", wanted)["sessionId"]
                return
            except ConnectionRefusedError:
                time.sleep(0.1)
        sys.exit("chromedriver does not answer")

    def call(self, method, path, body=None):
        link = http.client.HTTPConnection("127.0.0.1", self.port, timeout=120)
        link.request(method, path, None if body is None else json.dumps(body), {"Content-Type": "application/json"})
        value = json.loads(link.getresponse().read())["value"]
        if isinstance(value, dict) and "error" in value:
            sys.exit(f"{path}: {value['message']}")
        return value

    def do(self, method, path, body=None):
        return self.call(method, f"/session/{self.session}{path}", body)

    def run(self, script, *arguments):
        return self.do("POST", "/execute/sync", {"script": script, "args": list(arguments)})

    def devtools(self, command, parameters):
        return self.do("POST", "/goog/cdp/execute", {"cmd": command, "params": parameters})

    def element(self, css):
        return list(self.do("POST", "/element", {"using": "css selector", "value": css}).values())[0]

    def type(self, css, text):
        self.do("POST", f"/element/{self.element(css)}/value", {"text": text})

    def click(self, css):
        self.do("POST", f"/element/{self.element(css)}/click", {})

    def errors(self):
        log = self.do("POST", "/se/log", {"type": "browser"})
        return [entry["message"] for entry in log if entry["level"] in ("SEVERE", "WARNING")]

    def keep(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.do("GET", "/screenshot")))

    def end(self):
        self.do("DELETE", "")
        self.process.terminate()
        self.process.wait()


def expect(what, wanted, got):
    if wanted != got:
        sys.exit(f"{what}: {got!r} instead of {wanted!r}")
    print("ok", what)


def until(browser, script, wanted):
    """What the script gives at last: the page waits a moment before it filters."""
    got = None
    for _ in range(50):
        got = browser.run(script)
        if got == wanted:
            break
        time.sleep(0.1)
    return got


VISIBLE = "return [...document.querySelectorAll('%s')].filter(e => !e.hidden).length"
RATIOS = """return [...document.querySelectorAll('#compared tbody tr')].filter(r => !r.hidden)
  .map(r => Number(r.cells[4].dataset.v))"""
DRAWN = "return [...document.querySelectorAll('canvas')].filter(c => Chart.getChart(c)).length"


def use_comparison(browser):
    expect("rows compared", 80, browser.run(VISIBLE % "#compared tbody tr"))
    browser.type("#compared-filter", "function01 1024")
    expect("a filter filters rows", 10, until(browser, VISIBLE % "#compared tbody tr", 10))
    expect("and says so", "10 of 80 rows shown", browser.run("return document.getElementById('compared-status').textContent"))
    for order in ("ascending", "descending"):
        browser.click("#compared th:nth-child(5) button")
        ratios = browser.run(RATIOS)
        expect(f"sorting sorts, {order}", sorted(ratios, reverse=order == "descending"), ratios)
        expect("aria-sort", order, browser.run("return document.querySelector('#compared th:nth-child(5)').getAttribute('aria-sort')"))
    # By keyboard alone: from the heading's button with Enter.
    browser.run("document.querySelector('#compared th:first-child button').focus()")
    browser.do("POST", "/actions", {"actions": [{"type": "key", "id": "k", "actions": [
        {"type": "keyDown", "value": "\uE007"}, {"type": "keyUp", "value": "\uE007"}]}]})
    expect("Enter sorts", "ascending", browser.run("return document.querySelector('#compared th').getAttribute('aria-sort')"))


def use_functions(browser):
    browser.type("#find", "function007")
    expect("a filter filters functions", 1, until(browser, VISIBLE % "article", 1))
    browser.run("document.querySelector('article:not([hidden])').scrollIntoView()")
    expect("what is seen is drawn", 2, until(browser, DRAWN, 2))
    clocks = browser.run("return document.querySelector('article:not([hidden]) td[data-c]').dataset.c")
    browser.run("const u = document.getElementById('unit'); u.value = 'ns'; u.dispatchEvent(new Event('change'))")
    shown = browser.run("return document.querySelector('article:not([hidden]) td[data-c]').textContent")
    expect("nanoseconds", True, abs(float(shown) - float(clocks) * 1000 / 2500) < 0.006 * float(shown))


def use_history(browser):
    """The row that changed most is drawn; another one by its button."""
    expect("rows over time", 80, browser.run(VISIBLE % "#past-rows tbody tr"))
    browser.run("document.getElementById('past-one').scrollIntoView()")
    chart = "Chart.getChart(document.querySelector('#past-one canvas'))"
    expect("a row over time", [12, 2], until(browser, f"const c = {chart}; return c ? [c.data.labels.length, c.data.datasets.length] : 0", [12, 2]))
    expect("its runs", 12, browser.run("return document.getElementById('past-runs').tBodies[0].rows.length"))
    browser.type("#past-rows-filter", "function004 64x64")
    expect("a filter filters rows over time", 1, until(browser, VISIBLE % "#past-rows tbody tr", 1))
    browser.click("#past-rows tbody tr:not([hidden]) button")
    expect("its button draws it", True, browser.run("return document.getElementById('past-name').textContent.includes('Function004')"))
    shown = browser.run(f"return {chart}.data.datasets[0].data[11]")
    cell = browser.run("return Number(document.querySelector('#past-rows tbody tr:not([hidden])').cells[3].dataset.v)")
    expect("with its figures", cell, shown)


def check_access(browser):
    """What a screen reader needs: names of controls and drawings, captions, scopes, one h1."""
    expect("unnamed controls", [], browser.run("""return [...document.querySelectorAll('input,select,button,canvas,[role=region]')]
      .filter(e => !(e.labels && e.labels.length) && !e.getAttribute('aria-label') && !e.getAttribute('aria-labelledby') &&
        !e.textContent.trim()).map(e => e.outerHTML.slice(0, 80))"""))
    expect("tables without caption", 0, browser.run("return [...document.querySelectorAll('table')].filter(t => !t.caption).length"))
    expect("headings without scope", 0, browser.run("return document.querySelectorAll('th:not([scope])').length"))
    expect("h1", 1, browser.run("return document.querySelectorAll('h1').length"))
    expect("no text twice as an id", True, browser.run("""const ids = [...document.querySelectorAll('[id]')].map(e => e.id);
      return new Set(ids).size === ids.length"""))


def keep_pictures(browser, folder, page):
    browser.devtools("Emulation.setDeviceMetricsOverride", {"width": 1200, "height": 1500, "deviceScaleFactor": 1, "mobile": False})
    for scheme in ("light", "dark"):
        browser.devtools("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        browser.do("POST", "/url", {"url": page})
        time.sleep(0.5)
        browser.keep(os.path.join(folder, f"page_{scheme}.png"))
    browser.devtools("Emulation.setDeviceMetricsOverride", {"width": 390, "height": 1800, "deviceScaleFactor": 1, "mobile": True})
    browser.do("POST", "/url", {"url": page})
    time.sleep(0.5)
    expect("a phone scrolls in one direction", True,
           browser.run("return document.documentElement.scrollWidth <= document.documentElement.clientWidth"))
    browser.keep(os.path.join(folder, "page_phone.png"))


def make_page(program, page, words):
    made = subprocess.run([program, "html", "-o", page, *words], stderr=subprocess.PIPE, text=True)
    if made.returncode != 0:
        print(made.stderr, end="")
        sys.exit(77 if "this build makes no pages" in made.stderr else 1)


def main():
    program, folder = sys.argv[1:3]
    chromium = shutil.which("chromium") or shutil.which("chromium-browser")
    driver = shutil.which("chromedriver")
    if not chromium or not driver:
        print("skipped: chromium and chromium-driver are not installed (tools/setup.sh page)")
        sys.exit(77)
    os.makedirs(folder, exist_ok=True)
    with tempfile.TemporaryDirectory() as work:
        at = lambda name: os.path.join(work, name)
        for side, count in (("old", 20), ("new", 20)):
            for number in range(3):
                write_run(at(f"{side}{number}"), count, "AVX2", 1.03 if side == "new" else 1, f"{side}{number}")
        write_run(at("large"), 500, "AVX2", 1, 1)
        write_run(at("sse"), 20, "SSE4", 1.9, 2)
        sides = [at(f"new{i}") for i in range(3)] + ["--old"] + [at(f"old{i}") for i in range(3)]
        for day in range(10, 22):
            write_run(at(f"day{day}"), 20, "AVX2", 1.2 if day > 15 else 1, day, f"2026-01-{day}T08:00:00Z")
        past = [program, "history", "add", "--database", at("history"), "--label", HOSTILE]
        added = subprocess.run([*past, *(at(f"day{day}") for day in range(10, 22))], stdout=subprocess.DEVNULL)
        names = ["compared", "large", "levels"]
        for name, words in (("compared", sides), ("large", [at("large")]), ("levels", [at("sse"), at("new0")])):
            make_page(program, at(name + ".html"), words)
        if added.returncode == 0:  # else: built without a database library
            make_page(program, at("past.html"), [at("day21"), "--history", at("history")])
            names.append("past")
        browser = Browser(driver, chromium, at("profile"))
        for name in names:
            browser.do("POST", "/url", {"url": "file://" + at(name + ".html")})
            expect(f"{name}: no text of a file runs", "Clocks an element", browser.do("GET", "/title"))
            if name == "compared":
                use_comparison(browser)
            if name == "large":
                expect("2,000 rows", 500, browser.run(VISIBLE % "article"))
                expect("few of them are drawn", True, browser.run(DRAWN) < 40)
            if name == "past":
                use_history(browser)
            use_functions(browser)
            check_access(browser)
            expect(f"{name}: errors in the console", [], browser.errors())
        keep_pictures(browser, folder, "file://" + at("levels.html"))
        browser.end()


main()
