"""tamberline run --values against pages served on the loopback.

batch_run.py PROGRAM CONTRIB_DASK (http | resume | dask)
  http    2,000 rows over two hosts: every row's result right and in order, the per-host and
          job limits kept, failures and timeouts tried again and 404 or a redirect to another
          scheme not, the User-Agent
  resume  a batch killed with SIGKILL at random moments (reading the table as JSON lines), a last
          line cut short, and a SIGINT, each resumed: the same file as one uninterrupted run
  dask    the table on a local Dask cluster of two worker processes: the same file again
"""

import csv
import json
import os
import pty
import random
import re
import shlex
import signal
import subprocess
import sys
import tempfile
import time

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import batchserver  # noqa: E402

SKIP = 77
ROWS = 2000


def fail(message):
    print("FAIL:", message)
    sys.exit(1)


def run(program, folder, *arguments, table="t.csv"):
    return subprocess.run([program, "run", os.path.join(folder, "q.json"), "--values", os.path.join(folder, table),
                           "--format", "json", "--jobs", "8", *arguments], capture_output=True, timeout=300)


def run_on_terminal(program, folder, *arguments, jobs=8):
    """Runs with standard error on a terminal; returns the exit status, what the terminal got and
    the seconds it took."""
    started = time.monotonic()
    master, slave = pty.openpty()
    batch = subprocess.Popen([program, "run", os.path.join(folder, "q.json"), "--values", os.path.join(folder, "t.csv"),
                              "--format", "json", "--jobs", str(jobs), *arguments], stdout=subprocess.DEVNULL, stderr=slave)
    os.close(slave)
    shown = b""
    while True:
        try:
            chunk = os.read(master, 65536)
        except OSError:  # the terminal's other side is closed
            break
        if not chunk:
            break
        shown += chunk
    os.close(master)
    return batch.wait(timeout=300), shown.decode(), time.monotonic() - started


def check_progress_line(shown, seconds):
    """Each progress line counts the failures reported above it, and is rewritten a few times a
    second; reports start on a line of their own."""
    reported, lines = 0, 0
    pattern = r"(\r\x1b\[K)?(?:(\d+)(?: of (\d+))? rows, (\d+\.\d) rows/s, (\d+) failed(?:, (?:(\d+)m)?(\d+)s left)?|(row \d+: ))"
    for m in re.finditer(pattern, shown):
        if m.group(8):
            if not m.group(1) and shown[m.start() - 1] != "\n":
                fail(f"a report written over the progress line: {shown[max(0, m.start() - 80):m.end()]!r}")
            reported += 1
            continue
        lines += 1
        if int(m.group(5)) != reported:
            fail(f"the progress line says {m.group(5)} failed after {reported} reported")
        # What is left: the rows still to do at the rate shown (rounded to a tenth).
        done, total, rate = int(m.group(2)), int(m.group(3) or 0), float(m.group(4))
        if m.group(7) and total and rate >= 1:
            left = int(m.group(6) or 0) * 60 + int(m.group(7))
            if abs(left - (total - done) / rate) > 0.1 * (total - done) / rate + 2:
                fail(f"{left} s left for {total - done} rows at {rate} rows/s: {m.group(0)!r}")
    if lines > 5 * seconds + 5:
        fail(f"the progress line was rewritten {lines} times in {seconds:.1f} s")
    if not lines or "rows/s" in shown[shown.rfind("\x1b[K"):]:
        fail(f"no progress line, or the last one is left on the terminal: {shown[-300:]!r}")


