#!/usr/bin/env python3
"""scripts/mutate on a library of three functions, with tests of its own.

  mutate_test.py MUTATE
"""
import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

FILES = {
    'CMakeLists.txt': '''
cmake_minimum_required(VERSION 3.25)
project(toy LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
include(CTest)
add_library(zar SHARED core/toy.cpp)
target_include_directories(zar PRIVATE include)
if(BUILD_TESTING)
  find_package(GTest REQUIRED)
  include(GoogleTest)
  add_executable(core_toy tests/toy_test.cpp)
  target_link_libraries(core_toy PRIVATE zar GTest::gtest_main)
  gtest_discover_tests(core_toy PROPERTIES LABELS core)
endif()
''',
    'include/zar/toy.h': '#pragma once\n',
    'core/toy.cpp': '''#include "zar/toy.h"
bool zar_is_missing(const char *text) {
  return text == nullptr;
}
unsigned long zar_count(unsigned long n) {
  unsigned long sum = 0;
  while (n != 0) {
    const unsigned unread = 7;
    static_cast<void>(unread);
    ++sum;
    --n;
  }
  return sum;
}
int zar_never_tested() {
  return 5;
}
''',
    'tests/toy_test.cpp': '''
#include <gtest/gtest.h>
bool zar_is_missing(const char *text);
unsigned long zar_count(unsigned long n);
TEST(Missing, IsWhatIsNull) { EXPECT_TRUE(zar_is_missing(nullptr)); }
TEST(Count, EndsAtNothing) { EXPECT_EQ(zar_count(3), 3UL); }
''',
}
EXPECTED = {
    'core/toy.cpp:3:14: == becomes != at 14': 'noticed',
    'core/toy.cpp:6:22: 0 becomes 1': 'noticed',
    'core/toy.cpp:7:11: != becomes == at 11': 'noticed',
    'core/toy.cpp:7:14: 0 becomes 1': 'noticed',
    'core/toy.cpp:7:8: the condition of while is negated': 'noticed',
    'core/toy.cpp:8:28: 7 becomes 8': 'same',
    'core/toy.cpp:10:4: ++ becomes -- at 4': 'noticed',
    'core/toy.cpp:11:4: -- becomes ++ at 4': 'noticed',
    'core/toy.cpp:16:9: 5 becomes 6': 'survived',
}
LIST = '''# file ¦ line ¦ what ¦ why
core/toy.cpp ¦ return 5; ¦ 5 becomes 6 ¦ nobody may call it
'''


