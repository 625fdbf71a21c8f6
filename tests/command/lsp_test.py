"""What zar lsp answers to a client that keeps, or breaks, the rules of the protocol.

Usage: lsp_test.py ZAR SOURCE_DIR GROUP
"""
import pathlib
import re
import sys
import tempfile

from language_client import ABILITIES, Client, applied, example, position_of, slice_of, units

ZAR, SOURCE, GROUP = sys.argv[1:]
BROADBAND = example(SOURCE)
PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS = -32700, -32600, -32601, -32602
NOT_INITIALIZED, CANCELLED, MODIFIED, FAILED = -32002, -32800, -32801, -32803

SMALL = """\
domains: {d: }
class-maps:
  gold: {filters: [{attribute: tier, equals: gold}]}
  rest: {}
policy-maps:
  p:
    events:
      start:
        match: first
        rules:
          - {number: 10, class: gold, actions: [{set: {queue: fast}}, permit]}
          - {number: 20, class: rest, actions: [deny]}
targets:
  t: {attributes: {tier: gold}, policies: [p]}
scenario:
  - {event: start, target: t}
  - {event: start, target: t, set: {tier: lead}}
tests:
  - {name: gold gets in, event: start, target: t, expect: {verdict: permit, rules: [p/start/10]}}
  - {name: gold is turned away, event: start, target: t, expect: {verdict: deny}}
"""


def client(text=None, **more):
    """A client that was initialised, and the document if there is a text."""
    made = Client(ZAR)
    made.initialize(**more)
    return made if text is None else (made, made.open(text))


def ends_well(made):
    assert made.end() == 0, made.errors
    assert made.errors == "", made.errors


def whole(text):
    lines = text.split("\n")
    return {"start": {"line": 0, "character": 0}, "end": {"line": len(lines), "character": 0}}


def labels(made, uri, position):
    return [item["label"] for item in made.at("textDocument/completion", uri, position)["items"]]


# ---- The rules of the protocol ----


def requests_before_initialize_are_refused():
    made = Client(ZAR)
    assert made.refused("textDocument/hover", {})["code"] == NOT_INITIALIZED
    assert made.refused("shutdown", None)["code"] == NOT_INITIALIZED
    made.notify("textDocument/didOpen", {"textDocument": {"uri": "file:///a", "text": SMALL}})
    made.initialize()
    assert made.refused("textDocument/documentSymbol", {"textDocument": {"uri": "file:///a"}})["code"] == INVALID_PARAMS
    ends_well(made)


def only_what_is_there_is_announced():
    made = Client(ZAR)
    all_of_it = made.initialize()
    assert all_of_it["serverInfo"]["name"] == "zar"
    assert all_of_it["capabilities"]["positionEncoding"] == "utf-16"
    methods = {"hover": "hover", "definition": "definition", "references": "references", "completion": "completion",
               "documentSymbol": "documentSymbol", "documentFormatting": "formatting", "codeLens": "codeLens",
               "inlayHint": "inlayHint", "rename": "rename", "codeAction": "codeAction"}
    for name in methods:
        assert all_of_it["capabilities"][name + "Provider"], name
    for name in all_of_it["capabilities"]:
        if name.endswith("Provider") and name not in ("workspaceSymbolProvider", "executeCommandProvider"):
            method = "textDocument/" + methods[name[:-len("Provider")]]
            assert made.refused(method, {})["code"] == INVALID_PARAMS, method
    ends_well(made)
    plain = Client(ZAR)
    capabilities = plain.initialize(capabilities={})["capabilities"]
    assert "codeActionProvider" not in capabilities and capabilities["renameProvider"] is True
    ends_well(plain)


def unknown_methods_are_refused_and_unknown_notifications_ignored():
    made, uri = client(SMALL)
    for method in ("no/suchMethod", "$/noSuchRequest", "textDocument/signatureHelp"):
        assert made.refused(method, {})["code"] == METHOD_NOT_FOUND, method
    made.notify("$/setTrace", {"value": "off"})
    made.notify("no/suchNotification", [1])
    made.notify("$/cancelRequest", {"id": "never sent"})
    assert made.at("textDocument/hover", uri, position_of(SMALL, "match: first"))
    assert not [each for each in made.notifications if each["method"] == "window/logMessage"]
    ends_well(made)


def the_server_ends_with_0_only_after_shutdown():
    made = client()
    made.ask("shutdown", None)
    assert made.refused("textDocument/hover", {})["code"] == INVALID_REQUEST
    assert made.refused("shutdown", None)["code"] == INVALID_REQUEST
    made.notify("exit", None)
    assert made.wait() == 0
    made = client()
    made.notify("exit", None)
    assert made.wait() == 1
    assert client().wait() == 1, "the input ended without exit"
    made = Client(ZAR)
    made.notify("exit", None)
    assert made.wait() == 1


def initialize_is_accepted_once():
    made = client()
    assert made.refused("initialize", {"capabilities": {}})["code"] == INVALID_REQUEST
    ends_well(made)


