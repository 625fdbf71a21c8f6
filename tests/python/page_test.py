"""The recipes of docs/python.md run and print what the page says. With ZAR_WRITE_PAGE=yes the page gets what they print."""

import os
import re
import subprocess
import sys

import pytest
from support import SOURCE

import zar

PAGE = SOURCE / "docs" / "python.md"
RECIPE = re.compile(r"^```python\n(.*?)^```\n(?:\n```text\n(.*?)^```\n)?", re.DOTALL | re.MULTILINE)
RECIPES = RECIPE.findall(PAGE.read_text())


def run(*command):
    return subprocess.run([sys.executable, *command], cwd=SOURCE, capture_output=True, text=True)


def test_the_page_has_its_recipes():
    assert len(RECIPES) == 5


@pytest.mark.parametrize("script, output", [recipe for recipe in RECIPES if not recipe[0].startswith("# test_")])
def test_a_recipe_prints_what_the_page_says(script, output):
    done = run("-c", script)
    assert done.returncode == 0, done.stderr
    if os.environ.get("ZAR_WRITE_PAGE") == "yes":
        PAGE.write_text(PAGE.read_text().replace(f"{script}```\n\n```text\n{output}", f"{script}```\n\n```text\n{done.stdout}"))
    else:
        assert done.stdout == output


@pytest.mark.parametrize("script", [script for script, _ in RECIPES if script.startswith("# test_")])
def test_a_recipe_for_pytest_passes(tmp_path, script):
    file = tmp_path / script.splitlines()[0].removeprefix("# ")
    file.write_text(script)
    done = run("-m", "pytest", "-p", "zar.pytest_plugin", "-p", "no:cacheprovider", str(file))
    assert done.returncode == 0 and " 3 passed" in done.stdout, done.stdout + done.stderr


def test_the_page_names_every_exception_and_every_call():
    text = PAGE.read_text()
    exceptions = {name for name in zar.__all__ if isinstance(getattr(zar, name), type) and issubclass(getattr(zar, name), zar.ZarError)}
    calls = {name for name in vars(zar.Simulator) if not name.startswith("_")} - {"close", "closed"}
    missing = {name for name in calls | exceptions - {"Interrupted"} if not re.search(rf"\b{name}\b", text)}
    assert not missing
