"""A server of the samples, for tests that read them through a network."""
import contextlib
import http.server
import re

import tool


class RangeHandler(http.server.BaseHTTPRequestHandler):
    """Serves the samples, whole or from a byte on; paths below /plain/ whole only."""
    protocol_version = "HTTP/1.1"
    requests = []
    ranges = []  # as many bytes as were asked for at once
    # Files that exist nowhere else, by name.
    files = {}

    def do_GET(self):
        RangeHandler.requests.append(self.path)
        if self.path.startswith("/made/"):
            self.send_file(RangeHandler.files[self.path.removeprefix("/made/")])
            return
        if self.path.startswith("/moved/"):
            self.send_response(302)
            self.send_header("Location", self.path.removeprefix("/moved"))
            self.send_header("Content-Length", "0")
            self.end_headers()
            return
        name = self.path.split("?")[0].rpartition("/")[2]
        if name in RangeHandler.files:
            self.send_file(RangeHandler.files[name])
            return
        path = tool.SAMPLES / name
        if not path.is_file():
            self.send_error(404)
            return
        self.send_file(path.read_bytes())

    def send_file(self, data):
        asked = re.fullmatch(r"bytes=(\d+)-(\d*)", self.headers.get("Range", ""))
        if asked and not self.path.startswith("/plain/"):
            first = int(asked[1])
            last = min(int(asked[2] or len(data)), len(data) - 1)
            self.send_response(206)
            self.send_header("Content-Range", f"bytes {first}-{last}/{len(data)}")
            data = data[first:last + 1]
            RangeHandler.ranges.append(len(data))
        else:
            self.send_response(200)
        if not self.path.startswith("/plain/"):
            self.send_header("Accept-Ranges", "bytes")
        self.send_header("Content-Length", str(len(data)))
        self.end_headers()
        # A reader that knows enough leaves early.
        with contextlib.suppress(BrokenPipeError, ConnectionResetError):
            self.wfile.write(data)

    def log_message(self, *_):
        pass