def messages_that_are_none_are_answered():
    made = client()
    for body, code in ((b"{", PARSE_ERROR), (b"\xff\"", PARSE_ERROR), (b"[]", INVALID_REQUEST), (b"1", INVALID_REQUEST),
                       (b'{"jsonrpc": "1.0", "id": 1, "method": "x"}', INVALID_REQUEST),
                       (b'{"jsonrpc": "2.0", "id": {}, "method": "x"}', INVALID_REQUEST),
                       (b'{"jsonrpc": "2.0", "id": 1, "method": 7}', INVALID_REQUEST),
                       (b'{"jsonrpc": "2.0", "id": 1}', INVALID_REQUEST),
                       (b'{"jsonrpc": "2.0", "id": 1, "method": "x", "params": 7}', INVALID_REQUEST),
                       (b"[" * 5000 + b"]" * 5000, INVALID_REQUEST)):
        made.send_bytes(b"Content-Length: %d\r\n\r\n%b" % (len(body), body))
        message = made.read()
        assert message["error"]["code"] == code, (body[:60], message)
    ends_well(made)


def parameters_of_another_kind_are_refused():
    made, uri = client(SMALL)
    document = {"uri": uri}
    for params in (None, [], {}, {"textDocument": 7, "position": 1}, {"textDocument": document},
                   {"textDocument": document, "position": {"line": -1, "character": 0}},
                   {"textDocument": document, "position": {"line": 0, "character": "x"}},
                   {"textDocument": {"uri": "file:///closed"}, "position": {"line": 0, "character": 0}}):
        assert made.refused("textDocument/hover", params)["code"] == INVALID_PARAMS, params
    made.notify("textDocument/didChange", {"textDocument": document, "contentChanges": [{"range": 1, "text": "x"}]})
    logged = made.next_notification("window/logMessage")["message"]
    assert "'start' is missing" in logged, logged
    ends_well(made)


def heads_of_messages_may_come_in_pieces_and_in_any_case():
    made = client()
    body = b'{"jsonrpc": "2.0", "id": "a", "method": "workspace/symbol", "params": {"query": "x"}}'
    for piece in (b"content-type: application/vscode-jsonrpc; charset=utf-8\r\nconte", b"nt-length:  %d\r" % len(body),
                  b"\n\r\n" + body[:10], body[10:]):
        made.send_bytes(piece)
    assert made.response("a")["result"] == []
    ends_well(made)


def a_stream_that_is_no_protocol_ends_the_server():
    for data, complaint in ((b"hello\r\n\r\n", "the head of a message has the line \"hello\""),
                            (b"Content-Length: many\r\n\r\n", "is no number"),
                            (b"Content-Type: x\r\n\r\n", "has no Content-Length"),
                            (b"Content-Length: 99999999999\r\n\r\n", "at most 67108864 are accepted"),
                            (b"x" * 5000, "longer than 4096 bytes")):
        made = Client(ZAR)
        made.send_bytes(data)
        assert made.wait() == 1
        assert complaint in made.errors, (data[:60], made.errors)


def a_request_that_waits_can_be_cancelled():
    made, uri = client(SMALL)
    waiting = made.start("textDocument/codeLens", {"textDocument": {"uri": uri}})
    made.notify("$/cancelRequest", {"id": waiting})
    assert made.response(waiting)["error"]["code"] == CANCELLED
    ends_well(made)


def a_request_for_a_text_that_is_changed_meanwhile_fails():
    made, uri = client(SMALL)
    waiting = made.start("textDocument/inlayHint", {"textDocument": {"uri": uri}, "range": whole(SMALL)})
    made.change(uri, {"text": SMALL + "\n"})
    assert made.response(waiting)["error"]["code"] == MODIFIED
    waiting = made.start("textDocument/codeLens", {"textDocument": {"uri": uri}})
    made.notify("textDocument/didClose", {"textDocument": {"uri": uri}})
    assert made.response(waiting)["error"]["code"] == MODIFIED
    ends_well(made)


def a_closed_document_has_no_diagnostics():
    made, uri = client("nonsense: 1\n")
    assert made.diagnostics()
    made.notify("textDocument/didClose", {"textDocument": {"uri": uri}})
    assert made.diagnostics() == []
    ends_well(made)


# ---- Texts ----


def edits_keep_the_text_exactly():
    """Each edit is followed by the place of a name behind it, in a text with characters of all sizes."""
    text = "domains: {d: }\r\nclass-maps:\r\n  # 𝒜é漢 one\r\n  c: {filters: [{attribute: x, equals: '𝒜é'}, {attribute: y, present: true}]}\r\n"
    made, uri = client(text)

    def place_of_y():
        found = [each for each in made.ask("workspace/symbol", {"query": "c"}) if each["name"] == "c"]
        assert found, "the class-map is lost"
        marked = made.at("textDocument/references", uri, position_of(text, "attribute: y", 11), context={"includeDeclaration": True})
        return [slice_of(text, each["range"]) for each in marked]

    assert place_of_y() == ["y"]
    for old, new in (("𝒜é漢", "🙂🙂"), ("'𝒜é'", "'é𝒜𝒜'"), ("🙂🙂 one\r\n", "two\r\n  # three 𝒜\r\n"), ("x,", "longer-name,")):
        change = {"range": {"start": position_of(text, old), "end": position_of(text, old, len(old))}, "text": new}
        made.change(uri, change)
        text = text.replace(old, new, 1)
        assert place_of_y() == ["y"], text
    ends_well(made)


