#!/usr/bin/env python3
"""An OCSP responder for the demo: `openssl ocsp` called for each request that reaches a free port of 127.0.0.1.

    ocsp-responder.py FOLDER      with ca.pem, index.txt, responder.pem and responder.key; tells its port on stdout

The listener of openssl itself would take requests from the network too.
"""
import http.server
import pathlib
import subprocess
import sys
import tempfile

folder = pathlib.Path(sys.argv[1])


def answer_to(request):
    with tempfile.TemporaryDirectory(dir=folder) as exchange:
        asked, answered = pathlib.Path(exchange, "request"), pathlib.Path(exchange, "response")
        asked.write_bytes(request)
        subprocess.run(
            ["openssl", "ocsp", "-CA", folder / "ca.pem", "-index", folder / "index.txt", "-ndays", "7",
             "-rsigner", folder / "responder.pem", "-rkey", folder / "responder.key",
             "-reqin", asked, "-respout", answered],
            check=True, capture_output=True)
        return answered.read_bytes()


class Responder(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        body = answer_to(self.rfile.read(int(self.headers["Content-Length"])))
        self.send_response(200)
        self.send_header("Content-Type", "application/ocsp-response")
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def log_message(self, format, *arguments):
        pass


with http.server.HTTPServer(("127.0.0.1", 0), Responder) as server:
    print("port", server.server_port, flush=True)
    server.serve_forever()
