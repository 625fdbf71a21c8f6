"""The package and the example are typed, as strictly as mypy can check."""

import subprocess
import sys

import pytest
from support import SOURCE

RADIUSD = '''\
from collections.abc import Mapping
L_INFO: int
L_WARN: int
L_ERR: int
RLM_MODULE_REJECT: int
RLM_MODULE_FAIL: int
RLM_MODULE_OK: int
RLM_MODULE_INVALID: int
RLM_MODULE_NOOP: int
config: Mapping[str, str]
def radlog(level: int, text: str) -> None: ...
'''


def mypy(folder, *arguments):
    done = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(folder / "cache"), *arguments],
                          capture_output=True, text=True, env={"MYPYPATH": f"{SOURCE / 'python'}:{folder}", "PATH": "/usr/bin"})
    return done.returncode, done.stdout + done.stderr


def test_the_package_is_strictly_typed(tmp_path):
    status, output = mypy(tmp_path, "-p", "zar")
    assert status == 0, output


@pytest.mark.parametrize("script", ["zar_radius.py", "detail_to_events"])
def test_the_example_is_strictly_typed(tmp_path, script):
    # FreeRADIUS defines this module itself.
    (tmp_path / "radiusd.pyi").write_text(RADIUSD)
    example = SOURCE / "examples" / "freeradius"
    status, output = mypy(tmp_path, example / "radius_events.py", example / script)
    assert status == 0, output


def test_users_of_the_package_see_its_types(tmp_path):
    script = tmp_path / "script.py"
    script.write_text("import zar\nwith zar.load('f.yaml') as s:\n    reveal_type(s.explain('e', 't').verdict)\n    s.explain('e')\n")
    status, output = mypy(tmp_path, script)
    assert status == 1
    assert "Literal['none'], Literal['permit'], Literal['deny']" in output or "Literal['none', 'permit', 'deny']" in output, output
    assert 'Missing positional argument "target"' in output
