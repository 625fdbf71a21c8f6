// The section of a policy file about tests.
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator {

std::vector<ExpectedValue> read_expected_values(const Reader &reader, const yaml::Node &node) {
  std::vector<ExpectedValue> values;
  reader.named(node, "an attribute's name", NameKind::map, [&](Name name, const yaml::Node &body) {
    ExpectedValue value{.attribute = std::move(name)};
    if (body.kind != yaml::Kind::null) {
      const std::optional<Name> text = reader.text(body, "an attribute's value");
      if (!text) return;
      value.text = text->value;
    }
    values.push_back(std::move(value));
  });
  return values;
}

std::optional<Name> read_verdict(const Reader &reader, const yaml::Node &node) {
  const std::optional<const char *> verdict =
      reader.choice<const char *>(node, "a verdict", {{"permit", "permit"}, {"deny", "deny"}, {"none", "none"}});
  return verdict ? std::optional(Name{*verdict, node.position}) : std::nullopt;
}

namespace {

std::vector<Name> read_texts(const Reader &reader, const yaml::Node &node, std::string_view list,
                             std::string_view item_is) {
  std::vector<Name> texts;
  reader.list(node, list, [&](const yaml::Node &item) {
    if (std::optional<Name> text = reader.text(item, item_is)) texts.push_back(std::move(*text));
  });
  return texts;
}

Expectation read_expectation(const Reader &reader, const yaml::Node &node) {
  Expectation expect;
  const size_t before = reader.diagnostics().count();
  const Fields fields(node, "what a test expects", {"rules", "attributes", "verdict", "log"}, reader.diagnostics());
  const yaml::Node *rules = fields.find("rules");
  const yaml::Node *attributes = fields.find("attributes");
  const yaml::Node *verdict = fields.find("verdict");
  const yaml::Node *log = fields.find("log");
  if (rules) expect.rules = read_texts(reader, *rules, "the list of rules", "a rule's name");
  if (attributes) expect.attributes = read_expected_values(reader, *attributes);
  if (verdict) expect.verdict = read_verdict(reader, *verdict);
  if (log) expect.log = read_texts(reader, *log, "the list of logged texts", "a text to log");
  const bool nothing = !rules && expect.attributes.empty() && !verdict && !log;
  if (nothing && reader.diagnostics().count() == before) {
    reader.diagnostics().add(node.position, "a test that expects nothing", "one of rules, attributes, verdict, log");
  }
  return expect;
}

// The keys of a test that is a single event.
void read_only_step(const Reader &reader, const Fields &fields, Position position, Test &test) {
  TestStep only{.step = read_step(reader, fields, position)};
  if (const yaml::Node *expect = fields.require("expect")) only.expect = read_expectation(reader, *expect);
  test.steps.push_back(std::move(only));
}

// A step that expects nothing prepares the next ones.
void read_steps(const Reader &reader, const yaml::Node &steps, Test &test) {
  const size_t before = reader.diagnostics().count();
  bool expects = false;
  reader.list(steps, "the list of a test's steps", [&](const yaml::Node &item) {
    const Fields fields(item, "a step of a test", {"event", "target", "set", "clear", "expect"}, reader.diagnostics());
    TestStep step{.step = read_step(reader, fields, item.position)};
    const yaml::Node *expect = fields.find("expect");
    if (expect) step.expect = read_expectation(reader, *expect);
    expects |= expect != nullptr;
    test.steps.push_back(std::move(step));
  });
  if (!expects && reader.diagnostics().count() == before) {
    reader.diagnostics().add(steps.position, "a test that expects nothing", "the key expect in one of its steps");
  }
}

// A test with steps has everything else in them.
void check_keys_beside_steps(const Reader &reader, const Fields &fields) {
  for (const char *key : {"event", "target", "set", "clear", "expect"}) {
    if (const yaml::Node *value = fields.find(key)) {
      reader.diagnostics().add(value->position, concat("a test with both 'steps' and '", key, "'"),
                               concat("the key ", key, " in the steps"));
    }
  }
}

}  // namespace

void read_tests(const Reader &reader, const yaml::Node &node, PolicyFile &file) {
  reader.list(node, "the list of tests", [&](const yaml::Node &item) {
    const Fields fields(item, "a test", {"name", "event", "target", "set", "clear", "expect", "steps"},
                        reader.diagnostics());
    Test test{.name = {concat("test ", file.tests.size() + 1), item.position}};
    if (const yaml::Node *name = fields.find("name")) {
      test.name = reader.text(*name, "a test's name").value_or(Name{"", name->position});
    }
    if (const yaml::Node *steps = fields.find("steps")) {
      check_keys_beside_steps(reader, fields);
      read_steps(reader, *steps, test);
    } else {
      read_only_step(reader, fields, item.position, test);
    }
    file.tests.push_back(std::move(test));
  });
}

}  // namespace simulator
