"""Runs programs so that none outlives a limit, its output is bounded, and all of them can be stopped at once."""
import fcntl
import os
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time

MEBIBYTE = 1 << 20


class Stopped(Exception):
    """The run is over: unfinished work does not count."""


class Result:
    def __init__(self, status, output, seconds, endless):
        self.status, self.output, self.seconds, self.endless = status, output, seconds, endless

    @property
    def good(self):
        return self.status == 0


def stop_on_signals():
    """A request to end is what the key for interruption is, so that the run reports what it has."""
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, _interrupt)


def _interrupt(number, frame):
    raise KeyboardInterrupt


def only_one(scratch):
    """Two runs in the same place would break each other's libraries."""
    lock = (scratch / 'lock').open('w')
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | fcntl.LOCK_NB)
    except BlockingIOError:
        sys.exit(f'another run is under way in {scratch}')
    return lock


def limit_children():
    """No mutant may exhaust the machine's memory or disk."""
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    resource.setrlimit(resource.RLIMIT_FSIZE, (64 * MEBIBYTE, 64 * MEBIBYTE))
    resource.setrlimit(resource.RLIMIT_AS, (6144 * MEBIBYTE, 6144 * MEBIBYTE))


class Programs:
    """Runs as many programs at once as there are workers, or one alone while the others wait."""

    def __init__(self, workers):
        self.workers = workers
        self.turns = threading.Semaphore(workers)
        self.one_alone = threading.Lock()
        self.under_way = set()
        self.guard = threading.Lock()
        self.stopped = False

    def run(self, command, seconds=600, **options):
        with self.turns:
            return self._run(command, seconds, options)

    def run_alone(self, command, seconds, **options):
        with self.one_alone:
            for _ in range(self.workers):
                self.turns.acquire()
            try:
                return self._run(command, seconds, options)
            finally:
                self.turns.release(self.workers)

    def stop(self):
        with self.guard:
            self.stopped = True
            for process in self.under_way:
                os.killpg(process.pid, signal.SIGKILL)

    # 'timeout' enforces the limit even if this process is gone, and also ends what the program has started.
    def _run(self, command, seconds, options):
        with tempfile.TemporaryFile() as output:
            started = time.monotonic()
            process = self._start(['timeout', '--signal=KILL', f'{seconds:.1f}', *map(str, command)], output, options)
            status = process.wait()
            took = time.monotonic() - started
            with self.guard:
                self.under_way.discard(process)
                if self.stopped:
                    raise Stopped
            output.seek(0)
            return Result(status, output.read().decode(errors='replace'), took, status != 0 and took >= seconds)

    def _start(self, command, output, options):
        with self.guard:
            if self.stopped:
                raise Stopped
            process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT,
                                       start_new_session=True, **options)
            self.under_way.add(process)
            return process
