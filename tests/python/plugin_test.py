"""The plugin for pytest: which files it collects, what its items report, and the fixture."""

import shutil

import pytest
from support import BROADBAND, SOURCE

pytest_plugins = ["pytester"]

FAILING = SOURCE / "tests" / "command" / "policies" / "failing.yaml"


@pytest.fixture
def project(pytester):
    """A folder with a policy file; run() runs pytest there."""
    shutil.copy(BROADBAND, pytester.path / "broadband.yaml")
    return pytester


def run(project, *arguments):
    return project.runpytest("-p", "zar.pytest_plugin", "-p", "no:cacheprovider", "-rA", *arguments)


def test_each_test_of_a_policy_file_is_an_item(project):
    result = run(project)
    result.assert_outcomes(passed=14)
    result.stdout.fnmatch_lines(["PASSED broadband.yaml::a flat rate on fibre gets its profile"])


def test_items_are_chosen_by_name(project):
    run(project, "-k", "slows").assert_outcomes(passed=1, deselected=13)
    run(project, "broadband.yaml::three unpaid months bar a line").assert_outcomes(passed=1)


def test_a_failure_shows_the_expectation_and_the_explanation(project):
    shutil.copy(FAILING, project.path / "failing.yaml")
    result = run(project, "failing.yaml")
    assert result.ret == pytest.ExitCode.TESTS_FAILED
    result.stdout.fnmatch_lines(["*failing.yaml:*: *", "*: expected *, but got *", "*policy-map *match-*", "*verdict: *"])
    result.stdout.no_fnmatch_line("*pytest_plugin.py*")


def test_a_bad_file_is_an_error_with_its_place(project):
    text = (project.path / "broadband.yaml").read_text().replace("class: barred\n", "class: bared\n")
    (project.path / "broadband.yaml").write_text(text)
    result = run(project)
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*broadband.yaml:*:*: *did you mean 'barred'?*"])
    result.stdout.no_fnmatch_line("*_connection.py*")


def test_other_files_in_yaml_are_left_alone(project):
    (project.path / "compose.yaml").write_text("services:\n  web: {image: nginx}\n")
    (project.path / "untested.yaml").write_text("policy-maps: {}\n")
    run(project).assert_outcomes(passed=14)


def test_a_file_that_the_command_line_names_is_collected_in_any_case(project):
    (project.path / "compose.yaml").write_text("services:\n  web: {image: nginx}\n")
    result = run(project, "compose.yaml")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*compose.yaml:1:1: *"])


def test_the_configuration_says_which_files_are_considered(project):
    project.makeini("[pytest]\nzar_files = policies/*.yaml\n")
    assert run(project).ret == pytest.ExitCode.NO_TESTS_COLLECTED
    (project.path / "policies").mkdir()
    shutil.move(project.path / "broadband.yaml", project.path / "policies" / "broadband.yaml")
    run(project).assert_outcomes(passed=14)


def test_tests_with_the_same_name_differ_in_their_lines(project):
    text = (project.path / "broadband.yaml").read_text().replace("so does a closed account", "three unpaid months bar a line")
    (project.path / "broadband.yaml").write_text(text)
    result = run(project, "-k", "three")
    result.assert_outcomes(passed=2, deselected=12)
    result.stdout.fnmatch_lines(["PASSED broadband.yaml::three unpaid months bar a line (line *)"])


def test_the_fixture_gives_simulators_that_are_closed_afterwards(project):
    project.makepyfile("""
        opened = []

        def test_asks(zar_load):
            simulator = zar_load("broadband.yaml")
            opened.append(simulator)
            assert simulator.explain("session-start", "line-0101", set={"account-state": "closed"}).denied

        def test_is_closed():
            assert opened[0].closed
    """)
    run(project, "-k", "asks or is_closed").assert_outcomes(passed=2, deselected=14)


def test_the_command_can_be_chosen(project):
    result = run(project, "--zar-command", "/missing/zar")
    result.assert_outcomes(errors=1)
    result.stdout.fnmatch_lines(["*there is no command /missing/zar*"])
    project.makeini("[pytest]\nzar_command = /other/zar\n")
    run(project).stdout.fnmatch_lines(["*there is no command /other/zar*"])
