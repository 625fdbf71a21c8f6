"""Building the benchmarks, for scripts/bench and scripts/costs."""
import os
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def note(text):
    print(text, file=sys.stderr, flush=True)


def output_of(*command, **options):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True, **options).stdout


def build(folder, *options, target):
    note(f'building {folder}')
    subprocess.run(['cmake', '--preset', 'release', '-B', folder, '-DBUILD_TESTING=OFF', '-DZAR_BENCH=ON', *options],
                   cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    subprocess.run(['cmake', '--build', folder, '--target', target], check=True, stdout=subprocess.DEVNULL)
