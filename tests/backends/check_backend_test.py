"""Holds check-backend to its word: it finds no fault in sqlite-ledger, and the very fault of each wrong
backend. Argument: the source tree.
"""
import concurrent.futures
import os
import pathlib
import subprocess
import sys
import tempfile

source = pathlib.Path(sys.argv[1])
sqlite_reader = """python3 -S -c '
import os, sqlite3, sys
ids = [os.environb[b"ZUNOL_VORN_HISTORY_BLOCK_ID"], os.environb[b"ZUNOL_VORN_EVENT_ID"]]
rows = sqlite3.connect(sys.argv[1], timeout=60).execute("SELECT CAST(event AS BLOB) FROM ledger "
    "WHERE history_block_id = CAST(? AS TEXT) AND event_id = CAST(? AS TEXT)", ids)
for (event,) in rows: sys.stdout.buffer.write(event)' "$LEDGER/db" """

# A ledger of files, $f for the event of the file $e: which checks, what a wrong backend does, and the
# beginning of each line that tells of it.
in_files = 'e=$ZUNOL_VORN_EVENT_FILE; f=$LEDGER/$ZUNOL_VORN_HISTORY_BLOCK_ID/$ZUNOL_VORN_EVENT_ID; mkdir -p "${f%/*}"; '
file_reader = 'if [ -e "$LEDGER/$ZUNOL_VORN_HISTORY_BLOCK_ID/$ZUNOL_VORN_EVENT_ID" ]; then ' \
    'cat "$LEDGER/$ZUNOL_VORN_HISTORY_BLOCK_ID/$ZUNOL_VORN_EVENT_ID"; fi'
wrong_backends = [
    ("repeat", 'cat "$e" >>"$f"', ["FAILED: repeat: "]),
    ("other", '[ -e "$f" ] || cp "$e" "$f"', ["FAILED: same id, other bytes: status 0"]),
    ("other", '[ ! -e "$f" ] || cmp "$e" "$f" && cp "$e" "$f"', ["hint: same id, other bytes: status 1 and not 65"]),
    ("other", '[ ! -e "$f" ] || cmp -s "$e" "$f" && cp "$e" "$f"', ["FAILED: same id, other bytes: 0 lines"]),
    ("feed", 'printf "%s\\n" "$(cat "$e")" >"$f"', ["FAILED: event with no line feed: ",
     "FAILED: event with three line feeds: ", "FAILED: same id, one line feed more: status 0",
     "FAILED: event file is missing, with a line feed in its name: status 0"]),
    ("another block", 'g=$LEDGER/$ZUNOL_VORN_EVENT_ID; [ -e "$g" ] || cp "$e" "$g"; cp "$g" "$f"',
     ["FAILED: same id, another block: "]),
    ("hostile text '.*touch|command", 'eval "x=$ZUNOL_VORN_EVENT_ID"; cp "$e" "$f"', ["FAILED: no variable "]),
    ("input", 'cat >/dev/null; cp "$e" "$f"', ["FAILED: standard input: standard input was read"]),
    ("FIFO", 'cat "$e" >"$f"', ["FAILED: event file is a FIFO: no end after 15"]),
    ("file is missing$", 'cp "$e" "$f" || { echo why; exit 66; }', ["FAILED: event file is missing: 2 lines"]),
    ("killed", '[ -e "$f" ] || { echo half >"$f"; sleep 0.2; cp "$e" "$f"; }', ["FAILED: killed "]),
    ("12 at once", '[ -e "$f" ] || { sleep 0.2; cat "$e" >>"$f"; }', ["FAILED: 12 at once with one id: "]),
    ("wallet", 'cp "$e" "$f"; cat "$ZUNOL_VORN_WALLET_FILE"', ["FAILED: the wallet's content is never printed: "]),
    ("engine", 'cp "$e" "$f"', ["FAILED: engine away and back: status 0"]),
    ("engine", '[ ! -e "$LEDGER/away" ] || { echo away; exit 75; }; cp "$e" "$f"', []),
]


def check(reader, backend, *options):
    """The status, the lines above the counts, and the counts."""
    with tempfile.TemporaryDirectory() as ledger:
        run = subprocess.run(
            [source / "backends/check-backend", *options, *(["--read", reader] if reader else []), backend],
            env={**os.environ, "LEDGER": ledger}, capture_output=True, text=True)
    *lines, counts = (run.stdout + run.stderr).splitlines()
    return run.returncode, lines, counts


def try_wrong(row):
    """What is not as the row tells."""
    only, text, wanted = row
    status, lines, counts = check(file_reader, f"sh -c '{in_files}{text}'", "--only", only,
                                  "--away", 'touch "$LEDGER/away"', "--back", 'rm "$LEDGER/away"')
    told = all(any(line.startswith(begin) for line in lines) for begin in wanted)
    more = [line for line in lines if not line.startswith(tuple(wanted))]
    right = status == any(line.startswith("FAILED") for line in lines)
    return "" if told and not more and right else f"{text}: status {status}\n" + "\n".join([*lines, counts])


def try_sqlite():
    status, lines, counts = check(sqlite_reader, f'{source}/backends/sqlite-ledger "$LEDGER/db"')
    return "" if (status, lines) == (0, []) else "\n".join(["sqlite-ledger:", *lines, counts])


def try_true_and_false():
    status, lines, counts = check("", "true")
    whole = status == 1 and "statuses" in counts and len(lines) == 12
    nothing = check("", "false")
    if whole and nothing[0] == 1 and nothing[2].startswith("false: 1 checks, 1 failed"):
        return ""
    return "\n".join(["true:", *lines, counts, "false:", *nothing[1], nothing[2]])


with concurrent.futures.ThreadPoolExecutor(6) as pool:
    tries = [pool.submit(try_sqlite), pool.submit(try_true_and_false)]
    tries += [pool.submit(try_wrong, row) for row in wrong_backends]
    faults = [attempt.result() for attempt in tries if attempt.result()]
print("\n\n".join(faults))
sys.exit(1 if faults else 0)