def positions_outside_of_the_text_are_moved_into_it():
    made, uri = client("")
    made.change(uri, {"range": {"start": {"line": 9, "character": 9}, "end": {"line": 99, "character": 0}}, "text": "domains: {𝒜: }\n"})
    assert "cannot be a domain's name" in made.diagnostics(lambda all: all and "domain" in all[0]["message"])[0]["message"]
    # Behind the end of the line, and between the two units of one character.
    made.change(uri, {"range": {"start": {"line": 0, "character": 12}, "end": {"line": 0, "character": 999}}, "text": " }"},
                {"range": {"start": {"line": 0, "character": 10}, "end": {"line": 0, "character": 11}}, "text": "d: "})
    names = [each["name"] for each in made.ask("workspace/symbol", {"query": ""})]
    assert names == ["d"], names
    ends_well(made)


def several_edits_in_a_message_follow_each_other():
    made, uri = client("domains: {a: }\n")
    made.change(uri, {"range": {"start": {"line": 0, "character": 10}, "end": {"line": 0, "character": 11}}, "text": "long-name"},
                {"range": {"start": {"line": 0, "character": 19}, "end": {"line": 0, "character": 19}}, "text": "-2"})
    assert [each["name"] for each in made.ask("workspace/symbol", {"query": ""})] == ["long-name-2"]
    ends_well(made)


def columns_are_counted_in_utf16():
    text = "domains: {d: }\nclass-maps: {c: {filters: [{attribute: '𝒜', equals: '🙂é'}, {attribut: x}]}}\n"
    made, uri = client(text)
    bad = made.diagnostics()
    assert [slice_of(text, each["range"]) for each in bad] == ["'𝒜'", "attribut"], bad
    ends_well(made)


# ---- Diagnostics ----


def what_check_and_lint_find_is_published():
    text = SMALL + "claims:\n  - {event: start, never-runs: silver}\n"
    text = text.replace("class: rest", "class: rst").replace("actions: [deny]", "action: [deny]")
    made, uri = client(text)
    bad = made.diagnostics()
    assert [slice_of(text, each["range"]) for each in bad if "action'" in each["message"] or "\"action\"" in each["message"]], bad
    text = SMALL.replace("  rest: {}", "  rest: {}\n  spare: {}\n  never: {filters: [{attribute: tier, equals: a}, {attribute: tier, equals: b}]}")
    made.change(uri, {"text": text})
    found = made.diagnostics(lambda all: any("code" in each for each in all))
    codes = {each["code"]: slice_of(text, each["range"]) for each in found}
    assert codes["unused-class"] in ("spare", "never") and codes["impossible-class"] == "never", codes
    assert all(each["source"] == "zar" and each["severity"] == 2 for each in found)
    ends_well(made)


def findings_show_the_places_that_they_are_based_on():
    text = SMALL.replace("class: gold, actions: [{set: {queue: fast}}, permit]", "class: rest, actions: [permit]").replace(
        "number: 20, class: rest", "number: 20, class: gold")
    made, uri = client(text)
    shadowed = [each for each in made.diagnostics(lambda all: all) if each.get("code") == "shadowed-rule"]
    assert len(shadowed) == 1 and shadowed[0]["range"]["start"]["line"] == text[:text.index("number: 20")].count("\n")
    related = shadowed[0]["relatedInformation"]
    assert related and related[0]["location"]["uri"] == uri
    assert slice_of(text, related[0]["location"]["range"])== "10", related
    ends_well(made)


def findings_move_with_the_text_until_they_are_found_again():
    text = SMALL.replace("  rest: {}", "  rest: {}\n  spare: {}")
    made, uri = client(text)
    made.diagnostics(lambda all: all)
    # Nothing is found again in a broken text.
    start = {"line": 0, "character": 0}
    made.change(uri, {"range": {"start": start, "end": start}, "text": "# 🙂\nnonsense: 1\n"})
    text = "# 🙂\nnonsense: 1\n" + text
    bad = made.diagnostics()
    assert [slice_of(text, each["range"]) for each in bad] == ["nonsense", "spare"], bad
    # An edit of the place itself takes the finding away.
    at = position_of(text, "spare", 2)
    made.change(uri, {"range": {"start": at, "end": at}, "text": "x"})
    assert len(made.diagnostics()) == 1
    ends_well(made)


def errors_show_the_place_that_they_repeat():
    text = SMALL.replace("number: 20", "number: 10")
    made, uri = client(text)
    bad = made.diagnostics()
    assert len(bad) == 1 and slice_of(text, bad[0]["range"]) == "10", bad
    first = bad[0]["relatedInformation"][0]["location"]["range"]
    assert first["start"] == position_of(text, "number: 10", 8) and slice_of(text, first) == "10", bad
    ends_well(made)


def a_mistake_away_from_the_edit_hides_only_its_own_line():
    text = SMALL.replace("class: rest, actions: [deny]}", "class: rest, actions: [deny")
    made, uri = client(text)
    made.diagnostics()
    # The edited line is sound in itself: what is wrong with its content is reported.
    made.change(uri, {"range": {"start": position_of(text, "equals: gold"), "end": position_of(text, "equals: gold", 6)}, "text": "equal"})
    messages = [each["message"] for each in made.diagnostics()]
    assert len(messages) == 2 and any("unknown key" in each and "equal" in each for each in messages), messages
    ends_well(made)


def the_rest_of_a_broken_file_is_checked():
    """A line that is being written hides nothing but itself."""
    text = SMALL.replace("class: rest, actions: [deny]}", "class: rest, actions: [deny")
    text = text.replace("policies: [p]", "policies: [q]").replace("match: first", "match: frist")
    made, uri = client(text)
    messages = [each["message"] for each in made.diagnostics()]
    assert any("never closed" in each for each in messages), messages
    assert any("'frist'" in each or "\"frist\"" in each for each in messages), messages
    # Both problems are still there without the broken line, and no others.
    assert len(messages) == 3 and any("policy-map 'q'" in each for each in messages), messages
    made.change(uri, {"text": text.replace("[deny", "[deny]}")})
    rest = [each["message"] for each in made.diagnostics()]
    assert rest == [each for each in messages if "never closed" not in each], rest
    ends_well(made)