def check_http(program, folder, servers):
    out = os.path.join(folder, "out.jsonl")
    # Fewer jobs than the two hosts' limits allow together: the slow pages show if either limit is passed.
    status, shown, seconds = run_on_terminal(program, folder, "--per-host", "2", "--timeout", "2", "--output", out, jobs=3)
    if status != 1:
        fail(f"exit status {status}, not 1 for the rows without a result: {shown[-2000:]}")
    if shown.count('column "note" fills no marker') != 1:
        fail("the unused column is not named once: " + shown[:2000])
    if f"line {ROWS // 4 + 1} of the values is longer than 1048576 bytes" not in shown:
        fail("the row too long is not named: " + shown[:2000])
    if "/item/1999 is longer than 67,108,864 bytes" not in shown:
        fail("the page too long is not named: " + shown[:2000])
    # Read no further than the limit, give or take what the sockets hold (up to 32 MiB received here).
    if not 64 << 20 < sum(s.stats.endless for s in servers) < 128 << 20:
        fail(f"{sum(s.stats.endless for s in servers)} bytes sent of a page longer than the 64 MiB read")
    check_progress_line(shown, seconds)
    lines = open(out, "rb").read().splitlines()
    if len(lines) != ROWS:
        fail(f"{len(lines)} results for {ROWS} rows")
    for i, line in enumerate(lines, 1):
        got = json.loads(line)
        if got["row"] != i:
            fail(f"line {i} holds row {got['row']}")
        if i in (ROWS // 2, ROWS // 4):
            if got["reason"] != "bad-query":
                fail(f"the row without an id, or the one too long, gives {got}")
            continue
        host = servers[i % len(servers)].host
        want = batchserver.expected(i, host)
        note = "a, b" if i != ROWS // 8 else "x" * len(got["values"].get("note", ""))  # a line of 1 MiB
        if got["values"] != {"host": host, "id": str(i), "note": note} or any(got.get(k) != v for k, v in want.items()):
            fail(f"row {i}: {got}, not {want}")
    for server in servers:
        stats = server.stats
        if stats.most > 2:
            fail(f"{stats.most} requests at once to {server.host}")
        if stats.agents != {"tamberline/0.1"} and not all(a.startswith("tamberline/") for a in stats.agents):
            fail(f"User-Agent {stats.agents}")
    if batchserver.EVERYWHERE.most != 3:
        fail(f"{batchserver.EVERYWHERE.most} requests at once with 3 jobs")
    requests = sum((s.stats.requests for s in servers), batchserver.collections.Counter())
    for n, times in ((13, 2), (17, 2), (23, 1), (26, 2), (46, 1), (62, 1), (1009, 4), (1013, 2), (1019, 2), (1021, 4)):
        if requests[f"/item/{n}"] != times:
            fail(f"/item/{n} asked {requests[f'/item/{n}']} times, not {times}")
    # A 429 says "Retry-After: 1", or a date 2 s ahead, four times or more the fetcher's own first pause.
    asked = {n: next(s.stats.times[f"/item/{n}"] for s in servers if s.stats.times[f"/item/{n}"]) for n in (17, 1009, 1019)}
    for n in (17, 1019):
        if asked[n][1] - asked[n][0] < 0.9:
            fail(f"/item/{n} asked again {asked[n][1] - asked[n][0]:.2f} s after its 429 said to wait a second or more")
    # Without one, the pauses double from a quarter of a second: 1.75 s for three retries.
    if not 1.5 < asked[1009][3] - asked[1009][0] < 2.8:
        fail(f"/item/1009 tried three more times in {asked[1009][3] - asked[1009][0]:.2f} s, not about 1.75 s")
    # One page run alone is read no further than the limit either.
    before = sum(s.stats.endless for s in servers)
    host = next(s for s in servers if s.faults).host
    alone = subprocess.run([program, "run", os.path.join(folder, "q.json"), "--set", f"host={host}", "--set", "id=1999"],
                           capture_output=True, timeout=300)
    sent = sum(s.stats.endless for s in servers) - before
    if alone.returncode != 1 or b"/item/1999 is longer than 67,108,864 bytes" not in alone.stderr or sent >= 128 << 20:
        fail(f"a page too long, run alone: status {alone.returncode}, {sent} bytes sent, {alone.stderr[-500:]!r}")


def check_resume(program, folder, seed, servers):
    reference = os.path.join(folder, "reference.jsonl")
    # Without failures at the end, the last thing written is a progress line, to be cleared.
    _, shown, took = run_on_terminal(program, folder, "--output", reference)
    check_progress_line(shown, took)
    rng = random.Random(seed)
    out = os.path.join(folder, "killed.jsonl")
    # The same table as JSON lines, which must give the same rows.
    table = os.path.join(folder, "t.jsonl")
    csv.field_size_limit(1 << 30)
    with open(os.path.join(folder, "t.csv"), newline="") as csv_table, open(table, "w") as json_table:
        for values in csv.DictReader(csv_table):
            json_table.write(json.dumps({k: v for k, v in values.items() if v is not None}) + "\n")
    # Stopped in its first line: none of it is kept.
    first = open(reference, "rb").readline()
    open(out, "wb").write(first[:len(first) // 2])
    for _ in range(3):
        batch = subprocess.Popen([program, "run", os.path.join(folder, "q.json"), "--values", table,
                                  "--format", "json", "--jobs", "8", "--output", out, "--resume"],
                                 stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        time.sleep(rng.uniform(0.05, took * 0.6))
        batch.send_signal(signal.SIGKILL)
        batch.wait()
    # Power lost while a line was written: half of the last line.
    data = open(out, "rb").read()
    if data:
        last = data.rstrip(b"\n").rfind(b"\n") + 1
        with open(out, "wb") as cut:
            cut.write(data[:last + (len(data) - last) // 2])
    run(program, folder, "--output", out, "--resume", table=table)
    if open(out, "rb").read() != open(reference, "rb").read():
        fail(f"killed and resumed (seed {seed}): not the uninterrupted run's results")

    stopped = os.path.join(folder, "stopped.jsonl")
    batch = subprocess.Popen([program, "run", os.path.join(folder, "q.json"), "--values", os.path.join(folder, "t.csv"),
                              "--format", "json", "--output", stopped], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    while batch.poll() is None and not (os.path.exists(stopped) and os.path.getsize(stopped)):
        time.sleep(0.01)
    batch.send_signal(signal.SIGINT)
    err = batch.communicate(timeout=120)[1].decode()
    if batch.returncode != 128 + signal.SIGINT or "--resume" not in err:
        fail(f"after SIGINT: status {batch.returncode}, {err[-1000:]}")
    command = err.strip().splitlines()[-1]
    if subprocess.run(shlex.split(command), capture_output=True, timeout=300).returncode not in (0, 1):
        fail(f"the command SIGINT gave does not run: {command}")
    if open(stopped, "rb").read() != open(reference, "rb").read():
        fail("stopped by SIGINT and resumed: not the uninterrupted run's results")

    # A second SIGINT stops at once, without waiting for the row under way (/item/0 takes 5 s).
    waiting = os.path.join(folder, "waiting.csv")
    with open(waiting, "w") as table:
        table.write(f"host,id\n{servers[0].host},0\n")
    batch = subprocess.Popen([program, "run", os.path.join(folder, "q.json"), "--values", waiting],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True)
    while not servers[0].stats.requests["/item/0"]:
        time.sleep(0.01)
    batch.send_signal(signal.SIGINT)
    for line in batch.stderr:
        if "once more to stop at once" in line:
            break
    batch.send_signal(signal.SIGINT)
    if batch.wait(timeout=60) != -signal.SIGINT:
        fail(f"a second SIGINT: status {batch.returncode}, not stopped at once by the signal")


def check_dask(program, folder, contrib):
    try:
        import distributed  # noqa: F401
    except ImportError:
        print("SKIP: python3-distributed is not installed")
        sys.exit(SKIP)
    reference = os.path.join(folder, "reference.jsonl")
    run(program, folder, "--output", reference)
    out = os.path.join(folder, "dask.jsonl")
    env = dict(os.environ, PYTHONPATH=contrib)
    done = subprocess.run([sys.executable, "-m", "tamberline_dask", os.path.join(folder, "q.json"),
                           "--values", os.path.join(folder, "t.csv"), "--output", out, "--workers", "2",
                           "--partitions", "5", "--program", program], env=env, capture_output=True, timeout=600)
    if done.returncode not in (0, 1):
        fail(f"tamberline_dask: status {done.returncode}: {done.stderr.decode()[-3000:]}")
    if open(out, "rb").read() != open(reference, "rb").read():
        fail("the Dask run's results are not the single run's")


def main():
    program, contrib, which = sys.argv[1:4]
    seed = int(os.environ.get("BATCH_SEED", random.randrange(1 << 30)))
    # Failures slow a run down; the resumed and Dask runs need the same results, not the failures.
    servers = [batchserver.Server(faults=which == "http") for _ in range(2)]
    try:
        with tempfile.TemporaryDirectory() as folder:
            batchserver.write_table(os.path.join(folder, "t.csv"), servers, ROWS, longest=which == "http")
            batchserver.write_query(os.path.join(folder, "q.json"))
            if which == "http":
                check_http(program, folder, servers)
            elif which == "resume":
                check_resume(program, folder, seed, servers)
            else:
                check_dask(program, folder, contrib)
    finally:
        for server in servers:
            server.close()
    print(f"{which}: 1 passed, 0 failed")


if __name__ == "__main__":
    main()
