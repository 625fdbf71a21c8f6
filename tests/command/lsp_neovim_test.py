"""Edits a policy file in Neovim, whose own client talks to zar lsp. The checks are in lsp_neovim_test.lua.

Usage: lsp_neovim_test.py ZAR SOURCE_DIR
"""
import os
import pathlib
import subprocess
import sys
import tempfile

POLICY = """\
domains: {d: }
class-maps:
  gold: {filters: [{attribute: tier, equals: gold}]}  # 🙂
  spare: {}
policy-maps:
  p:
    events:
      start:
        rules:
          - {number: 10, class: gold, actions: [permit]}
targets:
  t: {attributes: {tier: gold}, policies: [p]}
scenario:
  - {event: start, target: t}
tests:
  - {name: gold gets in, event: start, target: t, expect: {verdict: permit}}
"""


def main():
    zar, source = sys.argv[1:]
    script = pathlib.Path(source) / "tests/command/lsp_neovim_test.lua"
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "policy.yaml").write_text(POLICY)
        result = folder / "result"
        environment = os.environ | {"ZAR": os.path.abspath(zar), "FOLDER": name, "RESULT": str(result), "HOME": name,
                                    "XDG_STATE_HOME": name, "XDG_CACHE_HOME": name}
        run = subprocess.run(["nvim", "--headless", "--clean", "-n", "-c", f"luafile {script}"], env=environment,
                             capture_output=True, text=True, timeout=900)
        said = result.read_text() if result.exists() else f"Neovim gave no result: {run.stdout}{run.stderr}"
    print(said)
    sys.exit(0 if said == "good" else 1)


main()
