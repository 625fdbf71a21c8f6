"""The dataclasses of the package say what the JSON Schemas in share/schema say, member for member."""

import dataclasses
import json

import pytest
from support import SOURCE

from zar import results
from zar._decode import decode
from zar.results import Explanation, FileProblem

# A dataclass and the definitions that it stands for.
CLASSES = [
    (results.Check, "check.json", ""),
    (results.CheckedFile, "check.json", "file"),
    (results.ObjectCounts, "check.json", "objects"),
    (results.FileProblem, "errors.json", "error"),
    (results.FileErrors, "errors.json", "file_errors/items"),
    (results.Explanation, "explain.json", "explanation"),
    (results.Given, "explain.json", "given"),
    (results.DecidedBy, "explain.json", "decided_by"),
    (results.DecidingAction, "explain.json", "decided_by/properties/action"),
    (results.RuleRun, "explain.json", "rule_run"),
    (results.Change, "explain.json", "change"),
    (results.FilterTried, "explain.json", "filter"),
    (results.NearestRule, "explain.json", "nearest_rule"),
    (results.NearestStatement, "explain.json", "nearest_statement"),
    (results.PolicyTried, "explain.json", "policy"),
    (results.RuleTried, "explain.json", "rule"),
    (results.ActionRun, "explain.json", "action"),
    (results.Raised, "explain.json", "action/properties/raised"),
    (results.Applied, "explain.json", "action/properties/applied"),
    (results.StatementTried, "explain.json", "action/properties/applied/properties/statements/items"),
    (results.Stopped, "explain.json", "error"),
    (results.Client, "objects.json", "client"),
    (results.Domain, "objects.json", "domain"),
    (results.Filter, "objects.json", "filter"),
    (results.Action, "objects.json", "action"),
    (results.ClassMap, "objects.json", "class_map"),
    (results.Rule, "objects.json", "rule"),
    (results.Event, "objects.json", "policy_map/properties/events/items"),
    (results.PolicyMap, "objects.json", "policy_map"),
    (results.Statement, "objects.json", "parameter_map/properties/statements/items"),
    (results.ParameterMap, "objects.json", "parameter_map"),
    (results.Target, "objects.json", "target"),
    (results.Inventory, "show.json", ""),
    (results.Config, "config.json", ""),
    (results.Lint, "lint.json", ""),
    (results.Finding, "lint.json", "finding"),
    (results.Reason, "lint.json", "because/items"),
    (results.IgnoredFinding, "lint.json", "ignored/items"),
    (results.CommentPlace, "lint.json", "ignored/items/properties/comment"),
    (results.TestRun, "test.json", ""),
    (results.TestedFile, "test.json", "file"),
    (results.Test, "test.json", "test"),
    (results.Failure, "test.json", "failure"),
    (results.Coverage, "test.json", "coverage"),
    (results.CoveredPart, "test.json", "part"),
    (results.Missed, "test.json", "part/properties/missed/items"),
    (results.Diff, "diff.json", ""),
    (results.ObjectChange, "diff.json", "change"),
    (results.NamedPlace, "diff.json", "object"),
    (results.Difference, "diff.json", "change/properties/differences/items"),
    (results.Replay, "diff.json", "replay"),
    (results.ReplayCounts, "diff.json", "replay/properties/counts"),
    (results.ReplayDifference, "diff.json", "replay/properties/differences/items"),
    (results.FirstDifference, "diff.json", "replay/properties/first"),
]

# Members that mean nothing here: which command wrote the object, other files of the command line, errors that are
# exceptions, sources, which only sessions of several files have, and claims, which are only counted.
LEFT_OUT = {"schema_version", "command", "file_errors", "bad_files", "sources", "source", "claims"}
SEVERAL_FILES = {"lint.json": {"files"}}


def definition(file, place):
    found = json.loads((SOURCE / "share" / "schema" / file).read_text())
    if place:
        found = found["definitions"]
        for step in place.split("/"):
            found = found[step]
    return found


