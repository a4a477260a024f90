"""A network service that others wrote, as far as clients can see: answers XPML requests for the printer "Labels" with
their bytes read backwards, and any other request with 400. Writes its port first."""

import http.server
import urllib.parse


class Handler(http.server.BaseHTTPRequestHandler):
    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"])).decode("ascii")
        form = dict(urllib.parse.parse_qsl(body, encoding="latin-1"))
        if self.path != "/xpml" or form.get("printer") != "Labels":
            self.send_error(400)
            return
        reply = form["xpml"][::-1].encode("latin-1") + b"\0"
        self.send_response(200)
        self.send_header("Content-Type", "text/plain")
        self.send_header("Content-Length", str(len(reply)))
        self.end_headers()
        self.wfile.write(reply)

    def log_message(self, *_):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Handler)
print(server.server_port, flush=True)
server.serve_forever()
