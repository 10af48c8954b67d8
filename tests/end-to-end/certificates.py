"""Authorities and certificates of the tests' own, made with openssl."""
import pathlib
import ssl
import subprocess

SETTINGS = """
[ca]
default_ca = authority
[authority]
database = index
new_certs_dir = .
rand_serial = yes
unique_subject = no
default_md = sha256
copy_extensions = copy
policy = any
[any]
commonName = supplied
"""
# Years that no test runs in, before and after those that it does.
PAST, NOW, FUTURE, LATER = ("20010101000000Z", "20200101000000Z", "20980101000000Z", "20990101000000Z")


def openssl(folder, *arguments):
    subprocess.run(["openssl", *map(str, arguments)], cwd=folder, check=True, capture_output=True)


class Certificate:
    """The files of a certificate and its key."""

    def __init__(self, folder, name):
        self.path = pathlib.Path(folder, f"{name}.pem")
        self.key = pathlib.Path(folder, f"{name}.key")

    def context(self):
        """What a server needs that shows it, however weak it is."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.set_ciphers("DEFAULT:@SECLEVEL=0")
        context.load_cert_chain(self.path, self.key)
        return context


def self_signed(folder, name, *extensions):
    made = Certificate(folder, name)
    openssl(folder, "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", 1000,
            "-subj", f"/CN={name}", *(word for extension in extensions for word in ("-addext", extension)),
            "-keyout", made.key, "-out", made.path)
    return made


class Authority:
    """One that signs certificates, in a folder of its own."""

    def __init__(self, folder, name):
        self.folder = pathlib.Path(folder, name)
        self.folder.mkdir()
        (self.folder / "settings").write_text(SETTINGS)
        (self.folder / "index").touch()
        self.certificate = self_signed(self.folder, name)

    def sign(self, name, *extensions, subject="a server", start=NOW, end=FUTURE, key=("ec", "ec_paramgen_curve:P-256")):
        made = Certificate(self.folder, name)
        request = made.path.with_suffix(".csr")
        algorithm, choice = key
        openssl(self.folder, "req", "-newkey", algorithm, "-pkeyopt", choice, "-nodes", "-subj", f"/CN={subject}",
                *(word for extension in extensions for word in ("-addext", extension)),
                "-keyout", made.key, "-out", request)
        openssl(self.folder, "ca", "-batch", "-notext", "-config", "settings", "-cert", self.certificate.path,
                "-keyfile", self.certificate.key, "-startdate", start, "-enddate", end, "-in", request, "-out", made.path)
        return made
