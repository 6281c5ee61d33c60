#!/usr/bin/env python3
"""An https server for tests. It serves ranges of files, counts what is asked for, and answers wrongly on purpose.

  https_server.py --root FOLDER --certificates FOLDER --ports FILE --log FILE [--port N] [--delay SECONDS]

A path is /CASE/FAULT/FILE: CASE is any word by which a test finds its requests in the log, FAULT says what goes
wrong: name[=value][,retry=SECONDS][*COUNT][@FILE]. With COUNT only the first so many requests of the case go wrong,
with FILE only those for a file of that name; "plain" is right always.

FILE of --ports gets a line "NAME PORT" for each certificate; the log a line for each request:
CASE METHOD FILE RANGE IF-RANGE AUTHORIZATION ACCEPT-ENCODING QUERY PORT-OF-CLIENT, "-" for what is not there.
"""

import argparse
import email.utils
import gzip
import os
import re
import socket
import ssl
import struct
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path

CERTIFICATES = ["good", "expired", "wrong-host", "self-signed"]
FAULT = re.compile(r"(?P<name>[a-z-]+)(=(?P<value>[^,*@]*))?(,retry=(?P<retry>[^*@]*))?(\*(?P<count>\d+))?(@(?P<file>.*))?$")


class Server(ThreadingHTTPServer):
    daemon_threads = True
    request_queue_size = 128

    def __init__(self, port, context, options, state):
        self.context, self.options, self.state = context, options, state
        super().__init__(("127.0.0.1", port), Handler)

    def get_request(self):
        connection, address = super().get_request()
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        # The handshake is left to the connection's thread.
        return self.context.wrap_socket(connection, server_side=True, do_handshake_on_connect=False), address

    def handle_error(self, request, client_address):
        pass  # clients that go away are part of the tests


