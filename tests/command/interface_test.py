"""Compares all descriptions of the command line: --help, the manual page, completion in bash and in zsh, README.

Usage: interface_test.py ZAR SOURCE_DIR

Each has to name every sub-command and all of its options, and no others.
"""
import pathlib
import re
import subprocess
import sys
import tempfile


def output(*line):
    return subprocess.run(line, check=True, capture_output=True, text=True).stdout


def of_help(zar):
    """Returns the options by sub-command; those of the command itself are under the empty name."""

    def options(text):
        lines = text.split("\nOptions:\n")[1].split("\n\n")[0].splitlines()
        return {name for line in lines if line.startswith("  -") for name in line.split()[0].split(",")}

    text = output(zar, "--help")
    found = {"": options(text)}
    for line in text.split("\nSubcommands:\n")[1].split("\n\n")[0].splitlines():
        command = line.split()[0]
        found[command] = options(output(zar, command, "--help"))
    return found


def of_manual(path):
    """The page has --help, which every sub-command takes, only once."""
    text = path.read_text()
    front, rest = text.split("\n# COMMANDS\n")
    named = lambda part: set(re.findall(r"(?:^|(?<=, ))\*(--?[a-z-]+)\*", "\n".join(
        line for line in part.splitlines() if line.startswith("*-")), re.MULTILINE)) - {"-"}
    found = {"": named(front.split("\n# DESCRIPTION\n")[1])}
    help_options = found[""] - {"--version"}
    for section in re.split(r"^## zar ", rest.split("\n# ")[0], flags=re.MULTILINE)[1:]:
        found[section.split()[0]] = named(section) | help_options
    return found


def of_bash(path):
    """Bash itself does the completion."""

    def completions(*words):
        script = 'source "$1"; shift; COMP_WORDS=(zar "$@"); COMP_CWORD=$#; _zar; printf "%s\\n" "${COMPREPLY[@]}"'
        return set(output("bash", "-c", script, "bash", str(path), *words).splitlines()) - {""}

    commands = {word for word in completions("") if not word.startswith("-")}
    assert completions("help", "") == commands, "bash: help completes other commands"
    # Bash passes '=' as a word of its own.
    for words in (["explain", "--level"], ["explain", "--level", "="]):
        assert completions(*words, "f") == {"filters"}, f"bash: {words} completes {completions(*words, 'f')}"
    assert completions("lint", "--format", "s") == {"sarif"}, "bash: --format completes no formats"
    assert completions("show", "--json", "a.yaml", "po") == {"policy"}, "bash: show completes no kinds behind an option"
    with tempfile.TemporaryDirectory() as folder:
        for name in ("gold and silver.yaml", "notes.txt", "more.d"):
            (pathlib.Path(folder) / name).touch()
        found = completions("run", folder + "/")
        assert found == {f"{folder}/gold and silver.yaml"}, f"bash: run completes {found}"
    return {"": completions("-")} | {command: completions(command, "-") for command in commands}


def of_zsh(path):
    text = path.read_text()

    def options(part):
        named = {name for group in re.findall(r"\{(-[a-z,-]+)\}", part) for name in group.split(",")}
        return named | set(re.findall(r"['\"](?:\([^)]*\)|\*)?(--[a-z-]+)=?\[", part))

    listed = re.findall(r"^  '([a-z]+):", text, re.MULTILINE)
    top, rest = text.split("\nlocal command=")
    help_options = options(re.search(r"^help=.*$", rest, re.MULTILINE)[0])
    found = {"": options(top)}
    for command, part in re.findall(r"^  ([a-z]+)\)\n(.*?)^    ;;$", rest, re.MULTILINE | re.DOTALL):
        found[command] = options(part) | (help_options if "$help" in part else set())
    assert sorted(listed) == sorted(set(found) - {""}), f"zsh: describes {listed}, completes {sorted(found)}"
    for_help = re.search(r"'1:command:\(([a-z ]+)\)'", rest)[1].split()
    assert sorted(for_help) == sorted(listed), f"zsh: help completes {for_help}"
    return found


def check_findings(zar, root):
    """The manual page and the completions list the kinds of findings that lint knows."""
    refused = subprocess.run([zar, "lint", "-", "--only", "?"], capture_output=True, text=True)
    known = sorted(re.search(r"is none of ([a-z, -]+)", refused.stderr)[1].split(", "))
    assert len(known) > 10, refused.stderr
    manual = (root / "docs/man/zar.1.scd").read_text().split("kinds:\n")[1].split("\nLint considers")[0]
    listed = {"docs/man/zar.1.scd": [word for line in re.findall(r"^\*.*$", manual, re.MULTILINE) for word in re.findall(r"\*([a-z-]+)\*", line)]}
    for name, variable in (("zar.bash", "_zar_findings"), ("_zar", "local kinds")):
        listed[name] = re.search(f"^{variable}='([^']+)'", (root / "share/completions" / name).read_text(), re.MULTILINE)[1].split()
    for name, words in listed.items():
        assert sorted(words) == known, f"{name} lists {sorted(words)}, lint knows {known}"


def check_readme(root, commands):
    """The table lists every command but help, and the sample is a part of the command's output."""
    text = (root / "README.md").read_text()
    listed = re.findall(r"^\| `zar ([a-z]+)", text, re.MULTILINE)
    assert sorted(listed) == sorted(commands - {"help"}), f"README.md lists {listed}"
    sample = re.search(r"^```\n(\[[0-9]+\] .*?)^```", text, re.MULTILINE | re.DOTALL)[1]
    printed = (root / "tests/command/golden/broadband.out").read_text()
    for part in sample.split("...\n"):
        assert part in printed, f"README.md shows what is not printed:\n{part}"


def main():
    zar, source = sys.argv[1:]
    root = pathlib.Path(source)
    helped = of_help(zar)
    assert len(helped) > 10 and all("--help" in options for options in helped.values()), helped
    others = {
        "docs/man/zar.1.scd": of_manual(root / "docs/man/zar.1.scd"),
        "share/completions/zar.bash": of_bash(root / "share/completions/zar.bash"),
        "share/completions/_zar": of_zsh(root / "share/completions/_zar"),
    }
    for name, found in others.items():
        for command in sorted(helped.keys() | found.keys()):
            expected, there = helped.get(command), found.get(command)
            assert there == expected, f"{name}, 'zar {command}': {there}, --help says {expected}"
    check_findings(zar, root)
    check_readme(root, helped.keys() - {""})
    print(f"{len(helped) - 1} sub-commands with {sum(map(len, helped.values()))} options in four places")


main()
