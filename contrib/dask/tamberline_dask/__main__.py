"""python3 -m tamberline_dask QUERY.json --values FILE --output OUT [--scheduler ADDRESS | --workers N]
                              [--partitions N] [--program PATH] [-- extra run options]"""

import argparse
import os
import shutil
import sys

from . import PARTS_SUFFIX, run


def main(argv=None):
    argv = sys.argv[1:] if argv is None else argv
    extra = []
    if "--" in argv:
        at = argv.index("--")
        argv, extra = argv[:at], argv[at + 1:]
    parser = argparse.ArgumentParser(prog="python3 -m tamberline_dask",
                                     description="Run a Tamberline query over a value table on a Dask cluster.",
                                     epilog="Options after -- go to each `tamberline run`. Running the same "
                                            "command again goes on where a stopped run left off.")
    parser.add_argument("query", metavar="QUERY.json")
    parser.add_argument("--values", required=True, metavar="FILE", help="CSV with a header row, or JSON Lines")
    parser.add_argument("--output", required=True, metavar="OUT", help="the results, JSON Lines in the table's order")
    where = parser.add_mutually_exclusive_group()
    where.add_argument("--scheduler", metavar="ADDRESS", help="a running scheduler, e.g. tcp://host:8786")
    where.add_argument("--workers", type=int, default=2, metavar="N",
                       help="worker processes of a cluster started on this machine (default 2)")
    parser.add_argument("--partitions", type=int, metavar="N", help="default: twice the cluster's threads")
    parser.add_argument("--program", default=shutil.which("tamberline") or "tamberline",
                        help="the tamberline program as the workers find it")
    parser.add_argument("--keep-parts", action="store_true", help=f"keep OUT{PARTS_SUFFIX}/ after joining")
    options = parser.parse_args(argv)

    try:
        from distributed import Client, LocalCluster
    except ImportError:
        sys.exit("tamberline_dask: Dask is not installed (Debian: apt-get install python3-distributed)")

    program = os.path.abspath(options.program) if os.path.sep in options.program else options.program
    if options.scheduler:
        client = Client(options.scheduler)
        cluster = None
    else:
        cluster = LocalCluster(n_workers=options.workers, threads_per_worker=1, processes=True,
                               dashboard_address=None)
        client = Client(cluster)
    try:
        partitions = options.partitions or max(1, 2 * sum(client.nthreads().values()))
        status = run(client, program, options.query, options.values, options.output, partitions, extra)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()
    if not options.keep_parts:
        shutil.rmtree(os.path.abspath(options.output) + PARTS_SUFFIX, ignore_errors=True)
    return status


if __name__ == "__main__":
    sys.exit(main())
