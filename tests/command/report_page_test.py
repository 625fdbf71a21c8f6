"""Reads the page of zar report in a browser, clicks through it, and compares it with the JSON of other sub-commands.

Usage: report_page_test.py ZAR SOURCE_DIR
"""
import collections
import json
import pathlib
import re
import subprocess
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

WIDTHS = (320, 800, 1400)
HOSTILE = """
domains: {d: }
class-maps:
  c: {filters: [{attribute: a, equals: '</code></script><script>document.title="owned"</script>'}]}
policy-maps:
  p: {events: {e: {rules: [{number: 1, class: c, actions: [{log: '<img src=x onerror=document.title="owned">'}]}]}}}
targets: {t: {attributes: {a: '</code></script><script>document.title="owned"</script>'}, policies: [p]}}
scenario: [{event: e, target: t}]
tests: [{name: '</td><svg onload=document.title="owned">', event: e, target: t, expect: {verdict: deny}}]
"""


class Browser:
    def __init__(self):
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_window_size(1400, 1000)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()

    def open(self, page):
        self.driver.get(pathlib.Path(page).as_uri())

    def ask(self, script, *arguments):
        return self.driver.execute_script(f"return {script}", *arguments)

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def rows(self, selector):
        """The cells of the rows of a table, by its heading texts."""
        return self.ask("""(() => {
            const table = document.querySelector(arguments[0]);
            const names = [...table.tHead.rows[0].cells].map((cell) => cell.textContent);
            return [...table.tBodies[0].rows].map((row) =>
                Object.fromEntries([...row.cells].map((cell, at) => [names[at], cell.textContent])));
        })()""", selector)

    def is_quiet(self):
        """Nothing was complained about, and nothing was fetched."""
        log = self.driver.get_log("browser")
        assert not log, log
        fetched = self.ask("performance.getEntriesByType('resource').map((entry) => entry.name)")
        assert not fetched, fetched


class Project:
    def __init__(self, zar, root, folder):
        self.zar, self.root, self.folder = zar, root, pathlib.Path(folder)

    def run(self, *line, given="", good=(0,)):
        done = subprocess.run([self.zar, *map(str, line)], cwd=self.root, capture_output=True, text=True, input=given)
        assert done.returncode in good, f"{line}: exit code {done.returncode}\n{done.stderr}"
        return done.stdout

    def json(self, *line):
        return json.loads(self.run(*line, "--json", good=(0, 1)))

    def results(self, policy, log):
        """The results of the lines of a stream, and how often each rule ran."""
        done = subprocess.run([self.zar, "run", policy, "--events", log, "--jsonl"], cwd=self.root, capture_output=True, text=True)
        assert done.returncode in (0, 65), done.stderr
        hits = re.findall(r"^ +(\d+)  (\S+/\S+/\d+)$", done.stderr, re.MULTILINE)
        return [json.loads(line) for line in done.stdout.splitlines()], {rule: int(count) for count, rule in hits}

    def report(self, *line, given=""):
        page = self.folder / "page.html"
        self.run("report", *line, "-o", page, given=given)
        return page


def rules_are_those_of_the_file(browser, project, path):
    edges = [edge for edge in project.json("graph", path)["edges"] if edge["kind"] == "tries" and edge["to"].startswith("rule ")]
    shown = browser.ask("""Object.fromEntries([...document.querySelectorAll('tr.rule')].map((row) =>
        [row.id, [...row.querySelectorAll('td.number')].map((cell) => Number(cell.textContent))]))""")
    assert shown.keys() == {edge["to"] for edge in edges}, shown.keys()
    for edge in edges:
        assert shown[edge["to"]][:2] == [edge["tries"], edge["hits"]], f"{edge}: {shown[edge['to']]}"


def verdicts_are_those_of_run(browser, project, path):
    events = project.json("run", path)["files"][0]["events"]
    rows = browser.rows("#decisions")
    assert sum(int(row["Events"]) for row in rows) == len(events)
    for verdict in ("permit", "deny", "none"):
        expected = sum(event["explanation"]["verdict"] == verdict for event in events)
        assert sum(int(row["Events"]) for row in rows if row["Verdict"] == verdict) == expected, verdict


def tests_are_those_of_test(browser, project, path):
    expected = [(test["name"], test["passed"]) for test in project.json("test", path)["files"][0]["tests"]]
    shown = [(row["Test"], row["Result"].startswith("passed")) for row in browser.rows("#test-results")]
    assert shown == expected, shown


