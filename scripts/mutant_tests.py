"""Runs the tests of a build to see whether they notice that another library replaces the one they were built with.

These are the tests that ctest lists. ctest runs each in its own process; here the tests of a program share one if they
can, and a failure counts only if the test also fails in its own process. Tests that noticed a nearby mutant run first,
then programs of the same folder, then the others; slow tests and walks last.
"""
import collections
import dataclasses
import hashlib
import json
import os
import pathlib
import re

# Folders whose tests are not run, and why.
NOT_ASKED = {
    'runtime': 'do not load the library',
    'build': 'test how the library is built',
    'install': 'test what is installed',
    'docs': 'test documents',
    'mutation': 'test scripts/mutate',
    'simulator': 'reach the library through the simulator alone',
    'command': 'test the command and reach the library through it alone',
}
# The folder whose tests break invariants on purpose and check that a debug build aborts; in other builds they fail.
OF_DEBUG_BUILDS = 'debug'
FILTER = '--gtest_filter='
QUICK_SECONDS = 0.3
LIKELY = 4


@dataclasses.dataclass(frozen=True)
class Test:
    name: str
    folder: str
    command: tuple
    cwd: str
    environment: tuple

    @property
    def program(self):
        return self.command[0]

    @property
    def filter(self):
        """The name of a test that shares its program with others, or None."""
        chosen = [word for word in self.command if word.startswith(FILTER)]
        return chosen[0][len(FILTER):] if chosen else None


@dataclasses.dataclass(frozen=True)
class Batch:
    """Tests of one program that can share a process."""
    tests: tuple
    folder: str
    seconds: float


@dataclasses.dataclass(frozen=True)
class Noticed:
    by: str
    how: str


def read_tests(programs, build):
    """The tests that ctest would run, except those of NOT_ASKED."""
    listing = json.loads(programs.run(['ctest', '--test-dir', build, '--show-only=json-v1']).output)
    tests = []
    for test in listing['tests']:
        properties = {entry['name']: entry['value'] for entry in test['properties']}
        folder = properties.get('LABELS', [''])[0]
        if 'command' in test and folder not in NOT_ASKED:
            tests.append(Test(name_of(test), folder, tuple(test['command']), properties['WORKING_DIRECTORY'],
                              tuple(properties.get('ENVIRONMENT', []))))
    return tests


def name_of(test):
    """The program and its filter, since ctest adds the bytes of parameters to the names of tests that have them."""
    chosen = [word for word in test['command'] if word.startswith(FILTER)]
    return f"{pathlib.Path(test['command'][0]).name}:{chosen[0][len(FILTER):]}" if chosen else test['name']


def is_of_debug_builds(test):
    return test.folder == OF_DEBUG_BUILDS


def digest_of(paths):
    digest = hashlib.sha256()
    for path in paths:
        digest.update(pathlib.Path(path).read_bytes() + b'\0')
    return digest.hexdigest()[:16]


class Digests:
    """The basis of a test's verdict: its program, the other libraries, and the files that tests read."""

    def __init__(self, root, build, tests):
        # Only the replaced library differs; everything else that programs load is the same for all mutants.
        beside = sorted(path for path in (build / 'lib').glob('*.so*') if not path.name.startswith('libzar.so'))
        # Sources are already compiled into the programs; lists of survivors and the like, and what belongs to tests that
        # are not run, are not inputs of these tests.
        asked = [folder for folder in (root / 'tests').iterdir() if folder.name not in NOT_ASKED]
        read = sorted(path for folder in (*asked, root / 'fuzz') for path in folder.rglob('*')
                      if path.is_file() and path.suffix not in ('.cpp', '.h', '.txt'))
        common = digest_of(beside + read)
        self.of_program = {program: common + digest_of([program]) for program in {test.program for test in tests}}
        self.of_test = {test.name: self.of_program[test.program] for test in tests}
        whole = ''.join(f'{test.name} {test.command} {self.of_test[test.name]}' for test in tests)
        self.all = hashlib.sha256(whole.encode()).hexdigest()[:16]


