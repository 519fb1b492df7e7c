"""Holds the page of `report` to its promises: in a real browser nothing of it is refused or loaded,
texts of others stay texts, the charts show what failed; and it is small, private and whole. The
argument is the tool. Where chromium is not installed only the browser's part is skipped, with
status 77.
"""

import base64
import hashlib
import html.parser
import json
import os
import shutil
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time
import zlib
from pathlib import Path

tool = os.path.abspath(sys.argv[1])
hour = 3600
now = int(time.time())
begin = now - 96 * hour  # so that each bucket of a chart is an hour
bad_red = (0xb0, 0x2a, 0x20)
dark_page = (0x11, 0x15, 0x1b)
hostile = ('</style></title><script>document.body.id="owned"</script>"><img src=x onerror=alert(1)>'
           '&lt;{css}\u202e\x1b[31m')
harmless = hostile.replace("\u202e", " ").replace("\x1b", " ")


def iso(at):
    return time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(at))


class Elements(html.parser.HTMLParser):
    """All elements as (name, attributes), and all text."""

    def __init__(self, page):
        super().__init__()
        self.elements, self.text = [], ""
        self.feed(page)

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))

    def handle_data(self, data):
        self.text += data


def run_report(directory, *words):
    run = subprocess.run([tool, "--config", "c.yaml", "report", "--json", *words], cwd=directory,
                         capture_output=True, text=True, check=False)
    assert run.returncode == 0 and run.stderr == "", run
    return json.loads(run.stdout)


def make_store(directory):
    config = {"storage": {"local_db": "agent.db"}, "agent": {"server_name": hostile}}
    (directory / "c.yaml").write_text(json.dumps(config))
    send = [tool, "--config", "c.yaml", "event", "send", "test_event", "--id", "e1"]
    subprocess.run(send, cwd=directory, stdout=subprocess.DEVNULL, check=True)
    return sqlite3.connect(directory / "agent.db")