def claims_are_those_of_prove(browser, project, path):
    expected = [(answer["name"], answer["answer"]) for answer in project.json("prove", path)["answers"]]
    assert len({result for _, result in expected}) > 1, "some hold and some do not"
    rows = browser.rows("#claim-results")
    assert [row["Claim"] for row in rows] == [name for name, _ in expected], rows
    for row, (_, result) in zip(rows, expected):
        assert row["Result"].startswith(result), row


def findings_are_those_of_lint(browser, project, path):
    expected = [finding["message"] for finding in project.json("lint", path)["findings"]]
    shown = browser.ask("[...document.querySelectorAll('.findings > li')].map((item) => item.textContent)")
    assert len(shown) == len(expected)
    for message, item in zip(expected, shown):
        assert message in item, item


def changes_are_those_of_diff(browser, project, old, new):
    found = project.json("diff", old, new, "--replay", new)
    different = found["replay"]["differences"]
    assert different, "nothing to compare"
    rows = browser.rows("#decision-changes")
    assert sum(int(row["Events"]) for row in rows) == len(different), rows
    assert browser.ask("document.querySelectorAll('.changes > pre').length") == len(found["changes"])


def folds_and_unfolds(browser):
    """A click explains an example; a link leads into what is folded."""
    example = browser.find("#decision-changes details")
    assert not browser.find("#decision-changes details pre").is_displayed()
    example.find_element(By.TAG_NAME, "summary").click()
    shown = browser.find("#decision-changes details pre")
    assert shown.is_displayed() and "session-start at " in shown.text, shown.text
    browser.ask("document.querySelectorAll('details.policy').forEach((part) => part.open = false)")
    browser.driver.find_element(By.CSS_SELECTOR, "#decisions a").click()
    goal = browser.ask("document.getElementById(decodeURIComponent(location.hash.slice(1)))")
    assert goal.is_displayed(), "the rule of a link is still folded"


def searches_rules(browser):
    search = browser.find("#search")
    search.send_keys("VOLUME-left")
    assert browser.find("#found").text == "1 of 7 rules"
    shown = [row.get_attribute("id") for row in browser.driver.find_elements(By.CSS_SELECTOR, "tr.rule") if row.is_displayed()]
    assert shown == ["rule service/volume-update/10"], shown
    search.send_keys(Keys.CONTROL + "a", Keys.DELETE)
    assert browser.find("#found").text == ""


def searches_and_zooms_the_picture(browser):
    width = "document.querySelector('#picture svg').getBoundingClientRect().width"
    whole = browser.ask(width)
    browser.find("#closer").click()
    assert browser.ask(width) > whole * 1.3
    browser.find("#picture").send_keys("0")
    assert abs(browser.ask(width) - whole) < 1
    browser.find("#find-node").send_keys("volume-update")
    assert browser.find("#found-nodes").text.startswith("2 of "), browser.find("#found-nodes").text
    browser.ask("[...document.querySelectorAll('g.node')].find((node) => node.querySelector('title').textContent === "
                "'event service/volume-update').dispatchEvent(new MouseEvent('click', {bubbles: true}))")
    assert browser.ask("decodeURIComponent(location.hash)") == "#event service/volume-update"


def fits_every_width(browser):
    for width in WIDTHS:
        browser.driver.set_window_size(width, 1000)
        needed, there = browser.ask("[document.documentElement.scrollWidth, window.innerWidth]")
        assert needed <= there, f"{width}: {needed} columns of {there}"
    browser.driver.set_window_size(1400, 1000)


def contrasts_enough(browser):
    """All texts stand out from what is behind them, 4.5 to 1, light and dark."""
    script = """(() => {
        const channels = (colour) => colour.match(/[0-9.]+/g).map(Number);
        const light = (colour) => channels(colour).slice(0, 3).map((value) => value / 255)
            .map((value) => value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4)
            .reduce((sum, value, at) => sum + value * [0.2126, 0.7152, 0.0722][at], 0);
        const behind = (element) => {
            for (let part = element; part; part = part.parentElement) {
                const colour = getComputedStyle(part).backgroundColor;
                if ((channels(colour)[3] ?? 1) > 0) return colour;
            }
            return 'rgb(255, 255, 255)';
        };
        const weak = new Set();
        for (const element of document.querySelectorAll('body *:not(script):not(svg *)')) {
            if (![...element.childNodes].some((node) => node.nodeType === Node.TEXT_NODE && node.textContent.trim())) continue;
            const [a, b] = [light(getComputedStyle(element).color), light(behind(element))];
            const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
            if (contrast < 4.5) weak.add(`${element.localName}.${element.className}: ${contrast.toFixed(1)}`);
        }
        return [...weak];
    })()"""
    for scheme in ("light", "dark"):
        browser.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
        weak = browser.ask(script)
        assert not weak, f"{scheme}: {weak}"


