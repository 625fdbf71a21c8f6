"""The verdict on each mutant, kept in a file, so that a run that was stopped can be resumed.

There is a ledger for each state of the library's sources, named by their digest. A line is a verdict, as JSON: the
mutant; 'noticed', 'survived', 'same' (the optimised library is the same, byte for byte) or 'no library' (it does not
compile); and the basis of the verdict. 'noticed' is valid as long as the test that noticed it is unchanged, 'survived'
as long as all tests are. When the library's sources change, only the order in which tests are tried is kept.
"""
import json
import re

NOTICED, SURVIVED, SAME, NO_LIBRARY = 'noticed', 'survived', 'same', 'no library'


class Ledger:
    def __init__(self, folder, digest, digests_of_tests):
        folder.mkdir(parents=True, exist_ok=True)
        self.path = folder / f'{digest}.jsonl'
        self.tests = digests_of_tests
        self.verdicts = {entry['mutant']: entry for entry in read(self.path) if self._holds(entry)}
        others = [path for path in folder.glob('*.jsonl') if path != self.path]
        others.sort(key=lambda path: path.stat().st_mtime)
        self.noticed_once = {without_line(entry['mutant']): entry['by']
                             for path in others + [self.path] for entry in read(path) if entry['verdict'] == NOTICED}
        self.file = None

    def _holds(self, entry):
        if entry['verdict'] == NOTICED:
            return entry['rests_on'] == self.tests.of_test.get(entry['by'])
        return entry['verdict'] != SURVIVED or entry['rests_on'] == self.tests.all

    def hint(self, mutant):
        """The test that noticed this mutant earlier, in these sources or in others."""
        return self.noticed_once.get(without_line(mutant.name))

    def note(self, mutant, verdict, noticed, seconds):
        entry = {'mutant': mutant.name, 'verdict': verdict, 'seconds': round(seconds, 2)}
        if noticed:
            entry.update(by=noticed.by, how=noticed.how, rests_on=self.tests.of_test[noticed.by])
        elif verdict == SURVIVED:
            entry.update(rests_on=self.tests.all)
        self.verdicts[mutant.name] = entry
        if not self.file:
            # A line that was cut off must not run into the next one.
            cut_off = self.path.exists() and not self.path.read_text().endswith('\n')
            self.file = self.path.open('a')
            self.file.write('\n' if cut_off else '')
        self.file.write(json.dumps(entry) + '\n')
        self.file.flush()


def read(path):
    """The entries of a ledger. A line may be incomplete if its run was killed."""
    if not path.exists():
        return
    for line in path.read_text().split('\n'):
        try:
            yield json.loads(line)
        except json.JSONDecodeError:
            continue


def without_line(name):
    return re.sub(r':\d+:', ':', name, count=1)