class Suite:
    """The tests with one library: which of them share a process, and how long each takes."""

    def __init__(self, programs, tests, checks):
        self.programs, self.checks = programs, checks
        self.tests = {test.name: test for test in tests if checks or not is_of_debug_builds(test)}
        self.seconds, self.together, self.skipped, self.failed = {}, set(), [], []
        self.noticed_near = collections.defaultdict(dict)

    # ---- The library as it is ----

    def measure(self, library, pool):
        """Runs every test with the unchanged library. A test that fails then cannot notice anything."""
        by_program = collections.defaultdict(list)
        for test in self.tests.values():
            if test.filter:
                by_program[test.program].append(test)
        list(pool.map(lambda tests: self._measure_together(tests, library), by_program.values()))
        alone = [test for test in self.tests.values() if test.name not in self.together]
        list(pool.map(lambda test: self._measure_alone(test, library), alone))

    def _measure_together(self, tests, library):
        result = self._run(tests, library, 600, all_of_them=True)
        taken = dict(re.findall(r'^\[       OK \] ([^ ,]+).* \((\d+) ms\)$', result.output, re.M))
        for test in tests:
            if test.filter in taken:
                self.seconds[test.name] = int(taken[test.filter]) / 1000
                if self.seconds[test.name] <= QUICK_SECONDS:
                    self.together.add(test.name)

    def _measure_alone(self, test, library):
        result = self._run([test], library, 1200)
        self.seconds[test.name] = result.seconds
        if not result.good:
            self.failed.append(test.name)
        elif '[  SKIPPED ]' in result.output:
            self.skipped.append(test.name)

    def measured(self):
        return {'seconds': self.seconds, 'together': sorted(self.together), 'skipped': self.skipped}

    def take_measured(self, measured):
        self.seconds, self.skipped = measured['seconds'], measured['skipped']
        self.together = set(measured['together'])

    def arrange(self):
        """Groups tests that can share a process; the others stay single."""
        by_program = collections.defaultdict(list)
        for name in sorted(self.together):
            by_program[self.tests[name].program].append(self.tests[name])
        self.batches = [Batch(tuple(tests), tests[0].folder, sum(self.seconds[test.name] for test in tests))
                        for tests in by_program.values()]
        self.single = sorted((test for test in self.tests.values()
                              if test.name not in self.together and test.name not in self.skipped),
                             key=lambda test: self.seconds[test.name])

    # ---- A broken library ----

    def notice_quickly(self, mutant, library, hint):
        """Which of the quick tests notices the mutant, or None."""
        for name in self._likely(mutant, hint):
            if how := self._ask(self.tests[name], library):
                return self._noticed(mutant, name, how)
        folder = mutant.path.split('/')[0]
        for batch in sorted(self.batches, key=lambda batch: (batch.folder != folder, batch.seconds)):
            for test, how in self._ask_batch(batch, library):
                return self._noticed(mutant, test.name, how)
        return None

    def notice_slowly(self, mutant, library):
        """Which of the tests that need their own process notices the mutant, or None. Walks come last."""
        for test in self.single:
            if how := self._ask(test, library):
                return self._noticed(mutant, test.name, how)
        return None

    def _noticed(self, mutant, name, how):
        self.noticed_near[mutant.path][name] = mutant.line
        return Noticed(name, how)

    def _likely(self, mutant, hint):
        """The test that noticed this mutant in other sources, and those that noticed the nearest mutants."""
        near = sorted(self.noticed_near[mutant.path].items(), key=lambda entry: abs(entry[1] - mutant.line))
        names = ([hint] if hint in self.tests else []) + [name for name, _ in near[:LIKELY]]
        return list(dict.fromkeys(names))

    def _ask(self, test, library):
        """How the test notices the library, or None. One that does not end in time runs again, alone and for longer."""
        seconds = self.seconds[test.name]
        result = self._run([test], library, 3 + 5 * seconds)
        if not result.endless:
            return None if result.good else 'failed'
        result = self._run([test], library, 12 + 20 * seconds, alone=True)
        return 'endless' if result.endless else None if result.good else 'failed'

    def _ask_batch(self, batch, library):
        """The test that notices the library, and how; nothing if none does."""
        tests = list(batch.tests)
        while tests:
            result = self._run(tests, library, 3 + 5 * batch.seconds)
            if result.good:
                return
            suspect = suspect_of(result.output, tests)
            if how := self._ask(suspect, library):
                yield suspect, how
                return
            # It noticed what earlier tests left behind. ctest would not see that, so it does not count.
            tests.remove(suspect)

    def _run(self, tests, library, seconds, alone=False, all_of_them=False):
        test = tests[0]
        command = test.command
        if len(tests) > 1:
            names = ':'.join(test.filter for test in tests)
            command = [FILTER + names if word.startswith(FILTER) else word for word in command]
        # The tests record the messages that they see; those of a mutant must not be recorded.
        environment = dict(os.environ, **dict(entry.split('=', 1) for entry in test.environment))
        environment.update(LD_LIBRARY_PATH=str(library), GTEST_FAIL_FAST='0' if all_of_them else '1',
                           ZAR_TRACED_FORMATS='/dev/null', ZAR_CHECKS='on' if self.checks else 'off')
        run = self.programs.run_alone if alone else self.programs.run
        return run(command, seconds, env=environment, cwd=test.cwd)


def suspect_of(output, tests):
    """The test that failed, or was running when the program ended; the first one if none had started."""
    failed = re.findall(r'^\[  FAILED  \] ([^ ,]+)', output, re.M)
    begun = re.findall(r'^\[ RUN      \] (\S+)', output, re.M)
    wanted = failed[0] if failed else begun[-1] if begun else None
    return next((test for test in tests if test.filter == wanted), tests[0])