def shows_hostile_texts_as_texts(browser, project):
    browser.open(project.report("-", given=HOSTILE))
    assert browser.driver.title == "Policies of <stdin>", browser.driver.title
    assert browser.ask("[document.scripts.length, document.images.length]") == [1, 0]
    for text in ("<img src=x onerror", "</td><svg onload"):
        assert text in browser.ask("document.body.textContent"), text
    browser.is_quiet()


def stays_small(browser, project):
    """5,000 rules, 20,000 events of the scenario, and 100,000 of a stream."""
    policy = subprocess.run([sys.executable, project.root / "scripts/make_large_policy.py", "--rules", "5000", "--policies", "40",
                             "--classes", "2000", "--targets", "500", "--events", "20000"],
                            check=True, capture_output=True, text=True).stdout
    log = project.folder / "large.jsonl"
    with log.open("w") as lines:
        for number in range(100_000):
            lines.write(f'{{"event": "event-{number % 13}", "target": "target-{number * 7 % 500}", "set": {{"volume": {number % 128}}}}}\n')
    page = project.report("-", "--effort", "0", "--events", log, given=policy)
    assert page.stat().st_size < 10_000_000, page.stat().st_size
    browser.open(page)
    assert browser.ask("document.querySelectorAll('tr.rule').length") == 5000
    assert len(browser.rows("#stream-rules")) == 5000
    assert sum(int(row["Events"]) for row in browser.rows("#stream-time")) == 100_000
    assert sum(int(row["Events"]) for row in browser.rows("#stream-targets")) == 100_000
    browser.is_quiet()


VERDICTS = ("Permit", "Deny", "None")


def counts_of(row):
    assert int(row["Events"]) == sum(int(row[verdict]) for verdict in VERDICTS), row
    return [int(row[verdict]) for verdict in VERDICTS]


def verdicts_of(events):
    return [sum(event["verdict"] == verdict.lower() for event in events) for verdict in VERDICTS]


def stretches_are_those_of_run(browser, events):
    """Equal parts of the stream, and the last with what is left."""
    rows = browser.rows("#stream-time")
    assert 100 <= len(rows) <= 200, len(rows)
    length = int(rows[1]["From event"]) - 1
    assert browser.ask("document.body.textContent").count(f"Each column has {length} events") == 1
    parts = [events[first:first + length] for first in range(0, len(events), length)]
    assert len(rows) == len(parts), (len(rows), len(parts))
    for at, (row, part) in enumerate(zip(rows, parts)):
        assert int(row["From event"]) == at * length + 1, row
        assert counts_of(row) == verdicts_of(part), (row, at)
    columns = browser.ask("[...document.querySelectorAll('figure:has(#stream-time) .columns > .bar')].length")
    assert columns == len(rows), columns


def named_verdicts_are(browser, table, heading, events, name_of):
    named = collections.defaultdict(list)
    for event in events:
        named[name_of(event)].append(event)
    shown = {row[heading]: counts_of(row) for row in browser.rows(table)}
    assert shown == {name: verdicts_of(those) for name, those in named.items()}, shown


def stream_is_that_of_run(browser, project, policy, log):
    results, hits = project.results(policy, log)
    events = [result for result in results if "error" not in result]
    bad = [(str(result["line"]), result["error"]) for result in results if "error" in result]
    stretches_are_those_of_run(browser, events)
    named_verdicts_are(browser, "#stream-events", "Event", events, lambda event: event["event"])
    session = "authorisation, service (client access)"
    named_verdicts_are(browser, "#stream-targets", "Policy-maps and client", events,
                       lambda event: session if event["target"].startswith(("session-", "line-")) else "service")
    shown = {row["Rule"]: int(row["Hits"]) for row in browser.rows("#stream-rules")}
    assert {rule: count for rule, count in shown.items() if count > 0} == hits, shown
    assert len(shown) == 7 and list(shown.values()) == sorted(shown.values(), reverse=True), shown
    assert len(bad) > 20, "more than are shown"
    assert [(row["Line"], row["What is wrong with it"]) for row in browser.rows("#stream-bad")] == bad[:20]
    assert f"{len(bad)} bad lines did nothing; the first 20:" in browser.ask("document.body.textContent")


