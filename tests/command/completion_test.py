"""Types lines and TAB in real shells, and compares the words that come out.

Usage: completion_test.py ZAR SOURCE_DIR

Bash has to be there; zsh is tried where it is installed.
"""
import os
import pathlib
import pty
import select
import shutil
import sys
import tempfile

# In a shell, zar is a function that prints its arguments; the completion calls the command itself.
PRINTS = "zar() { printf '<%s>' \"$@\"; echo '<'end'>'; }"
BROADBAND = "examples/broadband.yaml"
GUESTS = "examples/guest-network.yaml"

# What is typed, with TAB as \t, and the words that zar then gets.
CASES = [
    (f"explain {BROADBAND} --event session-sto\tline-01\t1", ["explain", BROADBAND, "--event", "session-stop@line-0101"]),
    (f"explain {BROADBAND} --event=session-sto\tline-01\t2", ["explain", BROADBAND, "--event=session-stop@line-0102"]),
    (f"run {GUESTS} --event ro\t00:53:00:aa:01:0\t1", ["run", GUESTS, "--event", "roam@00:53:00:aa:01:01"]),
    (f"explain {BROADBAND} --event x --set account-s\tclosed", ["explain", BROADBAND, "--event", "x", "--set", "account-state=closed"]),
    (f"explain {BROADBAND} --set=unp\t3", ["explain", BROADBAND, "--set=unpaid-months=3"]),
    (f"explain {BROADBAND} --event x --clear unp\t", ["explain", BROADBAND, "--event", "x", "--clear", "unpaid-months"]),
    (f"show {BROADBAND} class volu\t", ["show", BROADBAND, "class", "volume-used-up"]),
    (f"show {BROADBAND} policy aut\t", ["show", BROADBAND, "policy", "authorisation"]),
    (f"show {BROADBAND} parameter-map ser\t", ["show", BROADBAND, "parameter-map", "service-profiles"]),
    (f"show {GUESTS} target 00:53:00:aa:01:0\t1", ["show", GUESTS, "target", "00:53:00:aa:01:01"]),
    (f"lint {BROADBAND} --except unused-c\t--except not\t", ["lint", BROADBAND, "--except", "unused-class", "--except", "not-a-number"]),
    # Nothing to offer, and nothing to say: no file, a file that is not good, a name in a file that is code.
    ("run nowhere.yaml --event st\t", ["run", "nowhere.yaml", "--event", "st"]),
    ("run README.md --event st\t", ["run", "README.md", "--event", "st"]),
    ("run HOSTILE/code.yaml --event $\t", None),
    # The name of the file is code.
    ("run 'HOSTILE/a $(touch touched)`touch touched`.yaml' --event st\tt", ["run", "HOSTILE/a $(touch touched)`touch touched`.yaml", "--event", "start@t"]),
]

GOOD = "domains: {d: }\npolicy-maps: {p: {events: {start: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
CODE = "policy-maps: {p: {events: {'$(touch touched)': {rules: []}, '`touch touched`': {rules: []}}}}\n"


class Shell:
    """An interactive shell at a terminal."""

    def __init__(self, arguments, folder, environment):
        self.shown = ""
        self.seen = 0
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(folder)
            os.execvpe(arguments[0], arguments, environment)

    def type(self, keys):
        os.write(self.terminal, keys.encode())

    def read_until(self, text):
        """Everything up to the text; the time is for slow machines only."""
        while self.shown.find(text, self.seen) < 0:
            ready, _, _ = select.select([self.terminal], [], [], 60)
            more = os.read(self.terminal, 4096) if ready else b""
            if not more:
                raise AssertionError(f"'{text}' never came: {self.shown[-400:]!r}")
            self.shown += more.decode(errors="replace")
        end = self.shown.find(text, self.seen) + len(text)
        part, self.seen = self.shown[self.seen:end], end
        return part

    def end(self):
        self.type("exit\n")
        os.waitpid(self.process, 0)
        os.close(self.terminal)


def start(name, root, folder, zar):
    environment = {"PATH": f"{pathlib.Path(zar).resolve().parent}:{os.environ['PATH']}", "TERM": "dumb", "HOME": str(folder), "LC_ALL": "C"}
    completions = root / "share" / "completions"
    if name == "bash":
        shell = Shell(["bash", "--norc", "--noprofile", "-i"], folder, environment)
        shell.type(f"bind 'set enable-bracketed-paste off'; source {completions}/zar.bash; {PRINTS}; PS1='% '; echo rea''dy\n")
    else:
        shell = Shell(["zsh", "-f", "-i"], folder, environment)
        shell.type(f"fpath=({completions} $fpath); autoload -Uz compinit && compinit -D -u; {PRINTS}; PS1='%% '; echo rea''dy\n")
    shell.read_until("ready")
    shell.read_until("% ")
    return shell


def try_shell(name, root, zar):
    with tempfile.TemporaryDirectory() as path:
        folder = pathlib.Path(path)
        for linked in ("examples", "README.md"):
            (folder / linked).symlink_to(root / linked)
        hostile = folder / "HOSTILE"
        hostile.mkdir()
        (hostile / "code.yaml").write_text(CODE)
        (hostile / "a $(touch touched)`touch touched`.yaml").write_text(GOOD)
        shell = start(name, root, folder, zar)
        for line, words in CASES:
            shell.type("zar " + line)
            if words is None:
                # Ctrl-U removes the line: what is typed would be code by itself.
                shell.type("\x15\n")
                shell.read_until("% ")
                continue
            shell.type("\n")
            shown = shell.read_until("<end>")
            expected = "".join(f"<{word}>" for word in words) + "<end>"
            assert shown.endswith(expected), f"{name}: {line!r} became {shown!r}, not {expected}"
            assert "zar:" not in shown and "error" not in shown, f"{name}: {line!r} shows {shown!r}"
            shell.read_until("% ")
        shell.end()
        touched = [found for found in folder.rglob("touched")]
        assert not touched, f"{name}: {touched}: code ran"
    print(f"{name} completed {len(CASES)} lines")


def main():
    zar, source = sys.argv[1:]
    root = pathlib.Path(source).resolve()
    try_shell("bash", root, zar)
    if shutil.which("zsh"):
        try_shell("zsh", root, zar)
    else:
        print("zsh is not installed, and was not tried")


main()
