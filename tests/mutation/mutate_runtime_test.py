#!/usr/bin/env python3
"""scripts/mutate-runtime on a runtime of three functions: one is promised, one is relied upon, and nobody needs the third.

  mutate_runtime_test.py MUTATE_RUNTIME
"""
import pathlib
import subprocess
import sys
import tempfile

FILES = {
    'CMakeLists.txt': '''
cmake_minimum_required(VERSION 3.25)
project(toy LANGUAGES CXX)
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
include(CTest)
add_library(zarplatform SHARED host/runtime/control.cpp host/runtime/toy.cpp)
if(BUILD_TESTING)
  add_library(zar SHARED host/runtime/control.cpp)
  add_executable(zar-platform-check tests/check.cpp)
  target_link_libraries(zar-platform-check PRIVATE zarplatform)
  add_executable(model_walk tests/walk.cpp)
  target_link_libraries(model_walk PRIVATE zarplatform)
endif()
''',
    'host/runtime/toy.cpp': '''int promised() {
  return 1;
}
int relied_upon() {
  return 2;
}
int unneeded() {
  return 3;
}
''',
    'host/runtime/control.cpp': 'int control() { return 4; }\n',
    'tests/check.cpp': 'int promised();\nint main() { return promised() == 1 ? 0 : 1; }\n',
    'tests/walk.cpp': 'int relied_upon();\nint main() { return relied_upon() == 2 ? 0 : 1; }\n',
}
GAP = 'host/runtime/toy.cpp ¦ return 2; ¦ 2 becomes 3'
FIGURES = '3 mutants of the runtime: 1 noticed by zar-platform-check, 1 by the walk alone ({} unexplained), 1 by neither'


class Toy:
    def __init__(self, folder, script):
        self.folder, self.script = pathlib.Path(folder), script
        for name, content in FILES.items():
            self.write(name, content)
        self.build()

    def write(self, name, content):
        path = self.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_text(content)

    def build(self):
        for command in (['cmake', '-G', 'Ninja', '-S', self.folder, '-B', f'{self.folder}/build/tests'],
                        ['cmake', '--build', f'{self.folder}/build/tests']):
            subprocess.run(command, check=True, stdout=subprocess.DEVNULL)

    def run(self, *arguments):
        result = subprocess.run([self.script, '--source', self.folder, '--build', 'build/tests', '--workers', '1', *arguments],
                                capture_output=True, text=True, check=False)
        return result.returncode, result.stdout + result.stderr


def expect(condition, wanted, output):
    if not condition:
        sys.exit(f'expected: {wanted}\nbut:\n{output}')


def says_what_is_left(toy):
    status, output = toy.run('--status')
    expect(status == 3 and '3 are left' in output, 'three mutants that are left', output)


def reports_what_the_walk_notices_alone(toy):
    status, output = toy.run()
    expect(status == 1 and FIGURES.format(1) in output, 'an unexplained gap', output)
    expect('passed by the check, unexplained: host/runtime/toy.cpp:5: 2 becomes 3' in output, 'the gap', output)


def accepts_gaps_that_are_explained(toy):
    toy.write('tests/mutation/runtime.txt', f'{GAP} ¦ the walk reads too much\n')
    status, output = toy.run('--status')
    expect(status == 0 and FIGURES.format(0) in output, 'that all is well', output)


def refuses_explanations_of_nothing(toy):
    toy.write('tests/mutation/runtime.txt', f'{GAP} ¦ the walk reads too much\n'
              'host/runtime/toy.cpp ¦ return 1; ¦ 1 becomes 2 ¦ hard to see\n')
    status, output = toy.run('--status')
    expect(status == 1 and 'explained, but no gap: host/runtime/toy.cpp ¦ return 1;' in output, 'an outdated entry', output)


def tries_again_what_passed_an_earlier_check(toy):
    toy.write('tests/mutation/runtime.txt', '')
    toy.write('tests/check.cpp', 'int promised();\nint relied_upon();\n'
              'int main() { return promised() == 1 && relied_upon() == 2 ? 0 : 1; }\n')
    toy.build()
    status, output = toy.run()
    expect(status == 0 and '2 noticed by zar-platform-check, 0 by the walk alone' in output, 'a closed gap', output)


def refuses_a_check_that_fails_anyway(toy):
    toy.write('tests/check.cpp', 'int main() { return 1; }\n')
    toy.build()
    status, output = toy.run()
    expect(status == 1 and 'zar-platform-check fails with the runtime as it is' in output, 'a refusal', output)


def main():
    with tempfile.TemporaryDirectory() as folder:
        toy = Toy(folder, sys.argv[1])
        for check in (says_what_is_left, reports_what_the_walk_notices_alone, accepts_gaps_that_are_explained,
                      refuses_explanations_of_nothing, tries_again_what_passed_an_earlier_check,
                      refuses_a_check_that_fails_anyway):
            check(toy)
            print(check.__name__.replace('_', ' '))


if __name__ == '__main__':
    main()