class State:
    def __init__(self, log):
        self.lock = threading.Lock()
        self.counts = {}
        self.log = open(log, "a", buffering=1)

    def note(self, case, line):
        """The number of this request among those of its case, from 0 on."""
        with self.lock:
            self.log.write(line + "\n")
            number = self.counts.get(case, 0)
            self.counts[case] = number + 1
            return number


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    wbufsize = -1

    def log_message(self, *arguments):
        pass

    def do_GET(self):
        path, _, query = self.path.partition("?")
        _, case, fault, name = (path.split("/", 3) + ["", "", ""])[:4]
        fields = [self.headers.get(field, "-").replace(" ", "_") for field in
                  ("Range", "If-Range", "Authorization", "Accept-Encoding")]
        line = " ".join([case, self.command, name or "-", *fields, query or "-", str(self.client_address[1])])
        number = self.server.state.note(case, line)
        time.sleep(self.server.options.delay)
        found = FAULT.match(fault)
        self.fault = found.groupdict()
        self.number = number
        applies = (self.fault["count"] is None or number < int(self.fault["count"])) and \
                  (self.fault["file"] is None or name.endswith("/" + self.fault["file"]) or name == self.fault["file"])
        self.case = case
        self.tag = '"version-1"'
        method = getattr(self, "answer_" + self.fault["name"].replace("-", "_"), None) if applies else None
        file = Path(self.server.options.root) / name
        self.file = file.read_bytes() if file.is_file() else None
        try:
            (method or self.answer_plain)()
            self.wfile.flush()
        except OSError:  # of TLS, too
            self.close_connection = True

    # What is asked for.

    def wanted(self):
        """First and last byte; None without a range, or with one of another version."""
        found = re.match(r"bytes=(\d+)-(\d+)$", self.headers.get("Range", ""))
        if not found or self.headers.get("If-Range", self.tag) != self.tag:
            return None
        first, last = int(found.group(1)), int(found.group(2))
        return first, min(last, len(self.file) - 1)

    def head(self, status, length=None, **headers):
        self.send_response(status)
        if length is not None:
            self.send_header("Content-Length", str(length))
        for name, value in headers.items():
            self.send_header(name.replace("_", "-"), value)
        self.end_headers()

    def range_text(self, first, last, total=None):
        return f"bytes {first}-{last}/{len(self.file) if total is None else total}"

    def part(self):
        first, last = self.wanted()
        return first, last, self.file[first:last + 1]

    def chunk(self, data):
        self.wfile.write(b"%x\r\n%s\r\n" % (len(data), data))

    def hang_up(self, reset=False):
        """Without a word of TLS, as when a server dies; or by a reset."""
        self.wfile.flush()
        if reset:
            time.sleep(0.05)  # it overtakes bytes that have not been read
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        os.close(self.connection.detach())
        self.close_connection = True

    # Answers, by the name of the fault.

    def answer_plain(self):
        if self.file is None:
            return self.head(404, 0)
        wanted = self.wanted()
        if wanted is None:
            self.head(200, len(self.file), ETag=self.tag, Accept_Ranges="bytes")
            return self.wfile.write(self.file)
        first, last = wanted
        if first > last:
            return self.head(416, 0, Content_Range=f"bytes */{len(self.file)}")
        self.head(206, last - first + 1, Content_Range=self.range_text(first, last), ETag=self.tag)
        self.wfile.write(self.file[first:last + 1])

    def answer_status(self):
        headers = {}
        if self.fault["retry"] is not None:
            date = self.fault["retry"].startswith("date")
            headers["Retry_After"] = email.utils.formatdate(time.time() + 1, usegmt=True) if date else self.fault["retry"]
        self.head(int(self.fault["value"]), 4, **headers)
        self.wfile.write(b"busy")

    def answer_ignore_range(self):
        self.head(200, len(self.file), ETag=self.tag)
        self.wfile.write(self.file)

    def answer_ignore_range_chunked(self):
        self.head(200, Transfer_Encoding="chunked")
        self.chunk(self.file)
        self.wfile.write(b"0\r\n\r\n")

    def answer_short_body(self):
        first, last, data = self.part()
        self.head(206, len(data), Content_Range=self.range_text(first, last), ETag=self.tag)
        self.wfile.write(data[:len(data) // 2])
        self.hang_up()

    def answer_short_chunked(self):
        first, last, data = self.part()
        self.head(206, Transfer_Encoding="chunked", Content_Range=self.range_text(first, last), ETag=self.tag)
        self.chunk(data[:len(data) // 2])
        self.wfile.write(b"0\r\n\r\n")

    def answer_long_chunked(self):
        first, last, data = self.part()
        self.head(206, Transfer_Encoding="chunked", Content_Range=self.range_text(first, last), ETag=self.tag)
        self.chunk(data + b"more")
        self.wfile.write(b"0\r\n\r\n")

    def answer_long_length(self):
        first, last, data = self.part()
        self.head(206, len(data) + 4, Content_Range=self.range_text(first, last), ETag=self.tag)
        self.wfile.write(data + b"more")

    def answer_wrong_range(self):
        first, last, data = self.part()
        begin, end, total = (int(number) for number in self.fault["value"].split(":"))
        text = self.range_text(first + begin, last + end, len(self.file) + total)
        self.head(206, last + end - first - begin + 1, Content_Range=text, ETag=self.tag)
        self.wfile.write((data + data)[:last + end - first - begin + 1])

    def answer_no_content_range(self):
        first, last, data = self.part()
        self.head(206, len(data))
        self.wfile.write(data)

    def answer_multipart(self):
        first, last, data = self.part()
        body = b"--cut\r\nContent-Range: " + self.range_text(first, last).encode() + b"\r\n\r\n" + data + b"\r\n--cut--\r\n"
        self.head(206, len(body), Content_Type="multipart/byteranges; boundary=cut")
        self.wfile.write(body)

    def answer_gzip(self):
        if self.wanted() is None:
            data = gzip.compress(self.file)
            self.head(200, len(data), Content_Encoding="gzip")
            return self.wfile.write(data)
        first, last, data = self.part()
        data = gzip.compress(data)
        self.head(206, len(data), Content_Range=self.range_text(first, last), Content_Encoding="gzip")
        self.wfile.write(data)

    def answer_reset(self):
        first, last, data = self.part()
        self.head(206, len(data), Content_Range=self.range_text(first, last), ETag=self.tag)
        self.wfile.write(data[:len(data) // 2])
        self.hang_up(reset=True)

    def answer_no_answer(self):
        self.hang_up()

    def answer_stall(self):
        wanted = self.wanted()
        self.head(206 if wanted else 200, 1000, Content_Range=self.range_text(0, 999), ETag=self.tag)
        self.wfile.flush()
        self.connection.settimeout(30)
        self.connection.recv(1)  # until the client goes

    def answer_slow(self):
        first, last, data = self.part()
        self.head(206, len(data), Content_Range=self.range_text(first, last), ETag=self.tag)
        for byte in data:
            self.wfile.write(bytes([byte]))
            self.wfile.flush()
            time.sleep(float(self.fault["value"]))

    def answer_redirect(self):
        """To the rest of the path, below another root: http, other, loop, or so many hops."""
        port = self.server.server_address[1]
        value = self.fault["value"]
        status, _, value = value.partition(":") if ":" in value else ("302", "", value)
        name = self.path.split("/", 3)[3]
        if value == "http":
            target = f"http://127.0.0.1:{port}/{self.case}/plain/{name}"
        elif value == "other":
            target = f"https://localhost:{port}/{self.case}/plain/{name}"
        elif value == "loop":
            target = self.path
        else:
            hops = int(value)
            target = f"/{self.case}/" + (f"redirect={hops - 1}" if hops > 1 else "plain") + f"/{name}"
        self.head(int(status), 0, Location=target)

    def answer_length(self):
        """A Content-Length as it stands, and a few bytes."""
        self.head(200, self.fault["value"])
        self.wfile.write(b"{}")
        self.hang_up()

    def answer_endless(self):
        self.head(200, Transfer_Encoding="chunked")
        data = b" " * 65536
        while True:
            self.chunk(data)

    def answer_html(self):
        page = b"<!DOCTYPE html><html><body>Please accept our terms.</body></html>"
        self.head(200, len(page), Content_Type="text/html")
        self.wfile.write(page)

    def answer_change(self):
        """Another version of the file from the second request of the case on, or from another one."""
        if self.number >= int(self.fault["value"] or 1):
            self.tag = '"version-2"'
        self.answer_plain()

    def answer_shrink(self):
        """A shorter file without a version from the second request on."""
        self.tag = ""
        if self.number > 0:
            self.file = self.file[:len(self.file) // 2]
        self.answer_plain()


def main():
    parser = argparse.ArgumentParser()
    for name in ("root", "certificates", "ports", "log"):
        parser.add_argument("--" + name, required=True)
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--delay", type=float, default=0)
    options = parser.parse_args()
    state = State(options.log)
    lines = []
    for name in CERTIFICATES:
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(Path(options.certificates) / f"{name}.pem")
        server = Server(options.port if name == "good" else 0, context, options, state)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        lines.append(f"{name} {server.server_address[1]}\n")
    written = Path(options.ports + ".new")
    written.write_text("".join(lines))
    written.rename(options.ports)
    threading.Event().wait()


if __name__ == "__main__":
    main()