def names_in_a_broken_line_are_not_reported_as_missing():
    text = SMALL.replace("  rest: {}", "  rest: {filters: [{attribute: x, ")
    made, uri = client(text)
    messages = [each["message"] for each in made.diagnostics()]
    assert len(messages) == 1, messages
    ends_well(made)


def a_new_edit_drops_the_study_of_the_old_text():
    made, uri = client(SMALL)
    for number in range(20):
        made.change(uri, {"text": SMALL + f"# {number}\n"})
    lenses = made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    assert lenses
    ends_well(made)


# ---- Completion ----


def completion_offers_what_may_stand_there():
    for before, expected, rest in (
            ("cla", {"class-maps", "claims"}, set()),
            ("class-maps:\n  c:\n    ", {"domain", "match", "filters"}, {"events"}),
            ("class-maps:\n  c:\n    match: ", {"all", "any", "none"}, {"domain"}),
            ("class-maps:\n  c:\n    match: all\n    fi", {"domain", "filters"}, {"match"}),
            ("class-maps:\n  c: {filters: [{att", {"attribute"}, {"number"}),
            ("class-maps:\n  c: {filters: [{attribute: ", {"tier", "queue"}, {"gold"}),
            ("class-maps:\n  c: {filters: [{attribute: x, equals: y, ", {"no-match"}, {"attribute", "equals", "prefix"}),
            ("class-maps:\n  c:\n    filters:\n      - attribute: x\n        ", {"regex", "range"}, {"attribute"}),
            ("class-maps:\n  c:\n    filters:\n    - attribute: x\n      ", {"regex", "range"}, {"attribute"}),
            ("policy-maps:\n  q: {events: {", {"start"}, {"match"}),
            ("policy-maps:\n  q:\n    events:\n      e:\n        rules:\n          - {number: 1, class: g", {"gold", "rest"}, {"p"}),
            ("policy-maps:\n  q:\n    events:\n      e:\n        rules:\n          - number: 1\n            class: ", {"gold", "rest"}, set()),
            ("policy-maps:\n  q:\n    events:\n      e:\n        rules:\n          - number: 1\n            actions:\n              - ",
             {"permit", "deny", "set", "raise", "apply"}, {"class"}),
            ("policy-maps:\n  q: {events: {e: {rules: [{number: 1, actions: [{raise: ", {"start"}, {"gold"}),
            ("targets:\n  u: {policies: [", {"p"}, {"gold"}),
            ("scenario:\n  - {event: start, target: ", {"t"}, {"p"}),
            ("tests:\n  - {event: start, target: t, expect: {verdict: ", {"permit", "deny", "none"}, set()),
            ("tests:\n  - {event: start, target: t, expect: {rules: [", {"p/start/10", "gold"}, set()),
            ("class-maps:\n  # zar: ignore unused", {"unused-class", "unused-parameter-map"}, set())):
        section = before.split(":")[0]
        text = before + "\n" + "\n".join(block for block in re.split(r"\n(?=\S)", SMALL) if not block.startswith(section + ":"))
        names = SMALL
        made, uri = client(names)
        made.diagnostics()
        made.change(uri, {"text": text})
        last = before.split("\n")
        got = set(labels(made, uri, {"line": len(last) - 1, "character": len(last[-1])}))
        assert expected <= got and not rest & got, (before, got)
        ends_well(made)


def completion_offers_nothing_where_anything_may_stand():
    for before in ("# cla", "class-maps:\n  g", "class-maps:\n  c: {filters: [{attribute: x, equals: "):
        made, uri = client(before)
        last = before.split("\n")
        assert labels(made, uri, {"line": len(last) - 1, "character": len(last[-1])}) == [], before
        ends_well(made)


def a_completion_replaces_the_word_before_it():
    text = SMALL.replace("class: gold", "class: go")
    made, uri = client(text)
    at = position_of(text, "class: go", len("class: go"))
    items = made.at("textDocument/completion", uri, at)["items"]
    gold = next(item for item in items if item["label"] == "gold")
    assert applied(text, [gold["textEdit"]]) == SMALL
    ends_well(made)


def names_stay_known_while_the_text_is_broken():
    made, uri = client(SMALL)
    made.diagnostics()
    text = SMALL + "}}} {{{\n  - ]\nscenario: [{target: "
    made.change(uri, {"text": text})
    lines = text.split("\n")
    assert labels(made, uri, {"line": len(lines) - 1, "character": len(lines[-1])}) == ["t"]
    ends_well(made)


# ---- Names ----


def hover_shows_what_an_object_does_and_who_uses_it():
    made, uri = client(BROADBAND)
    for mark, offset, expected in (
            ("class: barred", 8, ["match account-state equals closed", "used by: authorisation/authorise/10"]),
            ("raise: authorise", 8, ["handled by: authorisation (decides permit or deny)", "raised by: rule service/session-start/10"]),
            ("event: session-start", 8, ["reaches the events: authorise", "reaches the parameter-maps: service-profiles"]),
            ("attribute: unpaid-months", 12, ["tested by: class-map barred"]),
            ("  service:\n    events", 3, ["active on: line-0101, line-0102, line-0103"]),
            ("target: line-0102", 9, ["line-0102"])):
        value = made.at("textDocument/hover", uri, position_of(BROADBAND, mark, offset))["contents"]["value"]
        for text in expected:
            assert text in value, (mark, value)
    ends_well(made)


