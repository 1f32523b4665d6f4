#!/usr/bin/env python3
"""vendor.py CERTIFICATE KEY INSTALLER-VERSION: a vendor to whom everything is up to date, on port 443."""
import ssl
import sys
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

certificate, key, version = sys.argv[1:]
answers = {"/api/macVersion": version, "/api/wayfarVersion": "5", "/api/dlCheckUser": "<h1>Welcome back</h1>"}


class Vendor(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def do_GET(self):
        self.rfile.read(int(self.headers.get("Content-Length", 0)))
        body = answers.get(self.path, "").encode()
        self.send_response(200)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    do_POST = do_GET


server = ThreadingHTTPServer(("127.0.0.1", 443), Vendor)
context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
context.load_cert_chain(certificate, key)
server.socket = context.wrap_socket(server.socket, server_side=True)
server.serve_forever()