class Toy:
    def __init__(self, folder, mutate):
        self.folder, self.mutate = pathlib.Path(folder), mutate
        for name, content in FILES.items():
            self.write(name, content)
        for command in (['cmake', '-G', 'Ninja', '-S', folder, '-B', f'{folder}/build/tests'],
                        ['cmake', '--build', f'{folder}/build/tests']):
            subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)

    def command(self, *arguments):
        return [self.mutate, '--source', self.folder, '--build', 'build/tests', '--workers', '1', *arguments]

    def run(self, *arguments):
        result = subprocess.run(self.command(*arguments), capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr

    def ledgers(self):
        return list((self.folder / 'build/mutants/ledgers').glob('*.jsonl'))

    def entries(self):
        return [json.loads(line) for path in self.ledgers() for line in path.read_text().splitlines()
                if line.endswith('}')]


def expect(condition, wanted, output):
    if not condition:
        sys.exit(f'expected: {wanted}\nbut:\n{output}')


def refuses_when_nothing_was_tried(toy):
    status, output = toy.run('--status')
    expect(status != 0 and 'nothing was tried' in output, 'a refusal of a status without verdicts', output)
    expect('9 are left' in output, 'nine mutants that are left', output)


def goes_on_where_it_was_stopped(toy):
    with subprocess.Popen(toy.command(), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as process:
        while not toy.entries() and process.poll() is None:
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        output = process.communicate()[0]
    expect(process.returncode != 0 and 'stopped' in output and toy.entries(), 'a stopped run', output)
    # How far it came depends on the machine. If the file is cut half a line after the first verdict, there is always a
    # rest.
    ledger = toy.ledgers()[0]
    lines = ledger.read_text().splitlines(keepends=True)
    first = next(number for number, line in enumerate(lines) if '"mutant"' in line)
    ledger.write_text(''.join(lines[:first + 1]) + '{"mutant": "core/to')
    before = toy.entries()[:1]

    status, output = toy.run()
    expect(status != 0 and 'less than 98' in output, 'a refusal of survivors that nothing explains', output)
    expect(toy.entries()[:len(before)] == before, 'the verdicts from before it was stopped', toy.entries())
    verdicts = [(entry['mutant'], entry['verdict']) for entry in toy.entries()]
    expect(sorted(verdicts) == sorted(EXPECTED.items()), 'one verdict for each mutant', verdicts)
    by = {entry['mutant']: (entry.get('by'), entry.get('how')) for entry in toy.entries()}
    expect(by['core/toy.cpp:11:4: -- becomes ++ at 4'] == ('core_toy:Count.EndsAtNothing', 'endless'), 'an endless test', by)
    expect(by['core/toy.cpp:3:14: == becomes != at 14'] == ('core_toy:Missing.IsWhatIsNull', 'failed'), 'a test that failed', by)
    expect('unexplained: core/toy.cpp:16' in output, 'the name of a survivor', output)
    expect('noticed by core_toy:Count.EndsAtNothing, which does not end: core/toy.cpp:11' in output, 'the endless one', output)


def accepts_survivors_that_are_explained(toy):
    toy.write('tests/mutation/equivalent.txt', LIST)
    status, output = toy.run('--status')
    expect(status == 0 and '100.0 of 100' in output, 'that all is well', output)
    toy.write('tests/mutation/equivalent.txt', LIST + 'core/toy.cpp ¦ return 7; ¦ 7 becomes 8 ¦ it is gone\n')
    status, output = toy.run('--status')
    expect(status != 0 and 'no such mutant: core/toy.cpp ¦ return 7;' in output, 'an entry without a mutant', output)
    toy.write('tests/mutation/equivalent.txt', LIST + 'core/toy.cpp ¦ --n; ¦ -- becomes ++ at 4 ¦ hard to see\n')
    status, output = toy.run('--status')
    expect(status != 0 and 'it does not survive: core/toy.cpp ¦ --n;' in output, 'an entry that is noticed', output)


def keeps_verdicts_when_something_else_changes(toy):
    toy.write('tests/mutation/equivalent.txt', LIST)
    toy.write('include/zar/unused.h', '#pragma once\n')
    toy.write('CMakeLists.txt', FILES['CMakeLists.txt'] + '# More to install.\n')
    status, output = toy.run('--status')
    expect(status == 0 and '100.0 of 100' in output, 'that all verdicts still hold', output)


def mixes_nothing_in_from_other_sources(toy):
    for name in ('core/toy.cpp', 'include/zar/toy.h'):
        toy.write(name, FILES[name] + '\n')
        status, output = toy.run('--status')
        expect(status != 0 and '9 are left' in output, f'all mutants to be left when {name} changes', output)
        toy.write(name, FILES[name])


def refuses_tests_that_fail_anyway(toy):
    toy.write('core/toy.cpp', FILES['core/toy.cpp'].replace('return sum', 'return sum + 1'))
    status, output = toy.run()
    expect(status != 0 and 'fail with the library as it is: core_toy:Count.EndsAtNothing' in output, 'a refusal', output)


def main():
    with tempfile.TemporaryDirectory() as folder:
        toy = Toy(folder, sys.argv[1])
        for check in (refuses_when_nothing_was_tried, goes_on_where_it_was_stopped, accepts_survivors_that_are_explained,
                      keeps_verdicts_when_something_else_changes, mixes_nothing_in_from_other_sources,
                      refuses_tests_that_fail_anyway):
            check(toy)
            print(check.__name__.replace('_', ' '))


if __name__ == '__main__':
    main()
