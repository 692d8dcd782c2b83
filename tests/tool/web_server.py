# SPDX-License-Identifier: Apache-2.0
"""A web server on the loopback address whose answer to each path is a function of the test."""
import http.server
import ssl
import subprocess
import threading


class Handler(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        self.server.requests.append((self.path, dict(self.headers)))
        answer = self.server.answers.get(self.path.split("?")[0])
        try:
            if answer is None:
                self.send_text(404, "nothing here")
            else:
                answer(self)
        except OSError:
            pass  # the client went away, as it should from some answers

    def send_text(self, status, text, **headers):
        body = text.encode() if isinstance(text, str) else text
        self.send_response(status)
        headers.setdefault("Content_Length", str(len(body)))
        for name, value in headers.items():
            if value is not None:
                self.send_header(name.replace("_", "-"), value)
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, *_):
        pass


class Server(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def __init__(self, certificate=None):
        super().__init__(("127.0.0.1", 0), Handler)
        self.answers = {}
        self.requests = []
        if certificate:
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(certificate)
            self.socket = context.wrap_socket(self.socket, server_side=True,
                                              do_handshake_on_connect=False)
        self.scheme = "https" if certificate else "http"
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def url(self, path):
        return f"{self.scheme}://127.0.0.1:{self.server_port}{path}"

    def handle_error(self, request, client_address):
        pass  # a refused handshake

    def stop(self):
        self.shutdown()
        self.server_close()


def make_certificate(path, name):
    """A certificate that vouches for itself, with its key in the same file."""
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                    "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=test",
                    "-addext", f"subjectAltName={name}", "-keyout", path + ".key", "-out", path],
                   check=True, capture_output=True)
    with open(path + ".key", encoding="ascii") as key, open(path, "a", encoding="ascii") as both:
        both.write(key.read())