def add_results(db, check, failed_by_bucket, text="m"):
    db.executemany("INSERT INTO check_results(check_type, check_name, target, state, level, message,"
                   " value, created_at) VALUES(?, ?, ?, ?, 'warning', ?, ?, ?)",
                   [(check, text, text, "failed" if failed else "ok", text, bucket,
                     iso(begin + bucket * hour + hour // 2))
                    for bucket, failed in failed_by_bucket.items()])


def add_records(db, text, count):
    for i in range(count):
        db.execute("INSERT INTO incidents VALUES(?1, ?2, ?2, ?2, ?2, 'critical', 'new', ?2, ?2, ?2,"
                   " ?3, ?3, '', 1)", (f"i{i} {text}", text, iso(now)))
        db.execute("INSERT INTO agent_journal(category, action, status, message, created_at)"
                   " VALUES(?1, ?1, ?1, ?1, ?2)", (text, iso(now)))


def stretches_of(page):
    """(check, failed, x, width) of each mark, in the order of the page."""
    found, check, marks = [], "", 0
    for tag, attributes in Elements(page).elements:
        if tag == "svg":
            check = chr(ord(check) + 1) if check else "a"
        if tag == "g":
            found.append((check, True))
            marks = 2
        elif tag == "rect" and attributes.get("class") == "passed":
            found.append((check, False, int(attributes["x"]), int(attributes["width"])))
        elif tag == "rect" and marks:
            marks -= 1
            found[-1] = (check, True, int(attributes["x"]), int(attributes["width"]))
    return found


def pixels(file):
    """The rows of a PNG of 8-bit RGB or RGBA, each a list of (red, green, blue)."""
    data, at, packed = file.read_bytes(), 8, b""
    while at < len(data):
        size, kind = struct.unpack(">I4s", data[at:at + 8])
        body = data[at + 8:at + 8 + size]
        if kind == b"IHDR":
            width, _, _, colours = struct.unpack(">IIBB", body[:10])
        packed += body if kind == b"IDAT" else b""
        at += size + 12
    step = {2: 3, 6: 4}[colours]
    raw, above = zlib.decompress(packed), bytearray(width * step)
    for start in range(0, len(raw), width * step + 1):
        kind, row = raw[start], bytearray(raw[start + 1:start + 1 + width * step])
        for i in range(len(row) if kind else 0):
            left, up, corner = (row[i - step], above[i], above[i - step]) if i >= step else (
                0, above[i], 0)
            guess = left + up - corner
            paeth = min((left, up, corner), key=lambda value: abs(guess - value))
            row[i] = row[i] + (0, left, up, (left + up) // 2, paeth)[kind] & 255
        above = row
        yield [tuple(row[i:i + 3]) for i in range(0, len(row), step)]


def browse(page, *words):
    run = subprocess.run(["chromium", "--headless=new", "--no-sandbox", "--disable-gpu",
                          "--hide-scrollbars", "--enable-logging=stderr", "--window-size=500,1000",
                          "--virtual-time-budget=2000", f"--user-data-dir={page.parent}/browser",
                          *words, page.as_uri()],
                         capture_output=True, text=True, timeout=120, check=False)
    assert run.returncode == 0, run.stderr
    assert "CONSOLE" not in run.stderr, run.stderr
    return run.stdout


def longest_run(row, colour):
    longest = length = 0
    for pixel in row:
        length = length + 1 if pixel == colour else 0
        longest = max(longest, length)
    return longest


def test_charts(directory):
    db = make_store(directory)
    # Failing, with a hole; every fourth bucket, with one failure; a single result.
    full = {i: 20 <= i < 30 or i >= 48 for i in range(96) if not 34 <= i < 44}
    add_results(db, "a", full)
    add_results(db, "b", {i: i == 8 for i in range(0, 96, 4)})
    add_results(db, "c", {10: False})
    db.commit()
    run_report(directory, "--html", "r.html", "--since", iso(begin))
    page = directory / "r.html"
    assert page.stat().st_mode & 0o777 == 0o600
    found = stretches_of(page.read_text())
    assert found == [("a", False, 0, 20), ("a", True, 20, 10), ("a", False, 30, 4),
                     ("a", False, 44, 4), ("a", True, 48, 48),
                     ("b", False, 0, 8), ("b", True, 8, 4), ("b", False, 12, 81),
                     ("c", False, 10, 1)], found
    return page


def test_hostile_texts(directory):
    db = make_store(directory)
    add_results(db, hostile, {5: True}, hostile)
    add_records(db, hostile, 1)
    db.execute("UPDATE vorn_sync_queue SET attempt_count=1, last_error=?", (hostile,))
    db.execute("UPDATE incidents SET message=CAST(x'41ff42' AS TEXT)")
    db.execute("INSERT INTO check_results(check_type, check_name, target, state, level, message,"
               " value, created_at) VALUES('inf', '', '', 'ok', '', '', 9e999, ?),"
               " ('no time', '', '', 'ok', '', '', 0, 't')", (iso(now),))
    db.commit()
    told = run_report(directory, "--html", "r.html", "--since", "5d")
    assert told["left_out"] == ["1 results whose time is none or yet to come"], told
    page = (directory / "r.html").read_text()
    css = page.partition("<style>")[2].partition("</style>")[0]
    digest = base64.b64encode(hashlib.sha256(css.encode()).digest()).decode()
    assert f"'sha256-{digest}'" in page
    return directory / "r.html"


def test_much(directory):
    db = make_store(directory)
    for i in range(1010):
        add_results(db, f"check {i}", {i % 96: i == 0})
    add_records(db, "x" * 20000, 250)
    db.commit()
    told = run_report(directory, "--html", "r.html", "--since", iso(begin))
    assert told["left_out"] == [
        "150 open incidents, none of them worse than those above",
        "900 checks, none of which fails unless all above do",
        "10 results of checks beyond the first 1000",
        "50 older entries of the journal"], told
    assert (directory / "r.html").stat().st_size == told["size_bytes"] < 2_000_000
    before = sorted(os.listdir(directory))
    for wrong in (["--html", "."], ["--html", "c.yaml/r"],
                  ["--html", "new.html", "--since", "2999-01-01T00:00:00Z"]):
        run = subprocess.run([tool, "--config", "c.yaml", "report", *wrong], cwd=directory,
                             capture_output=True, text=True, check=False)
        assert run.returncode == 1 and run.stderr.count("\n") == 1 and not run.stdout, run
    assert sorted(os.listdir(directory)) == before


def test_in_browser(charts, hostile_page):
    dom = Elements(browse(hostile_page, "--dump-dom"))
    names = {tag for tag, _ in dom.elements}
    assert not names & {"script", "img", "link", "iframe"}, names
    assert not any(key.startswith("on") or key in ("src", "href", "style")
                   for _, attributes in dom.elements for key in attributes)
    assert dom.text.count(harmless) >= 12, dom.text
    assert "A\ufffdB" in dom.text

    picture = charts.parent / "picture.png"
    browse(charts, f"--screenshot={picture}")
    # Half of the chart's width is marked over several lines of pixels: the badge is narrower.
    marked = [row for row in pixels(picture) if 190 < longest_run(row, bad_red) < 240]
    assert 4 <= len(marked) <= 12, len(marked)
    browse(charts, f"--screenshot={picture}", "--blink-settings=preferredColorScheme=0")
    assert next(pixels(picture))[0] == dark_page


with tempfile.TemporaryDirectory() as root:
    places = [Path(root, name) for name in ("charts", "hostile", "much")]
    for place in places:
        place.mkdir()
    pages = test_charts(places[0]), test_hostile_texts(places[1])
    test_much(places[2])
    if shutil.which("chromium") is None:
        print("skipped: chromium is not installed; the page was not shown in a browser")
        sys.exit(77)
    test_in_browser(*pages)
print("the page holds")
