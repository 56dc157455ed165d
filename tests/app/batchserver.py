"""Example pages served on the loopback, with the failures a real site has now and then.

Each server is one host to the fetcher (its own port). /item/N answers, by N:
  N == 0        after 5 s, faults or not
  N == 1009     503 the first three times: the fetcher's last retry gets it
  N == 1021     503 always
  N % 13 == 0   500 (odd N) or 503 the first time
  N % 17 == 0   429 with Retry-After: 1 the first time
  N == 1019     429 with a Retry-After date 2 s ahead the first time
  N == 1013     not within the fetcher's 2 s the first time
  N == 1999     a gigabyte, sent until the client hangs up
  N % 97 == 0   slowly (0.3 s), and so do 300 to 319, which pile up if a host's limit lets them
  N % 23 == 0   404, always
  N % 29 == 0   a redirect to /moved/N
  N == 62       a redirect to a scheme the fetcher does not speak: wrong however often tried
  N == 93       in x-user-defined (bytes 0x80 and 0xE9), said only in the Content-Type header
  N % 5 == 0    in ISO-8859-1, said only in the Content-Type header
The server counts the requests it is answering at once, per host and over all hosts, and every
request by path.
"""

import collections
import email.utils
import http.server
import json
import threading
import time


def price(n):
    return f"price-{n * 7}" + (" é" if n % 5 == 0 else " \uf780\uf7e9" if n == 93 else "")


def page(n):
    return (f"<html><body><h1>Item</h1><p class=code>code-{n}</p>"
            f"<p class=price>{price(n)}</p></body></html>")


def expected(n, host):
    """The result fields a row with id n on host gives."""
    if n % 23 == 0 or n in (62, 1021, 1999):
        return {"reason": "page-error", "text": None, "status": {62: 302, 1021: 503, 1999: 200}.get(n, 404)}
    path = f"/moved/{n}" if n % 29 == 0 else f"/item/{n}"
    return {"reason": None, "text": price(n), "status": 200, "final": f"http://{host}{path}"}


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, *args):
        pass

    def send(self, status, body=b"", headers=(), length=None):
        self.send_response(status)
        for name, value in headers:
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(body) if length is None else length))
        # The request stops counting before its answer leaves: the client may send the next one
        # the moment it has the answer, before this thread runs again.
        self.answer_bytes = b"".join(self._headers_buffer) + b"\r\n" + body
        self._headers_buffer = []

    def do_GET(self):
        stats = self.server.stats
        with stats.lock:
            stats.active += 1
            stats.most = max(stats.most, stats.active)
        with EVERYWHERE.lock:
            EVERYWHERE.active += 1
            EVERYWHERE.most = max(EVERYWHERE.most, EVERYWHERE.active)
            stats.requests[self.path] += 1
            stats.times[self.path].append(time.monotonic())
            seen = stats.requests[self.path]
            stats.agents.add(self.headers.get("User-Agent", ""))
        self.answer_bytes = b""
        try:
            self.answer(seen)
        finally:
            with stats.lock:
                stats.active -= 1
            with EVERYWHERE.lock:
                EVERYWHERE.active -= 1
        if self.path == "/item/1013" and seen == 1:
            time.sleep(2.5)  # not counted as running: the fetcher has given up on it
        self.wfile.write(self.answer_bytes)
        if self.path == "/item/1999" and self.server.faults:
            self.send_endless(stats)

    def send_endless(self, stats):
        chunk = b"x" * (1 << 20)
        try:
            while stats.endless < 1 << 30:
                self.wfile.write(chunk)
                stats.endless += len(chunk)
        except OSError:
            pass  # the client hung up

    def answer(self, seen):
        kind, _, number = self.path.strip("/").partition("/")
        if kind not in ("item", "moved") or not number.isdigit():
            return self.send(404)
        n = int(number)
        if n == 0:
            time.sleep(5)
        if not self.server.faults:
            return self.send(200, page(n).encode(), [("Content-Type", "text/html")]) if n % 5 else \
                self.send(200, page(n).encode("iso-8859-1"), [("Content-Type", "text/html; charset=iso-8859-1")])
        if n == 1999:
            return self.send(200, headers=[("Content-Type", "text/html")], length=1 << 30)
        if kind == "item" and n % 29 == 0:
            return self.send(302, headers=[("Location", f"/moved/{n}")])
        if n % 23 == 0:
            return self.send(404, b"gone")
        if n == 62:
            return self.send(302, headers=[("Location", "ftp://127.0.0.1/")])
        if n == 1009 and seen <= 3 or n == 1021:
            return self.send(503, b"busy")
        if n % 13 == 0 and seen == 1:
            return self.send(500 if n % 2 else 503, b"busy")
        if n % 17 == 0 and seen == 1:
            return self.send(429, b"slow down", [("Retry-After", "1")])
        if n == 1019 and seen == 1:
            return self.send(429, b"slow down", [("Retry-After", email.utils.formatdate(time.time() + 2, usegmt=True))])
        if n % 97 == 0 or 300 <= n < 320:
            time.sleep(0.3)
        if n == 93:  # its bytes over 0x7F read as U+F780 on
            return self.send(200, page(n).replace("\uf780", "\x80").replace("\uf7e9", "\xe9").encode("iso-8859-1"),
                             [("Content-Type", "text/html; charset=x-user-defined")])
        if n % 5 == 0:
            return self.send(200, page(n).encode("iso-8859-1"), [("Content-Type", "text/html; charset=iso-8859-1")])
        return self.send(200, page(n).encode(), [("Content-Type", "text/html")])


class Stats:
    def __init__(self):
        self.lock = threading.Lock()
        self.active = 0
        self.most = 0
        self.requests = collections.Counter()
        self.times = collections.defaultdict(list)
        self.agents = set()
        self.endless = 0  # bytes of /item/1999 sent


EVERYWHERE = Stats()  # what all servers answer at once

class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, request, client_address):
        pass  # a client that hangs up early is no news here

    def __init__(self, faults=True):
        super().__init__(("127.0.0.1", 0), Handler)
        self.faults = faults
        self.stats = Stats()
        self.thread = threading.Thread(target=self.serve_forever, daemon=True)
        self.thread.start()

    @property
    def host(self):
        return f"127.0.0.1:{self.server_address[1]}"

    def close(self):
        self.shutdown()
        self.server_close()


def write_table(path, servers, rows, longest=False):
    """A CSV table of rows spread over the servers; a column no marker uses, one row short of its
    id, one longer than a line may be and, if asked, one exactly as long (too long as JSON)."""
    with open(path, "w") as table:
        table.write("host,id,note\n")
        for i in range(1, rows + 1):
            host = servers[i % len(servers)].host
            exact = (1 << 20) - len(f"{host},{i},\"\"\n") if longest and i == rows // 8 else 0
            note = "x" * (1 << 20) if i == rows // 4 else "x" * exact if exact else "a, b"
            table.write(f"{host}\n" if i == rows // 2 else f"{host},{i},\"{note}\"\n")


def write_query(path):
    with open(path, "w") as query:
        json.dump({"Url1": "http://%host%/item/%id%", "AllowNav2": False, "SearchText": "code-%id%",
                   "NodeOffset": 1, "ElemAttribs": []}, query)