def hover_on_a_key_shows_the_manual():
    manual = re.sub(r"\s+", " ", (pathlib.Path(SOURCE) / "docs/man/zar-policy.5.scd").read_text())
    made, uri = client(BROADBAND)
    for mark, sentence in (("regex:", "The RE2 expression matches somewhere in the value."),
                           ("range: {max", "The value is a whole number within both limits"),
                           ("match: any", "All filters must match (the default), or any one, or none."),
                           ("raise:", "Raises another event on the same target"),
                           ("verdict: deny", "The verdict."),
                           ("execute:", "Rules run in the order of their numbers."),
                           ("targets:", "Subscribers and interfaces")):
        value = made.at("textDocument/hover", uri, position_of(BROADBAND, mark, 2))["contents"]["value"]
        assert sentence in re.sub(r"[*\s]+", " ", value).replace(" .", "."), (mark, value)
        assert sentence in re.sub(r"[*]", "", manual), sentence
    assert made.at("textDocument/hover", uri, position_of(BROADBAND, "# Broadband")) is None
    ends_well(made)


def hover_works_while_the_text_is_broken():
    made, uri = client(SMALL)
    made.diagnostics()
    text = SMALL.replace("class: rest, actions: [deny]}", "class: rest, act")
    made.change(uri, {"text": text})
    value = made.at("textDocument/hover", uri, position_of(text, "class: gold", 8))["contents"]["value"]
    assert "match tier equals gold" in value, value
    ends_well(made)


def editors_without_markdown_get_plain_texts():
    made, uri = client(SMALL, capabilities={"textDocument": {}})
    contents = made.at("textDocument/hover", uri, position_of(SMALL, "class: gold", 8))["contents"]
    assert contents["kind"] == "plaintext" and "`" not in contents["value"], contents
    flat = made.ask("textDocument/documentSymbol", {"textDocument": {"uri": uri}})
    assert all("location" in each and "children" not in each for each in flat)
    ends_well(made)


def a_name_leads_to_its_definition_and_its_uses():
    made, uri = client(BROADBAND)
    for mark, offset, name, definition, uses in (
            ("class: barred", 8, "barred", "  barred:\n    match", 2),
            ("raise: authorise", 8, "authorise", "      authorise:\n", 4),
            ("apply: service-profiles", 8, "service-profiles", "  service-profiles:\n", 1),
            ("owner: access", 8, "access", "  access: {database", 4),
            ("event: authorise\n", 8, "authorise", "      authorise:\n", 4)):
        at = position_of(BROADBAND, mark, offset)
        found = made.at("textDocument/definition", uri, at)
        assert [slice_of(BROADBAND, each["range"]) for each in found] == [name], (mark, found)
        expected = position_of(BROADBAND, definition, len(definition) - len(definition.lstrip()))
        assert found[0]["range"]["start"] == expected, (mark, found)
        others = made.at("textDocument/references", uri, at, context={"includeDeclaration": False})
        assert len(others) == uses and {slice_of(BROADBAND, each["range"]) for each in others} == {name}, (mark, len(others))
    # Each name is as often there as a search for the word finds it; rules in tests name their policy-map and event too.
    everywhere = made.at("textDocument/references", uri, position_of(BROADBAND, "raise: authorise", 8), context={"includeDeclaration": True})
    without_comments = re.sub(r"#.*", "", BROADBAND)
    assert len(everywhere) == len(re.findall(r"(?<![\w-])authorise(?![\w-])", without_comments))
    ends_well(made)


def claims_show_whether_they_hold():
    claims = """\
claims:
  - {name: lead stays out, event: start, policies: [p], when: [{attribute: tier, equals: lead}], never: permit}
  - {name: all stay out, event: start, policies: [p], never: permit}
"""
    made, uri = client(SMALL + claims)
    lenses = made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    first = (SMALL + claims).splitlines().index(claims.splitlines()[1])
    shown = [each["command"]["title"] for each in lenses if each["range"]["start"]["line"] >= first]
    assert len(shown) == 2 and shown[0] == "proved", shown
    assert shown[1] == "refuted; the verdict is permit; for example: tier is gold", shown
    ends_well(made)


def a_rule_in_a_test_leads_to_the_rule():
    made, uri = client(SMALL)
    found = made.at("textDocument/definition", uri, position_of(SMALL, "p/start/10", 9))
    assert slice_of(SMALL, found[0]["range"]) == "10" and found[0]["range"]["start"] == position_of(SMALL, "number: 10", 8)
    ends_well(made)


