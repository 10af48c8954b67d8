"""Files behind https: answered where the server proves to be the one that was named, and asked for nowhere else."""
import contextlib
import http.server
import os
import pathlib
import shutil
import socket
import tempfile
import threading
import unittest

import certificates
import tool
from range_handler import RangeHandler

ISOLATIONS = (("none",), ("worker",), ("strict", "--allow-unsandboxed"))
UNKNOWN = "the server's certificate is not trusted: its authority is unknown"
SELF_SIGNED = "the server's certificate is not trusted: it is self-signed"
OTHER_HOST = "the server's certificate is for another host"
LOCALHOST = "subjectAltName=DNS:localhost"


class Server(http.server.ThreadingHTTPServer):
    """Serves behind one certificate, without one where none is given. Handshakes are made by the connection's thread."""
    daemon_threads = True

    def __init__(self, certificate=None, handler=None):
        super().__init__(("127.0.0.1", 0), handler or Handler)
        self.context = certificate and certificate.context()
        if self.context:
            self.socket = self.context.wrap_socket(self.socket, server_side=True, do_handshake_on_connect=False)
        threading.Thread(target=self.serve_forever, daemon=True).start()
        unittest.addModuleCleanup(self.server_close)
        unittest.addModuleCleanup(self.shutdown)

    def url(self, path, host="localhost"):
        return f"{'https' if self.context else 'http'}://{host}:{self.server_port}/{path}"

    def handle_error(self, *_):
        """A client that leaves in the middle of the handshake is what most tests here are about."""


class Handler(RangeHandler):
    """The samples, and "/to?URL", which redirects there."""

    def do_GET(self):
        place = self.path.partition("/to?")[2]
        if not place:
            super().do_GET()
            return
        RangeHandler.requests.append(self.path)
        self.send_response(302)
        self.send_header("Location", place)
        self.send_header("Content-Length", "0")
        self.end_headers()


class Tunnels(http.server.BaseHTTPRequestHandler):
    """A proxy to which every host is this machine."""
    asked = []

    def do_CONNECT(self):
        Tunnels.asked.append(self.path)
        self.send_response(200)
        self.end_headers()
        with socket.create_connection(("127.0.0.1", int(self.path.rpartition(":")[2]))) as server:
            back = threading.Thread(target=self.carry, args=(server, self.connection), daemon=True)
            back.start()
            self.carry(self.connection, server)
            back.join()

    @staticmethod
    def carry(source, target):
        with contextlib.suppress(OSError):
            while data := source.recv(65536):
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)

    def log_message(self, *_):
        pass


def setUpModule():
    scratch = tempfile.TemporaryDirectory()
    unittest.addModuleCleanup(scratch.cleanup)
    Https.folder = pathlib.Path(scratch.name)
    Https.trusted = certificates.Authority(scratch.name, "trusted")
    Https.unknown = certificates.Authority(scratch.name, "unknown")
    Https.good = Server(Https.trusted.sign("good", LOCALHOST + ",IP:127.0.0.1"))
    Https.self_signed = Server(certificates.self_signed(scratch.name, "itself", LOCALHOST))
    Https.proxy = Server(handler=Tunnels)


