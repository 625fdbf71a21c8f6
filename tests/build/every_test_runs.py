#!/usr/bin/env python3
"""Every test is built and run by some build that scripts/test tests.

    every_test_runs.py ROOT SCRATCH

A test source that no CMakeLists.txt names, or only one that no tested build reads, fails nothing: it is simply not there.
The presets that scripts/test tests are configured below SCRATCH, not built, and each test source has to be compiled by one of
them into a program that its ctest runs. Scripts have to be run by ctest as well, or by a command of the folder scripts.
"""

import json
import pathlib
import re
import subprocess
import sys

TEST = re.compile(r"^ *(?:TYPED_)?TEST(?:_F|_P)? *\(|^int main\(|LLVMFuzzerTestOneInput\(const", re.MULTILINE)
DISABLED = re.compile(r"^ *(?:TYPED_)?TEST(?:_F|_P)? *\(\w+, *DISABLED_|^ *TEST.*\(DISABLED_", re.MULTILINE)


def run(*command, cwd):
    done = subprocess.run(command, cwd=cwd, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))} failed:\n{done.stdout}{done.stderr}")
    return done.stdout


def tested_presets(root):
    """Those that scripts/test builds and tests."""
    presets = re.findall(r"^step_\w+\(\).*\bbuild_and_test (\w+)", (root / "scripts/test").read_text(), re.MULTILINE)
    if not presets:
        sys.exit("scripts/test has no line of the form 'step_NAME() { build_and_test PRESET; }'")
    filtered = [p["name"] for p in json.loads((root / "CMakePresets.json").read_text())["testPresets"] if "filter" in p]
    for preset in presets:
        if preset in filtered:
            sys.exit(f"the test preset {preset} leaves tests out, which this check cannot see")
    return presets


class Build:
    """What a preset compiles and what its ctest runs."""

    def __init__(self, root, preset, folder):
        run("cmake", "--fresh", "--preset", preset, "-B", folder, cwd=root)
        commands = json.loads((folder / "compile_commands.json").read_text())
        tests = json.loads(run("ctest", "--test-dir", folder, "--show-only=json-v1", cwd=root))["tests"]
        self.root = root
        self.preset = preset
        self.programs = self._programs_of(commands)
        self.run_programs, self.arguments = self._runs_of(tests, folder)

    def _programs_of(self, commands):
        """The targets that each source is compiled for."""
        programs = {}
        for command in commands:
            target = re.search(r" -o \S*CMakeFiles/([^/ ]+)\.dir/", command["command"])
            programs.setdefault(self._relative(command["file"]), set()).add(target[1])
        return programs

    def _runs_of(self, tests, folder):
        """The programs that tests run, and the files of the project that their commands name."""
        # Before a program is built, ctest knows only this about its tests, and no command of the other tests.
        programs = {test["name"].removesuffix("_NOT_BUILT") for test in tests}
        arguments = set()
        disabled = {t["name"] for t in tests for p in t.get("properties", []) if p["name"] == "DISABLED" and p["value"]}
        for file in folder.rglob("CTestTestfile.cmake"):
            for name, command in re.findall(r"^add_test\(\[=\[(.*?)\]=\] (.*)\)$", file.read_text(), re.MULTILINE):
                if name in disabled:
                    continue
                words = re.findall(r'"([^"]*)"', command)
                programs.update(pathlib.Path(word).name for word in words if word.startswith(f"{folder}/"))
                arguments.update(self._relative(word) for word in words)
        return programs, arguments

    def _relative(self, path):
        return path.removeprefix(f"{self.root}/")

    def runs(self, source):
        # A host outside of the build, in the folder of the script that builds it.
        builder = f"{pathlib.PurePath(source).parent}.sh"
        if source in self.arguments or builder in self.arguments:
            return True
        return any(program in self.run_programs for program in self.programs.get(source, ()))


def is_test(path):
    return path.suffix in (".py", ".sh") or (path.suffix in (".cpp", ".c") and TEST.search(path.read_text()))


def run_by_commands(root):
    """The test scripts that a command of the folder scripts runs."""
    texts = [path.read_text() for path in (root / "scripts").iterdir() if path.is_file()]
    return {script for text in texts for script in re.findall(r"\btests/[\w/]+\.(?:py|sh)", text)}


def modules_of(root, test):
    """The Python files beside a test that it imports."""
    text = (root / test).read_text() if test.endswith(".py") else ""
    return {str(pathlib.PurePath(test).with_name(f"{name}.py")) for name in re.findall(r"^(?:from|import) (\w+)", text, re.MULTILINE)}


def main():
    root, scratch = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    listed = run("git", "-c", f"safe.directory={root}", "ls-files", "-co", "--exclude-standard", "tests", "fuzz", cwd=root).splitlines()
    tests = [source for source in listed if is_test(root / source)]
    builds = [Build(root, preset, scratch / preset) for preset in tested_presets(root)]
    names = ", ".join(build.preset for build in builds)
    elsewhere = run_by_commands(root)

    def is_run(test):
        return test in elsewhere or any(build.runs(test) for build in builds)

    imported = {module for test in tests if is_run(test) for module in modules_of(root, test)}

    def runs(test):
        return is_run(test) or test in imported

    wrong = [f"{test} is run by none of the builds {names}" for test in tests if not runs(test)]
    wrong += [f"{t} has a test that is disabled" for t in tests if DISABLED.search((root / t).read_text())]
    if len(tests) < 50:
        wrong.append(f"only {len(tests)} tests were found in {root}")
    print("\n".join(wrong) or f"{len(tests)} test sources are run by the builds {names}")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