def stream_changes_are_those_of_diff(browser, project, old, new, log):
    done = subprocess.run([project.zar, "diff", old, new, "--replay", log, "--json"], capture_output=True, text=True)
    replay = json.loads(done.stdout)["replay"]
    assert len(replay["decisions"]) > 2, "nothing to compare"
    rows = browser.rows("#stream-changes")
    assert len(rows) == len(replay["decisions"])
    for row, group in zip(rows, replay["decisions"]):
        first = group["first"]
        assert [row["Lines"], row["Differs in"]] == [str(group["lines"]), ", ".join(group["aspects"])], row
        assert row["First example"].startswith(f"line {first['line']}line {first['line']}: {first['event']} at {first['target']}"), row
        for side in ("before", "after"):
            assert row[side.capitalize()].startswith(first[side]["verdict"]), row
    assert f"{replay['differing']} of {replay['lines']} lines of the stream are decided differently" in \
        browser.ask("document.body.textContent")


def write_log(project, path, *options, more=""):
    done = subprocess.run([sys.executable, project.root / "scripts/make_stream.py", *options], check=True,
                          capture_output=True, text=True)
    path.write_text(more + done.stdout)
    return path


GUEST = """{"add-target": "guest", "policies": ["service"], "attributes": {"service": "flat"}}
{"event": "session-start", "target": "guest"}
{"event": "session-start", "target": "line-0101"}
"""


def shows_a_stream(browser, project, old, new):
    log = write_log(project, project.folder / "log.jsonl", "--events", "10100", "--sessions", "1000", "--bad", "300", more=GUEST)
    browser.open(project.report(old, "--events", log))
    stream_is_that_of_run(browser, project, old, log)
    browser.open(project.report(new, "--against", old, "--events", "-", given=log.read_text()))
    stream_is_that_of_run(browser, project, new, log)
    stream_changes_are_those_of_diff(browser, project, old, new, log)
    fits_every_width(browser)
    contrasts_enough(browser)
    browser.is_quiet()


def shows_a_hostile_stream_as_texts(browser, project):
    log = project.folder / '<img src=x onerror=document.title="owned">.jsonl'
    script = '<script>document.title="owned"</script>'
    log.write_text("".join(json.dumps(line) + "\n" for line in (
        {"event": "</td>" + script, "target": "line-0101"},
        {"event": "session-start", "target": script},
        {"event": "session-start", "target": "line-0101", "set": {script: script}},
        {"event": "session-start", "target": "line-0101", "set": {"account": script}},
    )))
    old = project.root / "examples/broadband.yaml"
    browser.open(project.report(old, "--against", old, "--events", log))
    assert browser.driver.title == f"Policies of {old}", browser.driver.title
    assert browser.ask("[document.scripts.length, document.images.length]") == [1, 0]
    assert [row["Line"] for row in browser.rows("#stream-bad")] == ["1", "2"]
    for text in ("'</td><script>", "<img src=x onerror"):
        assert text in browser.ask("document.querySelector('section:has(#stream)').textContent"), text
    browser.is_quiet()


def main():
    zar, source = sys.argv[1:]
    root = pathlib.Path(source).resolve()
    with tempfile.TemporaryDirectory() as folder, Browser() as browser:
        project = Project(pathlib.Path(zar).resolve(), root, folder)
        old = root / "examples/broadband.yaml"
        new = pathlib.Path(folder) / "changed.yaml"
        new.write_text(old.read_text().replace("equals: closed", "equals: barred").replace("- deny\n", "- permit\n"))
        browser.open(project.report(new, "--against", old))
        rules_are_those_of_the_file(browser, project, new)
        verdicts_are_those_of_run(browser, project, new)
        tests_are_those_of_test(browser, project, new)
        findings_are_those_of_lint(browser, project, new)
        claims_are_those_of_prove(browser, project, new)
        changes_are_those_of_diff(browser, project, old, new)
        folds_and_unfolds(browser)
        searches_rules(browser)
        searches_and_zooms_the_picture(browser)
        fits_every_width(browser)
        contrasts_enough(browser)
        browser.is_quiet()
        shows_a_stream(browser, project, old, new)
        shows_hostile_texts_as_texts(browser, project)
        shows_a_hostile_stream_as_texts(browser, project)
        stays_small(browser, project)
    print("the page shows what the commands say")


main()
