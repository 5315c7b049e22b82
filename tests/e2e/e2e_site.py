"""The loopback web site the end-to-end test browses: a page with a web app
manifest and icon, a second page, a page the policy blocks and a file to
download. Everything is generated, nothing is fetched."""

import http.server
import json
import struct
import threading
import zlib


def png(size, rgb):
    row = b"\x00" + bytes(rgb) * size
    raw = row * size

    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)

    header = struct.pack(">IIBBBBB", size, size, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b"")


DOWNLOAD_BYTES = bytes(range(256)) * 4096  # 1 MiB


def page(title, body, head=""):
    return ("<!doctype html><html><head><meta charset='utf-8'><title>%s</title>%s</head>"
            "<body style='font-family:sans-serif;background:#e8f4ff'><h1>%s</h1>%s</body></html>"
            % (title, head, title, body)).encode()


def routes(base):
    manifest = {
        "name": "E2E Notes", "short_name": "Notes", "start_url": base + "/app/index.html",
        "scope": base + "/app/", "display": "standalone",
        "icons": [{"src": base + "/icon.png", "sizes": "192x192", "type": "image/png"}],
    }
    return {
        "/index.html": ("text/html", page("E2E Home", "<p>Start of the test site.</p>",
                                          "<link rel='manifest' href='/manifest.json'>")),
        "/second.html": ("text/html", page("E2E Second", "<p>Another page.</p>")),
        "/app/index.html": ("text/html", page("E2E Notes App", "<p>The installed app.</p>",
                                              "<link rel='manifest' href='/manifest.json'>")),
        "/blocked/secret.html": ("text/html", page("Should never show", "")),
        "/manifest.json": ("application/manifest+json", json.dumps(manifest).encode()),
        "/icon.png": ("image/png", png(192, (0x1B, 0xA4, 0xE5))),
        "/favicon.ico": ("image/png", png(16, (0x1B, 0xA4, 0xE5))),
        "/file.bin": ("application/octet-stream", DOWNLOAD_BYTES),
    }


class Site:
    def __init__(self):
        site = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                entry = site.routes.get(self.path.split("?")[0])
                if not entry:
                    self.send_error(404)
                    return
                kind, body = entry
                self.send_response(200)
                self.send_header("Content-Type", kind)
                self.send_header("Content-Length", str(len(body)))
                if self.path.endswith(".bin"):
                    self.send_header("Content-Disposition", "attachment; filename=file.bin")
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *args):
                pass

        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
        self.base = "http://127.0.0.1:%d" % self.server.server_address[1]
        self.routes = routes(self.base)
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def url(self, path):
        return self.base + path

    def stop(self):
        self.server.shutdown()
