"""Malformed HTTP requests, made from a seeded source of chance."""

import random

CRLF = b"\r\n"
GOOD_PATHS = (b"/api/v1/agent", b"/api/v1/tables", b"/api/v1/tables/JVM_MEMORY/rows?subnode=self",
              b"/api/v1/subnodes", b"/healthz", b"/readyz", b"/", b"/api/v1/services",
              b"/api/v1/tables/JVM_GC_EVENT/events?since=0", b"/api/v1/situations",
              b"/api/v1/actions")
GOOD_BODIES = (
    b'{"name": "HIGH", "table": "JVM_MEMORY", "where": "HEAP_USED > 1", "subnodes": ["self"], '
    b'"interval": 60}',
    b'{"name": "GC", "table": "JVM_GC_EVENT", "where": "", "subnodes": [], "interval": null}',
    b'{"command": "none of these", "node": "self", "code_page": "utf-8"}',
    b'{"command": "none", "row": {"table": "JVM_MEMORY", "subnode": "self", '
    b'"where": "HEAP_USED > 1"}}')


class JunkRequests:
    """Makes them one by one; `host` is what a good request names, `token` what it shows."""

    def __init__(self, seed, host, token):
        self.chance = random.Random(seed)
        self.host = host.encode()
        self.token = token.encode()
        self.kinds = (self.request_line, self.headers, self.length, self.chunks, self.encoding,
                      self.nul, self.huge, self.query, self.mutation, self.noise,
                      self.other_protocol, self.pipeline, self.cut_short, self.change, self.stream)

    def next(self):
        """Gives (kind, bytes, how to end): ends are "read", "close", "half" and "reset"."""
        kind = self.chance.choice(self.kinds)
        made = kind()
        end = "read"
        if kind in (self.cut_short, self.stream):
            end = self.chance.choice(("close", "half", "reset"))
        return kind.__name__, made, end

    def pick(self, *choices):
        return self.chance.choice(choices)

    def bytes(self, most):
        return self.chance.randbytes(self.chance.randint(1, most))

    def good(self, line=None, headers=(), body=b""):
        """A request that is good but for what is given."""
        line = line or b"GET " + self.chance.choice(GOOD_PATHS) + b" HTTP/1.1"
        return CRLF.join((line, b"Host: " + self.host, *headers, b"", body))

    def request_line(self):
        path = self.chance.choice(GOOD_PATHS)
        line = self.pick(
            b"GET", b"", b"GET  PATH  HTTP/1.1", b"get PATH HTTP/1.1", b"GET\tPATH\tHTTP/1.1",
            b"GET PATH HTTP/9.9", b"GET PATH HTTP/1.", b"GET PATH HTTP/1.1 more",
            b"GET PATH FTP/1.1", b" GET PATH HTTP/1.1", b"G" * 3000 + b" PATH HTTP/1.1",
            b"GET http://elsewhere/PATH HTTP/1.1", b"GET elsewhere:80 HTTP/1.1",
            b"OPTIONS * HTTP/1.1", b"CONNECT elsewhere:80 HTTP/1.1", b"GET //PATH HTTP/1.1",
            b"GET /../../etc/passwd HTTP/1.1", b"GET /%2e%2e/%2e%2e/etc/passwd HTTP/1.1",
            b"GET /%zz%0 HTTP/1.1", b"GET /%00 HTTP/1.1", b"GET /\xff\xfe\xc0\x80 HTTP/1.1",
            b"\x00 / HTTP/1.1", b"TRACE PATH HTTP/1.1", b"GET PATH HTTP/1.0",
            b"GET PATH\r HTTP/1.1", b"GET PATH\n\nX")
        request = self.good(b"LINE")
        return request.replace(b"LINE", line.replace(b"PATH", path), 1)

    def headers(self):
        return self.pick(
            b"GET / HTTP/1.1\r\n\r\n",
            self.good(headers=(b"Host: " + self.host,)), self.good(headers=(b"Host: elsewhere",)),
            self.good(headers=(b"no colon here",)), self.good(headers=(b": no name",)),
            self.good(headers=(b" folded: onto the line before",)), self.good(headers=(b"A : b",)),
            self.good(headers=(b"A: \xff\xfe\x80",)), self.good(headers=(b"A\x01B: c",)),
            self.good(headers=(b"Origin: http://elsewhere",)),
            self.good(headers=(b"Origin: \x00",)),
            self.good(headers=tuple(b"X-%d: %d" % (i, i) for i in range(1000))),
            self.good(headers=(b"Connection: close, keep-alive, \x7f",)),
            self.good().replace(CRLF, b"\n"), self.good().replace(CRLF, b"\r"),
            self.good(headers=(b"Range: bytes=0-9999999999999999999999",)),
            self.good(headers=(b"If-Modified-Since: yesterday, or so",)),
            self.good(headers=(b"Cookie: " + b"a=b;" * 5000,)))

    def length(self):
        value = self.pick(b"-1", b"abc", b"0x10", b"1e9", b"+5", b"5, 6", b"", b" ", b"99999999999",
                          b"18446744073709551616", b"9" * 500, b"5\x00")
        method = self.pick(b"GET", b"POST", b"PUT", b"DELETE", b"HEAD")
        extra = self.pick((), (b"Content-Length: 7",), (b"Transfer-Encoding: chunked",))
        return self.good(method + b" /api/v1/agent HTTP/1.1",
                         (b"Content-Length: " + value, *extra), self.bytes(50))

    def chunks(self):
        body = self.pick(
            b"zz\r\nabc\r\n0\r\n\r\n", b"-5\r\nabc\r\n", b"5\r\nabc\r\n0\r\n\r\n",
            b"ffffffffffffffffff\r\na", b"3\nabc\n0\n\n", b"0\r\nT: \x00\r\n\r\n",
            b"3;" + b"e=x;" * 3000 + b"\r\nabc\r\n0\r\n\r\n",
            b"0\r\n" + b"T: x\r\n" * 5000 + b"\r\n", b"3\r\nabcdef\r\n0\r\n\r\n", b"\r\n\r\n",
            b"1\r\na\r\n" * 2000, b"7fffffff\r\n" + b"a" * 1000)
        return self.good(self.pick(b"GET", b"POST") + b" /healthz HTTP/1.1",
                         (b"Transfer-Encoding: chunked",), body)

    def encoding(self):
        return self.good(None, (self.pick(
            b"Transfer-Encoding: gzip", b"Transfer-Encoding: chunked, chunked",
            b"Transfer-Encoding: identity, chunked\x00", b"Transfer-Encoding: ,",
            b"TE: trailers, \xff",
            b"Content-Encoding: gzip, br, none-such", b"Accept-Encoding: *;q=-1, gzip;q=9e99",
            b"Accept: " + b"*/*;" * 1000, b"Expect: 100-continue", b"Expect: a miracle",
            b"Upgrade: h2c\r\nConnection: Upgrade, HTTP2-Settings\r\nHTTP2-Settings: AAA",
            b"Upgrade: websocket\r\nConnection: Upgrade"),), self.bytes(30))

    def nul(self):
        request = bytearray(self.good())
        for _ in range(self.chance.randint(1, 5)):
            request.insert(self.chance.randrange(len(request)), 0)
        return bytes(request)

    def huge(self):
        size = self.chance.choice((5_000, 20_000, 70_000, 300_000))
        return self.pick(
            self.good(b"GET /" + b"a" * size + b" HTTP/1.1"),
            self.good(b"GET /healthz?" + b"a=b&" * (size // 4) + b" HTTP/1.1"),
            self.good(headers=(b"A: " + b"a" * size,)), self.good(headers=(b"a" * size + b": a",)),
            b"a" * size, b"\r\n" * size,
            self.good(b"POST / HTTP/1.1", (b"Content-Length: %d" % (size * 10),), b"a" * size))

    def query(self):
        where = self.pick(
            b"where=", b"where=HEAP_USED", b"where=HEAP_USED+%3E", b"where='" + b"'" * 999,
            b"where=NONE+=+1", b"where=HEAP_USED+=+" + b"9" * 400, b"where=%00%ff",
            b"where=" + b"HEAP_USED+%3E+1+and+" * 40 + b"HEAP_USED+%3E+1",
            b"limit=0", b"limit=-1", b"limit=99999999999999999999", b"limit=1&limit=2",
            b"subnode=" + b"x" * 500, b"subnode=%c0%80", b"a&&&=&==&", b"%", b"limit=%31%zz",
            b"subnode=self&where=HEAP_USED+~+1")
        table = self.pick(b"JVM_MEMORY", b"NONE", b"%2f%2f", b"JVM_MEMORY%00", b"\xe2\x82")
        return self.good(b"GET /api/v1/tables/" + table + b"/rows?" + where + b" HTTP/1.1")

    def mutation(self):
        request = bytearray(self.good(headers=(b"Accept: */*", b"Connection: keep-alive")))
        for _ in range(self.chance.randint(1, 8)):
            at = self.chance.randrange(len(request))
            change = self.chance.randrange(4)
            if change == 0:
                request[at] = self.chance.randrange(256)
            elif change == 1:
                request.insert(at, self.chance.randrange(256))
            elif change == 2 and len(request) > 1:
                del request[at]
            else:
                request[at:at] = request[at:at + self.chance.randint(1, 40)]
        return bytes(request)

    def noise(self):
        return self.bytes(4000)

    def other_protocol(self):
        return self.pick(b"\x16\x03\x01\x02\x00\x01\x00\x01\xfc\x03\x03" + self.bytes(500),
                         b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n\x00\x00\x00\x04\x00\x00\x00\x00\x00",
                         b"SSH-2.0-OpenSSH_9.2\r\n", b"JRMI\x00\x02K", b"EHLO example.org\r\n",
                         b"*1\r\n$4\r\nPING\r\n", b"<policy-file-request/>\x00")

    def pipeline(self):
        good = b"".join(self.good() for _ in range(self.chance.randint(1, 20)))
        return good + self.pick(b"", self.mutation(), self.noise(), self.request_line())

    def change(self):
        """Content that gets past the token."""
        good = bytearray(self.chance.choice(GOOD_BODIES))
        for _ in range(self.chance.randint(1, 4)):
            good[self.chance.randrange(len(good))] = self.chance.choice(b'{}[]",:\\0x\x00\xff e-')
        body = self.pick(
            bytes(good), bytes(good[:self.chance.randint(0, len(good))]),
            self.chance.choice(GOOD_BODIES).replace(b'"', self.pick(b"'", b"", b'""')),
            b"", b"null",
            b"[" * 5000, b'{"a":' * 5000, b'{"name": "A", "name": "B"}', b'{"name": 1e999}',
            b'{"name": "\\ud800", "table": "\\u0000"}', b'{"name": "\xc0\x80\xf5"}',
            b'{"name": "A", "table": "JVM_MEMORY", "interval": -99999999999999999999}',
            b'{"name": "A", "table": "JVM_MEMORY", "subnodes": [' + b'"s",' * 5000 + b'"s"]}',
            b'{"command": "' + b"x" * 5000 + b'"}', b'{"command": "' + b'\\"' * 2000 + b'"}',
            b'{"none": {}}', b'{"command": {}, "node": []}', self.bytes(2000))
        line = self.pick(b"POST /api/v1/situations", b"POST /api/v1/actions",
                         b"DELETE /api/v1/situations/HIGH", b"DELETE /api/v1/situations/%00",
                         b"POST /service/none/at", b"POST /api/v1/agent", b"PUT /api/v1/actions")
        media = self.pick(b"application/json", b"application/json", b"application/json",
                          b"text/plain", b"application/json; charset=latin-1", b"")
        token = self.pick(self.token, self.token, self.token, self.token[1:], b"")
        return self.good(line + b" HTTP/1.1",
                         (b"Authorization: Bearer " + token, b"Content-Type: " + media,
                          b"Content-Length: %d" % len(body)), body)

    def stream(self):
        """Followers of the live stream, who leave in one way or another."""
        position = self.pick(b"0-0", b"1-1", b"18446744073709551615-18446744073709551615", b"-",
                             b"1", b"1-", b"-1", b"99999999999999999999-1", b"1-1-1", b"", b"\xff",
                             b"9" * 3000)
        query = self.pick(b"", b"?kind=event", b"?kind=none", b"?table=NONE", b"?after=" + position,
                          b"?kind=event&kind=action&table=JVM_GC_EVENT", b"?kind=" + b"x" * 500)
        headers = self.pick((), (b"Last-Event-ID: " + position,))
        return self.good(b"GET /api/v1/stream" + query + b" HTTP/1.1", headers)

    def cut_short(self):
        request = self.pick(self.good(), self.length(), self.chunks(), self.pipeline())
        return request[:self.chance.randint(1, len(request))]