def a_rename_edits_every_use():
    made, uri = client(BROADBAND)
    for mark, offset, old, new in (("class: barred", 8, "barred", "locked-out"), ("raise: authorise", 8, "authorise", "let-in"),
                                   ("target: line-0102", 9, "line-0102", "port:7@x"), ("attribute: unpaid-months", 12, "unpaid-months", "debts"),
                                   ("policies: [authorisation", 12, "authorisation", "entry"), ("owner: access", 8, "access", "edge")):
        at = position_of(BROADBAND, mark, offset)
        place = made.at("textDocument/prepareRename", uri, at)
        assert place["placeholder"] == old and slice_of(BROADBAND, place["range"]) == old
        edits = made.at("textDocument/rename", uri, at, newName=new)["changes"][uri]
        assert {slice_of(BROADBAND, each["range"]) for each in edits} == {old}
        text = applied(BROADBAND, edits)
        other = made.open(text, "file:///policies/other.yaml")
        assert made.at("textDocument/references", other, position_of(text, mark.replace(old, new), offset),
                       context={"includeDeclaration": True}).__len__() == len(edits)
        # The renamed file is as good as the first, and its tests pass.
        lenses = made.ask("textDocument/codeLens", {"textDocument": {"uri": other}})
        results = [each["command"]["title"] for each in lenses if each["command"]["command"] == "zar.runTest"]
        assert len(results) == 14 and set(results) == {"run this test: passed"}, results
        made.notify("textDocument/didClose", {"textDocument": {"uri": other}})
    ends_well(made)


def a_test_can_get_any_name_that_needs_no_quotes():
    made, uri = client(SMALL)
    at = position_of(SMALL, "gold gets in")
    edits = made.at("textDocument/rename", uri, at, newName="gold is let in")["changes"][uri]
    assert applied(SMALL, edits) == SMALL.replace("gold gets in", "gold is let in")
    error = made.refused("textDocument/rename", {"textDocument": {"uri": uri}, "position": at, "newName": "gold, silver"})
    assert "would mean something else" in error["message"], error
    ends_well(made)


def a_rename_that_cannot_be_complete_edits_nothing():
    made, uri = client(SMALL)
    gold = position_of(SMALL, "class: gold", 8)
    for new, why in (("rest", "there is a class-map 'rest' already"), ("a b", "cannot be the name of a class-map"),
                     ("", "cannot be the name"), ("null", "would mean something else"), ("x" * 64, "cannot be the name")):
        error = made.refused("textDocument/rename", {"textDocument": {"uri": uri}, "position": gold, "newName": new})
        assert error["code"] == FAILED and why in error["message"], (new, error)
    for mark, why in (("10, class", "a rule is named by"), ("first", "there is no name here")):
        error = made.refused("textDocument/prepareRename", {"textDocument": {"uri": uri}, "position": position_of(SMALL, mark)})
        assert error["code"] == FAILED and why in error["message"], error
    escaped = SMALL.replace("class: gold", 'class: "g\\x6fld"')
    made.change(uri, {"text": escaped})
    error = made.refused("textDocument/rename", {"textDocument": {"uri": uri}, "position": position_of(escaped, "gold: {"), "newName": "x"})
    assert "line 11 writes the name with escapes" in error["message"], error
    made.change(uri, {"text": SMALL + "nonsense: 1\n"})
    error = made.refused("textDocument/rename", {"textDocument": {"uri": uri}, "position": gold, "newName": "x"})
    assert "the file has errors" in error["message"], error
    ends_well(made)


def symbols_of_a_document_are_nested():
    made, uri = client(SMALL)

    def names(symbols):
        return [(each["name"], names(each.get("children", []))) for each in symbols]

    symbols = made.ask("textDocument/documentSymbol", {"textDocument": {"uri": uri}})
    assert names(symbols) == [
        ("domains", [("d", [])]),
        ("class-maps", [("gold", []), ("rest", [])]),
        ("policy-maps", [("p", [("start", [("10 gold", []), ("20 rest", [])])])]),
        ("targets", [("t", [])]),
        ("scenario", [("start@t", []), ("start@t", [])]),
        ("tests", [("gold gets in", []), ("gold is turned away", [])]),
    ], names(symbols)

    def check(symbols, outer):
        for each in symbols:
            span, name = each["range"], each["selectionRange"]
            key = lambda point: (point["line"], point["character"])
            assert key(outer["start"]) <= key(span["start"]) <= key(name["start"]) <= key(name["end"]) <= key(span["end"]) <= key(outer["end"])
            check(each.get("children", []), span)

    check(symbols, whole(SMALL))
    ends_well(made)


def symbols_of_a_folder_are_those_of_its_policies():
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        (root / "a b").mkdir()
        (root / "a b/inner.yaml").write_text(SMALL)
        (root / "open.yaml").write_text(SMALL.replace("gold", "silver"))
        (root / "bad.yaml").write_text(SMALL + "nonsense: 1\n")
        (root / "notes.txt").write_text(SMALL)
        (root / ".hidden").mkdir()
        (root / ".hidden/other.yaml").write_text(SMALL)
        made = client(rootUri=root.as_uri())
        found = made.ask("workspace/symbol", {"query": "GOLD"})
        inner = (root / "a b/inner.yaml").as_uri()
        assert {each["location"]["uri"] for each in found} == {inner}, found
        assert {each["name"] for each in found} == {"gold", "10 gold", "gold gets in", "gold is turned away"}, found
        # The text of the editor counts, not that of the file.
        made.open(SMALL.replace("gold", "golden"), (root / "open.yaml").as_uri())
        found = made.ask("workspace/symbol", {"query": "golden"})
        assert {each["location"]["uri"] for each in found} == {(root / "open.yaml").as_uri()}
        (root / "a b/inner.yaml").unlink()
        assert made.ask("workspace/symbol", {"query": "10 gold"})[0]["name"] == "10 golden"
        ends_well(made)


# ---- Changes ----


def actions_at(made, uri, text, mark, **context):
    at = position_of(text, mark)
    return made.ask("textDocument/codeAction", {"textDocument": {"uri": uri}, "range": {"start": at, "end": at},
                                                "context": {"diagnostics": [], **context}})


