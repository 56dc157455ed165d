"""Runs one Tamberline query over a value table on a Dask cluster.

The table is cut into partitions of consecutive rows; each partition is one task that runs
`tamberline run QUERY --values PART --output PART.out --resume` on a worker, and the partitions'
results are joined into one file in the table's order, with `row` counted over the whole table.
Partitions and their results stay in OUTPUT.parts/ (a folder every worker must see) until the
join: running the same command again goes on with each partition where it stopped, so a worker
that is lost costs only the rows it had not written.
"""

import csv
import hashlib
import io
import json
import os
import re
import subprocess
import sys

__all__ = ["split", "run_partition", "join", "run"]

PARTS_SUFFIX = ".parts"
ROW = re.compile(rb'"row":(\d+)')


def table_format(path, first_line):
    extension = os.path.splitext(path)[1].lower()
    if extension == ".csv":
        return "csv"
    if extension in (".jsonl", ".ndjson"):
        return "jsonl"
    return "jsonl" if first_line.lstrip().startswith("{") else "csv"


def _records(path):
    """The table's format, its header (CSV) and its rows as text records, blank lines left out
    as tamberline leaves them out."""
    stream = sys.stdin if path == "-" else open(path, newline="", encoding="utf-8")
    with stream:
        first = ""
        for first in stream:
            if first.strip():
                break
        kind = table_format(path, first)
        if kind == "jsonl":
            def rows():
                if first.strip():
                    yield first.rstrip("\r\n") + "\n"
                for line in stream:
                    if line.strip():
                        yield line.rstrip("\r\n") + "\n"
            yield kind, first, rows()
            return
        # A field longer than the csv module allows by default is tamberline's to judge, row by row.
        csv.field_size_limit(1 << 30)
        reader = csv.reader(_chain([first], stream))
        header = next(reader, None)
        if header is None:
            raise SystemExit(f"tamberline_dask: the values {path} have no header row")

        def rows():
            for fields in reader:
                if fields and not (len(fields) == 1 and not fields[0].strip()):
                    out = io.StringIO()
                    csv.writer(out, lineterminator="\n").writerow(fields)
                    yield out.getvalue()
        out = io.StringIO()
        csv.writer(out, lineterminator="\n").writerow(header)
        yield kind, out.getvalue(), rows()


def _chain(*iterables):
    for iterable in iterables:
        yield from iterable


def split(values, folder, partitions):
    """Cuts the table into at most `partitions` files of consecutive rows in folder; returns the
    files' paths and their row counts."""
    os.makedirs(folder, exist_ok=True)
    for kind, header, rows in _records(values):
        rows = list(rows)
    extension = ".csv" if kind == "csv" else ".jsonl"
    size = max(1, -(-len(rows) // max(1, partitions)))
    parts = []
    for start in range(0, len(rows), size):
        path = os.path.join(folder, f"part-{len(parts):05d}{extension}")
        with open(path, "w", encoding="utf-8", newline="") as part:
            if kind == "csv":
                part.write(header)
            part.writelines(rows[start:start + size])
        parts.append((path, len(rows[start:start + size])))
    return parts


def run_partition(program, query, part, extra):
    """One task: runs the partition into part + '.out', going on with what is there. Returns the
    exit status (0 or 1: every row has its result); raises for anything else, so that Dask tries
    the task again, or says why."""
    result = subprocess.run([program, "run", query, "--values", part, "--output", part + ".out", "--resume",
                             "--format", "json", "--quiet", *extra],
                            stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
    if result.returncode not in (0, 1):
        raise RuntimeError(f"{part}: tamberline exited with {result.returncode}: "
                           + result.stderr.decode(errors="replace")[-2000:])
    return result.returncode


def join(parts, output):
    """The partitions' results, one file in the table's order, `row` counted over the table."""
    temporary = output + ".joining"
    offset = 0
    with open(temporary, "wb") as out:
        for path, rows in parts:
            with open(path + ".out", "rb") as results:
                for line in results:
                    # The first "row": is the object's own: keys come sorted, and the values
                    # object (which may hold a column named row) comes after it.
                    out.write(ROW.sub(lambda m: b'"row":%d' % (int(m.group(1)) + offset), line, count=1))
            offset += rows
    os.replace(temporary, output)


def _fingerprint(values, partitions):
    if values == "-":
        return None
    info = os.stat(values)
    return hashlib.sha256(json.dumps([os.path.abspath(values), info.st_size, info.st_mtime_ns, partitions]).encode()).hexdigest()


def _partitions_of(values, folder, partitions):
    """The partitions made by an earlier run of the same table, or new ones."""
    manifest = os.path.join(folder, "manifest.json")
    fingerprint = _fingerprint(values, partitions)
    if fingerprint and os.path.exists(manifest):
        with open(manifest) as saved:
            saved = json.load(saved)
        if saved.get("fingerprint") == fingerprint:
            return [tuple(part) for part in saved["parts"]]
    if os.path.isdir(folder):
        for name in os.listdir(folder):
            os.remove(os.path.join(folder, name))
    parts = split(values, folder, partitions)
    with open(manifest, "w") as saved:
        json.dump({"fingerprint": fingerprint, "parts": parts}, saved)
    return parts


def run(client, program, query, values, output, partitions, extra):
    """Runs the table on the client's cluster into output; returns 0 when every row gave a
    result, 1 when some did not."""
    folder = os.path.abspath(output) + PARTS_SUFFIX
    parts = _partitions_of(values, folder, partitions)
    futures = [client.submit(run_partition, program, os.path.abspath(query), path, list(extra), retries=2, pure=False)
               for path, _ in parts]
    statuses = client.gather(futures)
    join(parts, output)
    return max(statuses, default=0)