class Https(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.environment = {"SSL_CERT_FILE": str(self.trusted.certificate.path)}

    def server(self, name, *extensions, **others):
        return Server(self.trusted.sign(name, *extensions, **others))

    def in_each_isolation(self, url, check):
        for isolation in ISOLATIONS:
            with self.subTest(url=url, isolation=isolation[0]):
                RangeHandler.requests.clear()
                check(tool.probe(url, environment=self.environment, options=("--isolation", *isolation)))

    def check_passes(self, url):
        expected = tool.record_of(tool.SAMPLES / "song.flac")

        def check(done):
            self.assertEqual((done.status, done.complaints), (0, b""))
            record, = done.records()
            self.assertEqual({**record, "input": None}, {**expected, "input": None})

        self.in_each_isolation(url, check)

    def check_refused(self, url, error):
        """One line of words, and no request: what stands in the URL is not for that server."""
        def check(done):
            record, = done.records()
            self.assertEqual((done.status, record["status"], record["error"]), (1, "error", error))
            self.assertEqual(done.complaint_lines(), [f"mediaprobe: {record['input']}: {error}"])
            self.assertNotIn("song.flac", {self.name_in(path) for path in RangeHandler.requests})

        self.in_each_isolation(url, check)

    @staticmethod
    def name_in(path):
        return path.partition("?")[0].removeprefix("/")

    def test_trusted_server(self):
        self.check_passes(self.good.url("song.flac"))
        self.check_passes(self.good.url("song.flac", host="127.0.0.1"))
        self.check_passes(self.good.url("plain/song.flac"))

    def test_costs_as_many_requests_as_without_tls(self):
        plain = Server()
        for sample in tool.samples():
            with self.subTest(sample=sample.name):
                counts = []
                for server in (plain, self.good):
                    RangeHandler.requests.clear()
                    tool.record_of(server.url(sample.name), environment=self.environment)
                    counts.append(len(RangeHandler.requests))
                self.assertEqual(*counts)

    def test_self_signed(self):
        self.check_refused(self.self_signed.url("song.flac"), SELF_SIGNED)
        self.environment["SSL_CERT_FILE"] = str(self.folder / "itself.pem")
        self.check_passes(self.self_signed.url("song.flac"))

    def test_unknown_authority(self):
        self.check_refused(Server(self.unknown.sign("server", LOCALHOST)).url("song.flac"), UNKNOWN)
        # Without a word of the user's it is the system's authorities that are known.
        self.environment = {}
        self.check_refused(self.good.url("song.flac"), UNKNOWN)
        self.environment = {"SSL_CERT_FILE": str(self.folder / "absent.pem")}
        self.check_refused(self.good.url("song.flac"), UNKNOWN)

    def test_folders_of_authorities(self):
        (self.folder / "empty").mkdir()
        authorities = self.folder / "authorities"
        authorities.mkdir()
        shutil.copy(self.trusted.certificate.path, authorities)
        certificates.openssl(self.folder, "rehash", authorities)
        self.environment = {"SSL_CERT_DIR": f"{self.folder / 'empty'}:{authorities}"}
        self.check_passes(self.good.url("song.flac"))
        self.environment = {"SSL_CERT_DIR": str(self.folder / "empty")}
        self.check_refused(self.good.url("song.flac"), UNKNOWN)

    def test_time(self):
        expired = self.server("expired", LOCALHOST, start=certificates.PAST, end=certificates.NOW)
        self.check_refused(expired.url("song.flac"), "the server's certificate has expired")
        early = self.server("early", LOCALHOST, start=certificates.FUTURE, end=certificates.LATER)
        self.check_refused(early.url("song.flac"), "the server's certificate is not valid yet")

    def test_what_it_is_for(self):
        client = self.server("client", LOCALHOST, "extendedKeyUsage=clientAuth")
        self.check_refused(client.url("song.flac"), "the server's certificate is not one for servers")

    def test_weak_key(self):
        weak = self.server("weak", LOCALHOST, key=("rsa", "rsa_keygen_bits:768"))
        self.check_refused(weak.url("song.flac"), "the server's certificate is too weak")

    def test_other_hosts(self):
        self.check_refused(self.server("other", "subjectAltName=DNS:media.invalid").url("song.flac"), OTHER_HOST)
        # A subject may be anything.
        self.check_refused(self.server("subject", subject="localhost").url("song.flac"), OTHER_HOST)

    def test_addresses(self):
        name_alone = self.server("name", LOCALHOST + ",DNS:127.0.0.1")
        self.check_refused(name_alone.url("song.flac", host="127.0.0.1"), OTHER_HOST)
        other_address = self.server("address", LOCALHOST + ",IP:127.0.0.2")
        self.check_refused(other_address.url("song.flac", host="127.0.0.1"), OTHER_HOST)

    def test_url_without_a_host(self):
        # The system takes it for this machine, and OpenSSL for whatever the certificate names.
        self.check_refused(self.good.url("song.flac", host=""), "the server's certificate cannot be checked")

    def test_redirections(self):
        plain = Server()
        target = self.good.url("song.flac")
        self.check_passes(self.good.url(f"to?{target}"))
        self.check_passes(plain.url(f"to?{target}"))
        name_alone = self.server("local", LOCALHOST)
        self.check_passes(self.good.url(f"to?{name_alone.url('song.flac')}", host="127.0.0.1"))
        for start in (self.good, plain):
            self.check_refused(start.url(f"to?{self.self_signed.url('song.flac')}"), SELF_SIGNED)
            # What counts is the host that is named last.
            self.check_refused(start.url(f"to?{name_alone.url('song.flac', host='127.0.0.1')}"), OTHER_HOST)

    def test_proxy(self):
        """What counts is the name of the server behind it."""
        self.environment["http_proxy"] = self.proxy.url("")
        # libavformat keeps some bytes of each answer of a proxy; only the leak sanitizer reads this.
        self.environment["ASAN_OPTIONS"] = os.environ.get("ASAN_OPTIONS", "") + ":detect_leaks=0"
        names = self.server("names", "subjectAltName=DNS:media.invalid,DNS:*.many.invalid,DNS:f*.part.invalid,IP:::1")
        for host in ("media.invalid", "one.many.invalid", "[::1]"):
            self.check_passes(names.url("song.flac", host=host))
            self.assertIn(f"{host}:{names.server_port}", Tunnels.asked)
        for host in ("other.invalid", "a.media.invalid", "a.b.many.invalid", "first.part.invalid", "[::2]"):
            self.check_refused(names.url("song.flac", host=host), OTHER_HOST)
        self.check_refused(names.url("song.flac", host=".invalid"), "the server's certificate cannot be checked")
        # That of the proxy is no name of the server's.
        self.check_refused(self.good.url("song.flac", host="media.invalid"), OTHER_HOST)

    def test_nothing_turns_it_off(self):
        for options in ("verify=0", "tls_verify=0", f"cafile={self.folder}/itself.pem", "verifyhost=localhost"):
            self.check_refused(self.self_signed.url(f"song.flac?{options}"), SELF_SIGNED)
        port = self.self_signed.server_port
        for place in (f"https,tls_verify,0,:https://localhost:{port}/song.flac", f"tls://localhost:{port}?verify=0",
                      f"https://localhost:{port}?verify=0", f"https://verify=0@localhost:{port}/song.flac",
                      f"https:localhost:{port}/song.flac"):
            with self.subTest(place=place):
                RangeHandler.requests.clear()
                done = tool.probe(self.good.url(f"to?{place}"), environment=self.environment)
                self.assertEqual(done.records()[0]["status"], "error")
                self.assertEqual({self.name_in(path) for path in RangeHandler.requests}, {"to"})

    def test_certificate_that_changes_meanwhile(self):
        server = self.server("first", LOCALHOST)
        movie = (tool.SAMPLES / "upright.mp4").read_bytes()
        head = int.from_bytes(movie[:4], "big")
        # What tells of it comes with the second request.
        RangeHandler.files["late.mp4"] = movie[:head] + (1 << 20).to_bytes(4, "big") + b"free" + bytes((1 << 20) - 8) + movie[head:]
        self.assertEqual(tool.record_of(server.url("late.mp4"), environment=self.environment)["format"], "mp4")
        other = self.trusted.sign("second", "subjectAltName=DNS:media.invalid")

        class Changing(Handler):
            def do_GET(self):
                self.server.context.load_cert_chain(other.path, other.key)
                super().do_GET()

        for isolation in ISOLATIONS:
            with self.subTest(isolation=isolation[0]):
                server = Server(certificates.Certificate(self.trusted.folder, "first"), Changing)
                done = tool.probe(server.url("late.mp4"), environment=self.environment, options=("--isolation", *isolation))
                self.assertEqual(done.records()[0].get("error"), OTHER_HOST)

    def test_other_failures_keep_their_words(self):
        self.check_refused(Server().url("song.flac").replace("http:", "https:"), "cannot be reached")
        self.check_refused(self.good.url("absent.flac"), "no such file on the server")

    def test_other_inputs_are_answered(self):
        song = tool.SAMPLES / "song.flac"
        done = tool.probe(self.self_signed.url("song.flac"), self.good.url("song.flac"), song, environment=self.environment)
        self.assertEqual([record["status"] for record in done.records()], ["error", "ok", "ok"])


if __name__ == "__main__":
    unittest.main()