def a_suggestion_can_be_applied():
    text = SMALL.replace("class: gold", "class: glod")
    made, uri = client(text)
    made.diagnostics()
    actions = actions_at(made, uri, text, "glod")
    assert [each["title"] for each in actions] == ["Change to 'gold'", "Add the class-map 'glod'"], actions
    assert actions[0]["isPreferred"] and applied(text, actions[0]["edit"]["changes"][uri]) == SMALL
    assert actions_at(made, uri, text, "glod", only=["refactor"]) == []
    ends_well(made)


def a_missing_class_can_be_added():
    block = SMALL.replace("class: rest", "class: other")
    flow = re.sub(r"class-maps:\n.*\n.*\n", "class-maps: {gold: {}, rest: {}}\n", block)
    none = re.sub(r"class-maps:\n.*\n.*\n", "", SMALL.replace("class: rest", "class: gold", 1).replace("class: gold, actions: [{set: {queue: fast}}, permit]", "class: rest, actions: [permit]"))
    for text, mark, line in ((block, "other", "  other: {filters: []}\n"), (flow, "other", "class-maps: {other: {filters: []}, gold: {}, rest: {}}\n"),
                             (none, "rest, actions", "class-maps:\n  rest: {filters: []}\npolicy-maps:\n")):
        made, uri = client(text)
        made.diagnostics()
        action = next(each for each in actions_at(made, uri, text, mark) if each["title"].startswith("Add the class-map"))
        assert line in applied(text, action["edit"]["changes"][uri]), applied(text, action["edit"]["changes"][uri])
        ends_well(made)


def what_nothing_uses_can_be_removed_and_ignored():
    text = SMALL.replace("  rest: {}\n", "  rest: {}\n  spare:\n    match: any\n    filters:\n      - {attribute: tier, equals: x}\n\n")
    made, uri = client(text)
    made.diagnostics(lambda all: all)
    actions = {each["title"]: applied(text, each["edit"]["changes"][uri]) for each in actions_at(made, uri, text, "spare:")}
    assert actions["Remove the class-map 'spare'"] == SMALL.replace("  rest: {}\n", "  rest: {}\n\n"), actions
    ignored = actions["Ignore this unused-class"]
    assert "  # zar: ignore unused-class: say why it may stay\n  spare:" in ignored
    made.change(uri, {"text": ignored})
    made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    made.notifications.clear()
    made.change(uri, {"text": ignored + "\n"})
    made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    assert all(not each["params"]["diagnostics"] for each in made.notifications if "diagnostics" in each["params"])
    # A line that holds more than the object is not removed.
    flow = re.sub(r"class-maps:\n.*\n.*\n", "class-maps: {gold: {}, rest: {}, spare: {}}\n", SMALL)
    made.change(uri, {"text": flow})
    made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    assert [each["title"] for each in actions_at(made, uri, flow, "spare:")] == ["Ignore this unused-class"]
    statement = "{index: 1, filters: [{attribute: tier, present: true}], actions: [permit]}"
    two = SMALL + f"parameter-maps:\n  {{m1: {{statements: [{statement}]}}, m2: {{statements: [{statement}]}}}}\n"
    made.change(uri, {"text": two})
    made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    assert [each["title"] for each in actions_at(made, uri, two, "m1:")] == ["Ignore this unused-parameter-map"]
    ends_well(made)


def formatting_is_that_of_fmt():
    import subprocess
    text = SMALL.replace("class-maps:\n  gold: {", "class-maps:\n      gold:   {").replace("  rest: {}", "      rest:    {}   # all the others")
    made, uri = client(text)
    options = {"tabSize": 2, "insertSpaces": True}
    edits = made.ask("textDocument/formatting", {"textDocument": {"uri": uri}, "options": options})
    expected = subprocess.run([ZAR, "fmt", "-"], input=text, capture_output=True, text=True, check=True).stdout
    assert applied(text, edits) == expected != text
    made.change(uri, {"text": expected})
    assert made.ask("textDocument/formatting", {"textDocument": {"uri": uri}, "options": options}) == []
    made.change(uri, {"text": "x: ["})
    error = made.refused("textDocument/formatting", {"textDocument": {"uri": uri}, "options": options})
    assert error["code"] == FAILED and "the file has errors" in error["message"]
    ends_well(made)


# ---- What the policies do ----


def lenses_show_what_the_scenario_and_the_tests_do():
    made, uri = client(SMALL)
    lenses = made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}})
    lines = SMALL.split("\n")
    shown = [(lines[each["range"]["start"]["line"]].strip(), each["command"]["title"]) for each in lenses]
    assert shown[0] == ("start:", "scenario: 2 hits: 1 permit, 1 deny"), shown
    assert [title for _, title in shown[1:3]] == ["permit", "deny"], shown
    assert [title for _, title in shown[3:]] == ["run this test: passed",
                                                 "run this test: failed in step 1; verdict: expected deny, but got permit"], shown
    assert lenses[3]["command"]["command"] == "zar.runTest" and lenses[3]["command"]["arguments"] == [uri, "gold gets in"]
    made.change(uri, {"text": "x: ["})
    assert made.ask("textDocument/codeLens", {"textDocument": {"uri": uri}}) == []
    ends_well(made)


