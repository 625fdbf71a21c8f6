"""Copies of the sources in which mutants are built one after the other."""
import hashlib
import pathlib
import shutil
import sys

import mutations

# Folders that the library does not need. The tests are already built.
NOT_COPIED = ('build', '.git', 'tests', 'bench', 'docs', 'fuzz')
QUICK = '-O0 -D_GLIBCXX_ASSERTIONS'
# The type and the flags of a build. Mutants are not debug builds: their invariants are not checked, so the tests must
# notice them by themselves. Code that only debug builds have is broken in a debug build, which checks its invariants
# all the time.
KINDS = {
    'plain': ('None', QUICK),
    'checks': ('Debug', QUICK),
    'plain-optimised': ('None', '-O2'),
    'checks-optimised': ('Debug', '-O2'),
}


class Workshop:
    """One copy of the sources, with a build of each requested kind."""
    target, library_file, options = 'zar', 'libzar.so', ['-DZAR_HOST=OFF']

    def __init__(self, programs, root, scratch, number):
        self.programs, self.root = programs, root
        self.place = scratch / f'workshop-{number}'
        self.sources = self.place / 'sources'
        self.broken = None
        self.whole = {}
        # An existing copy may hold the last mutant of another run.
        shutil.rmtree(self.place, ignore_errors=True)
        shutil.copytree(root, self.sources, symlinks=True, ignore=self._not_copied)

    def _not_copied(self, folder, names):
        return NOT_COPIED if pathlib.Path(folder) == self.root else ()

    def prepare(self, kind):
        """Builds the unchanged library, so that a mutant needs little recompilation."""
        if kind not in self.whole:
            self._mend()
            self._configure(kind)
            self.whole[kind] = self._digest(kind)

    def break_with(self, mutant):
        """Puts the mutant into the sources in place of the previous one."""
        if self.broken != mutant.path:
            self._mend()
        self.broken = mutant.path
        (self.sources / mutant.path).write_text(mutations.mutant_text((self.root / mutant.path).read_text(), mutant))

    def library(self, kind):
        """Builds the library from the current sources and returns its path, or None if they do not compile."""
        return self.place / kind / 'lib' if self._make(kind).good else None

    def is_the_same(self, kind, mutant):
        """Whether the optimised library with the mutant equals the one without it, byte for byte."""
        self.prepare(f'{kind}-optimised')
        self.break_with(mutant)
        library = self.library(f'{kind}-optimised')
        return library is not None and self._digest(f'{kind}-optimised') == self.whole[f'{kind}-optimised']

    def _mend(self):
        if self.broken:
            shutil.copyfile(self.root / self.broken, self.sources / self.broken)
            self.broken = None

    def _configure(self, kind):
        kind_of_build, flags = KINDS[kind]
        self._must(self.programs.run(
            ['cmake', '-G', 'Ninja', '-S', self.sources, '-B', self.place / kind, '-DBUILD_TESTING=OFF', *self.options,
             f'-DCMAKE_BUILD_TYPE={kind_of_build}', '-DCMAKE_CXX_COMPILER=g++', f'-DCMAKE_CXX_FLAGS={flags}',
             '-DCMAKE_CXX_FLAGS_DEBUG=']))
        self._must(self._make(kind))

    def _make(self, kind):
        return self.programs.run(['ninja', '-j1', '-C', self.place / kind, self.target])

    @staticmethod
    def _must(result):
        if not result.good:
            sys.exit(result.output)

    def _digest(self, kind):
        return hashlib.sha256((self.place / kind / 'lib' / self.library_file).read_bytes()).hexdigest()


class RuntimeWorkshop(Workshop):
    """One for mutants of the stand-in runtime."""
    target, library_file, options = 'zarplatform', 'libzarplatform.so', []
