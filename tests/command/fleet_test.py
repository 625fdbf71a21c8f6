"""Plays a stream with the scripts of examples/fleet/ on two workers, and compares the results with those of one process.

Usage: fleet_test.py ZAR SOURCE_DIR dask|parallel
"""
import os
import pathlib
import subprocess
import sys
import tempfile

# Enough that both workers work at the same time, with bad lines in both parts.
STREAM = ["--events", "200000", "--sessions", "20000", "--live", "2000", "--bad", "997"]


def main():
    zar, source, how = sys.argv[1:]
    source = pathlib.Path(source).resolve()
    policy = source / "examples" / "broadband.yaml"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        events, alone, fleet = (folder / file for file in ("events.jsonl", "alone.jsonl", "fleet.jsonl"))
        with open(events, "wb") as out:
            subprocess.run([sys.executable, source / "scripts" / "make_stream.py", *STREAM], check=True, stdout=out)
        with open(alone, "wb") as out:
            one = subprocess.run([zar, "run", policy, "--events", events, "--jsonl"], stdout=out, stderr=subprocess.PIPE)
        assert one.returncode == 65, one.stderr.decode()

        scripts = source / "examples" / "fleet"
        arguments = [policy, events, fleet]
        if how == "dask":
            line, expected = [sys.executable, scripts / "replay_dask.py", *arguments, "--workers", "2", "--zar", zar], 65
        else:
            line, expected = [scripts / "replay_parallel", *arguments, "2"], 0
        # The scripts find Debian's Python, as users of its packages do.
        path = f"{pathlib.Path(sys.executable).parent}:{os.environ['PATH']}"
        done = subprocess.run(line, cwd=folder, env={**os.environ, "ZAR": zar, "PATH": path}, capture_output=True, text=True)
        assert done.returncode == expected, f"exit code {done.returncode}\n{done.stderr}"
        summaries = done.stdout + done.stderr
        assert summaries.count(" events a second") == 2, f"not two parts were played\n{summaries}"
        assert fleet.read_bytes() == alone.read_bytes(), "the fleet's results are not those of one process"
        results = alone.read_bytes().count(b"\n")
        assert results > 200_000, results
        print(f"{results} results are the same with {how}")


main()