def a_lens_runs_its_test():
    made, uri = client(SMALL)
    for name, passed in (("gold gets in", True), ("gold is turned away", False), ("gold gets in", True)):
        result = made.ask("workspace/executeCommand", {"command": "zar.runTest", "arguments": [uri, name]})
        assert result["passed"] is passed, result
        message = made.next_notification("window/showMessage")
        assert message["type"] == (3 if passed else 1) and name in message["message"], message
    error = made.refused("workspace/executeCommand", {"command": "zar.runTest", "arguments": [uri, "no such"]})
    assert error["code"] == FAILED and "there is no test \"no such\"" in error["message"], error
    assert made.refused("workspace/executeCommand", {"command": "rm", "arguments": []})["code"] == INVALID_PARAMS
    ends_well(made)


def hints_show_hits_and_what_an_event_decides():
    made, uri = client(SMALL)
    hints = made.ask("textDocument/inlayHint", {"textDocument": {"uri": uri}, "range": whole(SMALL)})
    lines = SMALL.split("\n")
    shown = [(lines[each["position"]["line"]].strip()[:12], each["label"]) for each in hints]
    assert shown == [("start:", "decides permit or deny"), ("- {number: 1", "1 hit"), ("- {number: 2", "1 hit")], shown
    assert all(each["position"]["character"] == len(lines[each["position"]["line"]]) for each in hints)
    part = {"start": {"line": 0, "character": 0}, "end": position_of(SMALL, "rules:")}
    assert len(made.ask("textDocument/inlayHint", {"textDocument": {"uri": uri}, "range": part})) == 1
    ends_well(made)


def large_policies_are_answered():
    """The longest example of a file: 5,000 rules."""
    rules = "".join(f"          - {{number: {1 + number}, class: c{number}, actions: [permit]}}\n" for number in range(250))
    text = "domains: {d: }\nclass-maps:\n" + "".join(f"  c{number}: {{filters: [{{attribute: a, equals: v{number}}}]}}\n" for number in range(250))
    text += "policy-maps:\n" + "".join(f"  p{number}:\n    events:\n      e:\n        rules:\n{rules}" for number in range(20))
    text += "targets:\n  t: {policies: [p0]}\n"
    made, uri = client(text)
    assert made.diagnostics() == []
    mark = "- {number: 250, class: c24"
    for character in "abc":
        at = position_of(text, mark, len(mark))
        made.change(uri, {"range": {"start": at, "end": at}, "text": character})
        text = text.replace(mark, mark + character, 1)
        mark += character
        got = labels(made, uri, position_of(text, mark, len(mark)))
        assert len(got) == 250, len(got)
    messages = [each["message"] for each in made.diagnostics(lambda all: all)]
    assert len(messages) == 1 and "class-map 'c24abc9'" in messages[0], messages
    ends_well(made)


GROUPS = {
    "protocol": [requests_before_initialize_are_refused, only_what_is_there_is_announced,
                 unknown_methods_are_refused_and_unknown_notifications_ignored, the_server_ends_with_0_only_after_shutdown,
                 initialize_is_accepted_once, messages_that_are_none_are_answered, parameters_of_another_kind_are_refused,
                 heads_of_messages_may_come_in_pieces_and_in_any_case, a_stream_that_is_no_protocol_ends_the_server,
                 a_request_that_waits_can_be_cancelled, a_request_for_a_text_that_is_changed_meanwhile_fails,
                 a_closed_document_has_no_diagnostics],
    "texts": [edits_keep_the_text_exactly, positions_outside_of_the_text_are_moved_into_it,
              several_edits_in_a_message_follow_each_other, columns_are_counted_in_utf16, large_policies_are_answered],
    "diagnostics": [what_check_and_lint_find_is_published, findings_show_the_places_that_they_are_based_on,
                    findings_move_with_the_text_until_they_are_found_again,
                    errors_show_the_place_that_they_repeat, a_mistake_away_from_the_edit_hides_only_its_own_line,
                    the_rest_of_a_broken_file_is_checked, names_in_a_broken_line_are_not_reported_as_missing,
                    a_new_edit_drops_the_study_of_the_old_text],
    "completion": [completion_offers_what_may_stand_there, completion_offers_nothing_where_anything_may_stand,
                   a_completion_replaces_the_word_before_it, names_stay_known_while_the_text_is_broken],
    "names": [hover_shows_what_an_object_does_and_who_uses_it, hover_on_a_key_shows_the_manual,
              hover_works_while_the_text_is_broken, editors_without_markdown_get_plain_texts,
              a_name_leads_to_its_definition_and_its_uses, a_rule_in_a_test_leads_to_the_rule, a_rename_edits_every_use,
              a_test_can_get_any_name_that_needs_no_quotes,
              a_rename_that_cannot_be_complete_edits_nothing, symbols_of_a_document_are_nested,
              symbols_of_a_folder_are_those_of_its_policies],
    "changes": [a_suggestion_can_be_applied, a_missing_class_can_be_added, what_nothing_uses_can_be_removed_and_ignored,
                formatting_is_that_of_fmt],
    "runs": [lenses_show_what_the_scenario_and_the_tests_do, a_lens_runs_its_test, claims_show_whether_they_hold, hints_show_hits_and_what_an_event_decides],
}

if __name__ == "__main__":
    import traceback
    failed = 0
    for test in GROUPS[GROUP]:
        try:
            test()
        except Exception:
            failed += 1
            print(f"{test.__name__} failed:")
            traceback.print_exc(limit=3)
    sys.exit(1 if failed else 0)
