"""A client of zar lsp for tests: it writes and reads messages, and applies edits as an editor does."""
import json
import pathlib
import select
import subprocess

from child import HUNG, end_input

ABILITIES = {
    "textDocument": {
        "hover": {"contentFormat": ["markdown", "plaintext"]},
        "documentSymbol": {"hierarchicalDocumentSymbolSupport": True},
        "publishDiagnostics": {"relatedInformation": True},
        "codeAction": {"codeActionLiteralSupport": {"codeActionKind": {"valueSet": ["quickfix"]}}},
        "rename": {"prepareSupport": True},
    }
}


class Client:
    def __init__(self, zar, *options):
        self.process = subprocess.Popen([zar, "lsp", *options], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, bufsize=0)
        self.received = b""
        self.last_id = 0
        self.notifications = []
        self.versions = {}

    def send_bytes(self, data):
        self.process.stdin.write(data)

    def send(self, message):
        body = json.dumps({"jsonrpc": "2.0", **message}).encode()
        self.send_bytes(b"Content-Length: %d\r\n\r\n%b" % (len(body), body))

    def read(self):
        """The next message, or None at the end."""
        while True:
            head, found, rest = self.received.partition(b"\r\n\r\n")
            if found:
                size = int(head.split(b":")[1])
                if len(rest) >= size:
                    self.received = rest[size:]
                    return json.loads(rest[:size])
            ready, _, _ = select.select([self.process.stdout], [], [], HUNG)
            assert ready, "the server does not answer"
            data = self.process.stdout.read(65536)
            if not data:
                return None
            self.received += data

    def start(self, method, params):
        """Sends a request and returns its id."""
        self.last_id += 1
        self.send({"id": self.last_id, "method": method, "params": params})
        return self.last_id

    def response(self, wanted):
        while True:
            message = self.read()
            assert message is not None, "the server has ended"
            if "method" in message:
                self.notifications.append(message)
            elif message["id"] == wanted:
                return message

    def ask(self, method, params):
        answer = self.response(self.start(method, params))
        assert "error" not in answer, answer
        return answer["result"]

    def refused(self, method, params):
        answer = self.response(self.start(method, params))
        assert "result" not in answer, answer
        return answer["error"]

    def notify(self, method, params):
        self.send({"method": method, "params": params})

    def initialize(self, **more):
        result = self.ask("initialize", {"processId": None, "rootUri": None, "capabilities": ABILITIES, **more})
        self.notify("initialized", {})
        return result

    def open(self, text, uri="file:///policies/test.yaml"):
        self.versions[uri] = 1
        self.notify("textDocument/didOpen",
                    {"textDocument": {"uri": uri, "languageId": "yaml", "version": 1, "text": text}})
        return uri

    def change(self, uri, *changes):
        self.versions[uri] += 1
        self.notify("textDocument/didChange",
                    {"textDocument": {"uri": uri, "version": self.versions[uri]}, "contentChanges": list(changes)})

    def at(self, method, uri, position, **more):
        return self.ask(method, {"textDocument": {"uri": uri}, "position": position, **more})

    def next_notification(self, method):
        while True:
            for at, message in enumerate(self.notifications):
                if message["method"] == method:
                    return self.notifications.pop(at)["params"]
            message = self.read()
            assert message is not None, "the server has ended"
            if "method" in message:
                self.notifications.append(message)

    def diagnostics(self, until=lambda diagnostics: True):
        """Those that are published next and meet the condition."""
        while True:
            diagnostics = self.next_notification("textDocument/publishDiagnostics")["diagnostics"]
            if until(diagnostics):
                return diagnostics

    def end(self):
        """Shuts the server down and returns its exit code."""
        self.ask("shutdown", None)
        self.notify("exit", None)
        return self.wait()

    def wait(self):
        code, self.errors = end_input(self.process)
        return code


def units(text):
    """The length of a text in UTF-16."""
    return len(text.encode("utf-16-le")) // 2


def position_of(text, mark, offset=0):
    """The position of the mark in the text, moved by the given number of characters."""
    at = text.index(mark) + offset
    line = text.count("\n", 0, at)
    return {"line": line, "character": units(text[text.rfind("\n", 0, at) + 1:at])}


def offset_of(text, position):
    lines = text.split("\n")
    before = sum(len(line) + 1 for line in lines[:position["line"]])
    rest = lines[position["line"]].encode("utf-16-le")[:2 * position["character"]].decode("utf-16-le")
    return before + len(rest)


def slice_of(text, span):
    return text[offset_of(text, span["start"]):offset_of(text, span["end"])]


def applied(text, edits):
    for edit in sorted(edits, key=lambda each: offset_of(text, each["range"]["start"]), reverse=True):
        begin, end = (offset_of(text, edit["range"][name]) for name in ("start", "end"))
        text = text[:begin] + edit["newText"] + text[end:]
    return text


def example(source):
    return (pathlib.Path(source) / "examples/broadband.yaml").read_text()