@pytest.mark.parametrize("wanted, file, place", CLASSES, ids=lambda value: getattr(value, "__name__", None))
def test_a_dataclass_has_the_members_of_its_schema(wanted, file, place):
    members = set(definition(file, place)["properties"]) - LEFT_OUT - SEVERAL_FILES.get(file, set())
    fields = {field.metadata.get("key", field.name) for field in dataclasses.fields(wanted)} - LEFT_OUT
    assert fields == members


def test_every_dataclass_of_a_schema_is_compared():
    compared = {wanted for wanted, _, _ in CLASSES}
    only_of_the_server = {results.Loaded, results.Shown, results.TargetAttributes, results.AddedTarget, results.Version,
                          results.SessionStats, results.Stats}
    found = {value for value in vars(results).values() if dataclasses.is_dataclass(value)}
    assert found == compared | only_of_the_server


def test_results_do_not_change():
    problem = FileProblem("bad", 1, 2)
    with pytest.raises(dataclasses.FrozenInstanceError):
        problem.line = 3


@pytest.mark.parametrize("problem, text", [
    (FileProblem("is unknown", 3, 5, "a name", "gold"), "f.yaml:3:5: is unknown (expected a name); did you mean 'gold'?"),
    (FileProblem("is empty"), "f.yaml: is empty"),
])
def test_an_error_of_a_file_is_a_line_with_its_place(problem, text):
    assert problem.text("f.yaml") == text


def test_errors_beyond_the_first_hundred_are_counted():
    errors = results.FileErrors("f.yaml", (FileProblem("bad", 1, 2),), 7)
    assert errors.lines() == ["f.yaml:1:2: bad", "f.yaml: 7 more errors"]


EXPLANATION = {
    "file": "f.yaml", "event": "go", "target": "t", "given": {"set": {"a": "1"}, "clear": ["b"]}, "level": "filters",
    "verdict": "permit",
    "decided_by": {"rule": "p/go/1", "class_map": "c", "line": 5, "column": 3,
                   "action": {"number": 2, "action": "permit", "line": 6, "column": 3}},
    "rules_run": [{"rule": "p/go/1", "class_map": "c", "line": 5, "column": 3}],
    "changes": [{"attribute": "x", "before": None, "after": "1"}, {"attribute": "y", "before": "2", "after": None}],
    "log": ["hello"],
    "policies": [{"policy_map": "p", "handles_event": True, "line": 4, "column": 1, "match": "match-all", "rules": [
        {"number": 1, "class_map": "c", "match": "match-all", "matched": True, "line": 5, "column": 3, "cut_short": True,
         "filters": [{"filter": "a equals 1", "attribute": "a", "value": "1", "asked": True, "holds": True, "line": 2, "column": 1}],
         "actions": [{"number": 1, "action": "set x 1", "failed": False, "refused": False, "line": 6, "column": 1,
                      "changes": [{"attribute": "x", "before": None, "after": "1"}]}]}]},
        {"policy_map": "q", "handles_event": False, "line": 9, "column": 1}],
}


def test_an_explanation_says_what_changed():
    explanation = decode(Explanation, EXPLANATION)
    assert explanation.changed() == {"x": "1", "y": None}
    assert explanation.rules() == ("p/go/1",)
    assert explanation.permitted and not explanation.denied


def test_an_explanation_is_readable_as_text():
    assert str(decode(Explanation, EXPLANATION)) == """\
go at t (f.yaml)
  given: b cleared
  given: a = 1
  policy-map p (line 4) match-all
    rule 1, class-map c match-all (line 5): matched
      a equals 1 (line 2): holds; a is '1'
      1 set x 1 (x: absent -> '1')
      the rule ends here
  policy-map q does not handle it
  verdict: permit, by p/go/1 (class-map c, line 6)
  x: absent -> '1'
  y: '2' -> absent
  logged: "hello\""""
