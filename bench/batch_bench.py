"""Rows per second of `tamberline run --values` and its memory on a long table.

python3 bench/batch_bench.py build/app/tamberline [ROWS_FOR_MEMORY]

Prints the rows per second for the 2,000-row table served on the loopback by two hosts (no
failures served) with --jobs 1, with --jobs 8 and on a local Dask cluster of two workers, and
the largest resident memory of one run over ROWS_FOR_MEMORY rows (default 1,000,000) of pages
given on the command line, which are read once and fetched never.
"""

import os
import subprocess
import sys
import tempfile
import time

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(here, "..", "tests", "app"))
import batchserver  # noqa: E402

ROWS = 2000


def timed(command, env=None):
    """Seconds the command took, and its own largest resident memory in MB."""
    started = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env=env)
    _, status, usage = os.wait4(child.pid, 0)
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode not in (0, 1):
        sys.exit(f"{' '.join(command[:3])}: status {child.returncode}")
    return time.monotonic() - started, usage.ru_maxrss / 1024


def main():
    program = os.path.abspath(sys.argv[1])
    memory_rows = int(sys.argv[2]) if len(sys.argv) > 2 else 1_000_000
    servers = [batchserver.Server(faults=False) for _ in range(2)]
    with tempfile.TemporaryDirectory() as folder:
        table = os.path.join(folder, "t.csv")
        query = os.path.join(folder, "q.json")
        batchserver.write_table(table, servers, ROWS)
        batchserver.write_query(query)
        for jobs in (1, 8):
            seconds, _ = timed([program, "run", query, "--values", table, "--format", "json", "--jobs", str(jobs), "--quiet"])
            print(f"--jobs {jobs}: {ROWS / seconds:8.0f} rows/s ({seconds:.2f} s, --per-host 2, two hosts)")
        try:
            import distributed  # noqa: F401
            env = dict(os.environ, PYTHONPATH=os.path.join(here, "..", "contrib", "dask"))
            seconds, _ = timed([sys.executable, "-m", "tamberline_dask", query, "--values", table, "--output",
                             os.path.join(folder, "dask.jsonl"), "--workers", "2", "--program", program], env)
            print(f"Dask, 2 workers: {ROWS / seconds:8.0f} rows/s ({seconds:.2f} s, cluster start included)")
        except ImportError:
            print("Dask, 2 workers: not measured, python3-distributed is not installed")
        for server in servers:
            server.close()

        long_table = os.path.join(folder, "long.csv")
        with open(long_table, "w") as out:
            out.write("fruit\n")
            for i in range(memory_rows):
                out.write(("Apples", "Pears", "Plums", "Apples, red")[i % 4] + "\n")
        pages = [os.path.join(here, "..", "examples", name) for name in ("prices.html", "products.html", "books.html")]
        with open(query, "w") as out:
            out.write('{"Url1": "", "AllowNav2": false, "SearchText": "*%fruit%*", "NodeOffset": 1, "ElemAttribs": []}')
        seconds, peak = timed([program, "run", query, *pages, "--values", long_table, "--format", "json", "--quiet",
                         "--output", os.path.join(folder, "long.jsonl")])
        print(f"{memory_rows} rows x {len(pages)} pages: {memory_rows / seconds:8.0f} rows/s ({seconds:.1f} s), "
              f"max RSS {peak:.0f} MB")


if __name__ == "__main__":
    main()
