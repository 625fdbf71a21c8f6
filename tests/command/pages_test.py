"""Runs the commands of a page's console blocks and compares what they print with the page.

Usage: pages_test.py ZAR SOURCE_DIR PAGE [--write]

A line that begins with '$ ' is a command for the shell, in the project's folder, with the command zar on the path. What
follows up to the next command is its output. --write puts what is printed into the page.
"""
import difflib
import os
import pathlib
import re
import subprocess
import sys

BLOCK = re.compile(r"(?<=```console\n)(.*?)(?=```\n)", re.DOTALL)


def run(command, source, environment):
    done = subprocess.run(["sh", "-c", command], cwd=source, env=environment, capture_output=True, text=True)
    return done.stdout + done.stderr


def played(block, source, environment):
    commands = [line for line in block.splitlines() if line.startswith("$ ")]
    return "".join(f"{line}\n{run(line[2:], source, environment)}" for line in commands)


def main():
    zar, source, page = sys.argv[1:4]
    folder = str(pathlib.Path(zar).resolve().parent)
    environment = dict(os.environ, PATH=folder + os.pathsep + os.environ["PATH"], LC_ALL="C.UTF-8")
    path = pathlib.Path(source) / page
    text = path.read_text()
    found = BLOCK.findall(text)
    assert sum(block.count("$ ") for block in found) > 0, f"{page} has no commands"
    new = BLOCK.sub(lambda match: played(match.group(1), source, environment), text)
    if "--write" in sys.argv:
        path.write_text(new)
    elif new != text:
        sys.exit("".join(difflib.unified_diff(text.splitlines(True), new.splitlines(True), page, "printed now")))
    print(f"{sum(block.count('$ ') for block in found)} commands of {page} print what it says")


main()
