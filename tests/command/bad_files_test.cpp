// The errors that the check reports for bad files: one case for each kind of error, with the whole text compared.
#include <algorithm>

#include "runner.h"

namespace {

using test::Result;
using test::run_zar;

struct Bad {
  const char *name;
  std::string file;
  std::string errors;
};

// How the test framework prints a case.
void PrintTo(const Bad &bad, std::ostream *out) {
  *out << bad.name;
}

class BadFiles : public testing::TestWithParam<Bad> {};

TEST_P(BadFiles, AreReportedWithPlaceLineAndExpectation) {
  const Result result = run_zar({"check", "-"}, GetParam().file);
  EXPECT_EQ(result.err, GetParam().errors);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.code, 65);
}

const Bad kYaml[] = {
    {"Empty", "",
     "<stdin>:1:1: error: the file is empty\n"
     "  expected: a mapping with clients, domains, class-maps, policy-maps, ...\n"},
    {"OnlyComments", "# nothing\n",
     "<stdin>:1:1: error: the file is empty\n"
     "  1 | # nothing\n"
     "    | ^\n"
     "  expected: a mapping with clients, domains, class-maps, policy-maps, ...\n"},
    {"NothingInADocument", "---\n# nothing\n...\n",
     "<stdin>:1:1: error: the file is empty\n"
     "  1 | ---\n"
     "    | ^\n"
     "  expected: a mapping with clients, domains, class-maps, policy-maps, ...\n"},
    {"Null", "~\n",
     "<stdin>:1:1: error: the file is empty\n"
     "  1 | ~\n"
     "    | ^\n"
     "  expected: a mapping with clients, domains, class-maps, policy-maps, ...\n"},
    {"TwoDocuments", "--- {}\n--- {}\n",
     "<stdin>:2:1: error: a second document in the file\n"
     "  2 | --- {}\n"
     "    | ^\n"
     "  expected: one document\n"},
    {"NotYaml", "clients: [a\ndomains: {}\n",
     "<stdin>:1:10: error: not YAML: this '[' is never closed\n"
     "  1 | clients: [a\n"
     "    |          ^\n"
     "  expected: ']' after the last item\n"},
    {"Tab", "clients:\n\ta: {}\n",
     "<stdin>:2:1: error: not YAML: a tab in the indentation\n"
     "  2 |  a: {}\n"
     "    | ^\n"
     "  expected: spaces\n"},
    {"UnknownAnchor", "clients: *nobody\n",
     "<stdin>:1:10: error: not YAML: an alias whose anchor is not defined\n"
     "  1 | clients: *nobody\n"
     "    |          ^\n"
     "  expected: '&' with the same name before a value further up, or quotes around the text\n"},
    {"Tag", "clients: !!str a\n",
     "<stdin>:1:10: error: the tag tag:yaml.org,2002:str\n"
     "  1 | clients: !!str a\n"
     "    |          ^\n"
     "  expected: no tags\n"},
    {"NoMapping", "- clients\n",
     "<stdin>:1:1: error: a policy file is a list\n"
     "  1 | - clients\n"
     "    | ^\n"
     "  expected: a mapping with one of the keys clients, domains, class-maps, policy-maps, parameter-maps, targets, "
     "scenario, tests, claims\n"},
    {"UnknownKey", "clients: {aaa: {databse: own}}\n",
     "<stdin>:1:17: error: unknown key 'databse' in a client\n"
     "  1 | clients: {aaa: {databse: own}}\n"
     "    |                 ^\n"
     "  expected: the key database\n"
     "  did you mean 'database'?\n"},
    {"UnknownKeyUnlikeAnyOther", "xyzzy: {}\n",
     "<stdin>:1:1: error: unknown key 'xyzzy' in a policy file\n"
     "  1 | xyzzy: {}\n"
     "    | ^\n"
     "  expected: one of the keys clients, domains, class-maps, policy-maps, parameter-maps, targets, scenario, "
     "tests, claims\n"},
    {"DuplicateKey", "clients: {}\nclients: {}\n",
     "<stdin>:2:1: error: duplicate key 'clients' in a policy file\n"
     "  2 | clients: {}\n"
     "    | ^\n"
     "  expected: each key once\n"},
    {"KeyThatIsNoText", "clients: {aaa: {[a]: b}}\n",
     "<stdin>:1:17: error: a key of a client is a list\n"
     "  1 | clients: {aaa: {[a]: b}}\n"
     "    |                 ^\n"
     "  expected: the key database\n"},
    {"MissingKey", "policy-maps: {p: {domain: d}}\ndomains: {d: }\n",
     "<stdin>:1:18: error: a policy-map has no 'events'\n"
     "  1 | policy-maps: {p: {domain: d}}\n"
     "    |                  ^\n"
     "  expected: the key events\n"},
    {"ListInsteadOfMapping", "clients: [aaa]\n",
     "<stdin>:1:10: error: what stands here is a list\n"
     "  1 | clients: [aaa]\n"
     "    |          ^\n"
     "  expected: a mapping from a client's name to what belongs to it\n"},
    {"MappingInsteadOfList", "scenario: {event: e}\n",
     "<stdin>:1:11: error: the scenario is a mapping\n"
     "  1 | scenario: {event: e}\n"
     "    |           ^\n"
     "  expected: a list\n"},
    {"ListInsteadOfValue", "clients: {aaa: {database: [own]}}\n",
     "<stdin>:1:27: error: a database is a list\n"
     "  1 | clients: {aaa: {database: [own]}}\n"
     "    |                           ^\n"
     "  expected: a single value\n"},
    {"NothingInsteadOfValue", "clients:\n  aaa:\n    database:\n",
     "<stdin>:3:5: error: a database is nothing\n"
     "  3 |     database:\n"
     "    |     ^\n"
     "  expected: a single value\n"},
    {"OtherWord", "clients: {aaa: {database: owm}}\n",
     "<stdin>:1:27: error: 'owm' cannot be a database\n"
     "  1 | clients: {aaa: {database: owm}}\n"
     "    |                           ^\n"
     "  expected: one of own, default\n"
     "  did you mean 'own'?\n"},
    {"BadName", "clients: {a:b: {}}\n",
     "<stdin>:1:11: error: 'a:b' cannot be a client's name\n"
     "  1 | clients: {a:b: {}}\n"
     "    |           ^\n"
     "  expected: 1 to 63 letters, digits and _-./+\n"},
    {"LongName", "domains: {d23456789012345678901234567890123: {}}\n",
     "<stdin>:1:11: error: 'd23456789012345678901234567890123' cannot be a domain's name\n"
     "  1 | domains: {d23456789012345678901234567890123: {}}\n"
     "    |           ^\n"
     "  expected: 1 to 31 letters, digits and _-./+\n"},
    {"DuplicateName", "clients:\n  aaa: {}\n  aaa: {}\n",
     "<stdin>:3:3: error: duplicate name 'aaa'\n"
     "  3 |   aaa: {}\n"
     "    |   ^\n"
     "  expected: a client's name once; the first is in line 2\n"},
};

// Puts filters in a class-map, on line 3.
std::string filters(const std::string &list) {
  return "domains: {d: }\nclass-maps:\n  c: {filters: [" + list + "]}\n";
}

// The error for the filter, at the given column.
std::string filter_error(int column, const std::string &message, const std::string &list, const std::string &rest) {
  const std::string line = "  c: {filters: [" + list + "]}";
  return "<stdin>:3:" + std::to_string(column) + ": error: " + message + "\n  3 | " + line + "\n    | " +
         std::string(static_cast<size_t>(column - 1), ' ') + "^\n" + rest;
}

Bad bad_filter(const char *name, const std::string &filter, int column, const std::string &message,
               const std::string &rest) {
  return {name, filters(filter), filter_error(column, message, filter, rest)};
}

const Bad kFilters[] = {
    bad_filter(
        "FilterIsNoMapping", "gold", 17, "a filter is a single value",
        "  expected: a mapping with one of the keys attribute, equals, prefix, regex, range, present, no-match\n"),
    bad_filter("FilterWithoutAttribute", "{equals: x}", 17, "a filter has no 'attribute'",
               "  expected: the key attribute\n"),
    bad_filter("FilterWithoutTest", "{attribute: a}", 17, "a filter without a test",
               "  expected: one of the keys equals, prefix, regex, range, present\n"),
    bad_filter("FilterWithTwoTests", "{attribute: a, equals: x, prefix: y}", 51,
               "a filter with both 'equals' and 'prefix'", "  expected: one test in a filter\n"),
    bad_filter("BadAttributeName", "{attribute: a b, equals: x}", 29, "'a b' cannot be an attribute's name",
               "  expected: 1 to 63 letters, digits and _-./+\n"),
    bad_filter("BadPattern", "{attribute: a, regex: '(('}", 39, "not a regular expression: a '(' without its ')': ((",
               "  expected: a regular expression in RE2 syntax\n"),
    bad_filter("RangeIsNoMapping", "{attribute: a, range: 1-2}", 39, "a range is a single value",
               "  expected: a mapping with one of the keys min, max\n"),
    bad_filter("RangeWithoutEnds", "{attribute: a, range: {}}", 39, "a range without ends",
               "  expected: min, max or both\n"),
    bad_filter("EmptyRange", "{attribute: a, range: {min: 2, max: 1}}", 39, "an empty range: 2 is more than 1",
               "  expected: min at most max\n"),
    bad_filter("RangeOfWords", "{attribute: a, range: {min: low}}", 45, "'low' cannot be the low end of a range",
               "  expected: a number from -9223372036854775808 to 9223372036854775807\n"),
    bad_filter("RangeBeyondNumbers", "{attribute: a, range: {max: 9223372036854775808}}", 45,
               "'9223372036854775808' cannot be the high end of a range",
               "  expected: a number from -9223372036854775808 to 9223372036854775807\n"),
    bad_filter("PresentIsFalse", "{attribute: a, present: false}", 41, "'present' cannot be false",
               "  expected: present: true, with no-match: true to ask for absence\n"),
    bad_filter("FlagIsNoFlag", "{attribute: a, present: true, no-match: yes}", 57,
               "'yes' cannot be the value of 'no-match'", "  expected: one of true, false\n"),
};

// Puts actions in a rule, on line 5. The error begins 'offset' characters into them.
Bad bad_action(const char *name, const std::string &actions, size_t offset, const std::string &message,
               const std::string &rest) {
  const std::string before = "{number: 1, class: c, actions: [";
  const std::string line = before + actions + "]}]}}}}";
  const size_t column = before.size() + offset;
  return {name,
          "domains: {d: }\nclass-maps: {c: }\nparameter-maps: {profiles: {statements: []}}\n"
          "policy-maps: {p: {events: {start: {rules: [\n" +
              line + "\n",
          "<stdin>:5:" + std::to_string(column + 1) + ": error: " + message + "\n  5 | " + line + "\n    | " +
              std::string(column, ' ') + "^\n" + rest};
}

const Bad kActions[] = {
    bad_action("ActionIsAList", "[permit]", 0, "an action is a list",
               "  expected: a mapping with one of the keys set, clear, log, count, permit, deny, raise, apply, number, "
               "precedence\n"),
    bad_action("UnknownWord", "permt", 0, "'permt' cannot be an action on its own",
               "  expected: one of permit, deny\n  did you mean 'permit'?\n"),
    bad_action("ActionWithoutVerb", "{number: 1}", 0, "an action without a verb",
               "  expected: one of set, clear, log, count, permit, deny, raise, apply\n"),
    bad_action("ActionWithTwoVerbs", "{log: x, count: n}", 16, "an action with both 'log' and 'count'",
               "  expected: one verb in an action\n"),
    bad_action("PermitWithAValue", "{permit: all}", 9, "'permit' takes no value", "  expected: nothing\n"),
    bad_action("SetOfTwo", "{set: {a: 1, b: 2}}", 6, "'set' with 2 attributes",
               "  expected: one attribute and its value; further ones in actions of their own\n"),
    bad_action("SetOfNone", "{set: {}}", 6, "'set' with 0 attributes",
               "  expected: one attribute and its value; further ones in actions of their own\n"),
    bad_action("ActionNumberTooHigh", "{log: x, number: 256}", 17, "'256' cannot be an action's number",
               "  expected: a number from 1 to 255\n"),
    bad_action("ActionNumberGrownTooHigh", "{log: x, number: 255}, permit", 23, "action number 256",
               "  expected: numbers up to 255\n"),
    bad_action("DuplicateActionNumber", "permit, {log: x, number: 1}", 8, "duplicate action number 1",
               "  expected: each number once; the first is in line 5\n"),
    bad_action("PrecedenceTooHigh", "{log: x, precedence: 65536}", 21, "'65536' cannot be a precedence",
               "  expected: a number from 0 to 65535\n"),
    bad_action("UnknownEvent", "{raise: strat}", 8, "no policy-map handles the event 'strat'",
               "  expected: an event that a policy-map has under 'events'\n  did you mean 'start'?\n"),
    bad_action("UnknownParameterMap", "{apply: profile}", 8,
               "parameter-map 'profile' is used by rule p/start/1, but not defined",
               "  expected: the name of a parameter-map of this file\n  did you mean 'profiles'?\n"),
};

const Bad kMaps[] = {
    {"EngineAsClient", "clients: {kel: {}}\n",
     "<stdin>:1:11: error: 'kel' is the name of the engine's own client\n"
     "  1 | clients: {kel: {}}\n"
     "    |           ^\n"
     "  expected: another name\n"},
    {"UnknownOwner", "clients: {access: {}}\ndomains: {d: {owner: acess}}\n",
     "<stdin>:2:22: error: client 'acess' is used by domain d, but not defined\n"
     "  2 | domains: {d: {owner: acess}}\n"
     "    |                      ^\n"
     "  expected: the name of a client of this file\n"
     "  did you mean 'access'?\n"},
    {"NoDomainAtAll", "class-maps: {c: }\n",
     "<stdin>:1:14: error: 'c' has no domain\n"
     "  1 | class-maps: {c: }\n"
     "    |              ^\n"
     "  expected: a domain under 'domains'\n"},
    {"NoDomainOfSeveral", "domains: {d: , e: }\nclass-maps: {c: }\n",
     "<stdin>:2:14: error: 'c' has no domain\n"
     "  2 | class-maps: {c: }\n"
     "    |              ^\n"
     "  expected: the key domain, as the file has several domains\n"},
    {"UnknownDomain", "domains: {guest: }\nclass-maps: {c: {domain: gest}}\n",
     "<stdin>:2:26: error: domain 'gest' is used by class-map c, but not defined\n"
     "  2 | class-maps: {c: {domain: gest}}\n"
     "    |                          ^\n"
     "  expected: the name of a domain of this file\n"
     "  did you mean 'guest'?\n"},
    {"BadDomainIsToldOnce", "domains: {guest: }\nclass-maps: {c: {domain: 'a b'}}\n",
     "<stdin>:2:26: error: 'a b' cannot be a domain's name\n"
     "  2 | class-maps: {c: {domain: 'a b'}}\n"
     "    |                          ^\n"
     "  expected: 1 to 31 letters, digits and _-./+\n"},
    {"HiddenClassName", "domains: {d: }\nclass-maps: {__PMTR__x: }\n",
     "<stdin>:2:14: error: '__PMTR__x' cannot be a class-map's name\n"
     "  2 | class-maps: {__PMTR__x: }\n"
     "    |              ^\n"
     "  expected: a name that does not begin with __PMTR__\n"},
    {"BuiltInPolicy", "domains: {d: }\npolicy-maps: {BUILTIN_AUTOCONF_POLICY: {events: {}}}\n",
     "<stdin>:2:15: error: 'BUILTIN_AUTOCONF_POLICY' cannot be a policy-map's name\n"
     "  2 | policy-maps: {BUILTIN_AUTOCONF_POLICY: {events: {}}}\n"
     "    |               ^\n"
     "  expected: another name: the built-in policy-map is never given back\n"},
    {"BadMatchOfAClass", "domains: {d: }\nclass-maps: {c: {match: al}}\n",
     "<stdin>:2:25: error: 'al' cannot be the match criteria of a class-map\n"
     "  2 | class-maps: {c: {match: al}}\n"
     "    |                         ^\n"
     "  expected: one of all, any, none\n"
     "  did you mean 'all'?\n"},
    {"BadMatchOfAnEvent", "domains: {d: }\npolicy-maps: {p: {events: {e: {match: any, rules: []}}}}\n",
     "<stdin>:2:39: error: 'any' cannot be the match criteria of an event\n"
     "  2 | policy-maps: {p: {events: {e: {match: any, rules: []}}}}\n"
     "    |                                       ^\n"
     "  expected: one of all, first\n"},
    {"StatementWithoutFilters", "parameter-maps: {m: {statements: [{index: 1, filters: [], actions: []}]}}\n",
     "<stdin>:1:55: error: a statement without filters never matches\n"
     "  1 | parameter-maps: {m: {statements: [{index: 1, filters: [], actions: []}]}}\n"
     "    |                                                       ^\n"
     "  expected: at least one filter\n"},
};

// Puts rules in an event; they begin on line 5.
Bad bad_rules(const char *name, const std::string &rules, const std::string &errors) {
  return {
      name,
      "domains: {d: }\nclass-maps: {gold: , iron: }\npolicy-maps:\n  p: {events: {e: {rules: [\n" + rules + "]}}}\n",
      errors};
}

const Bad kRules[] = {
    bad_rules("RuleNumberOutOfRange", "{number: 256, class: gold, actions: []}",
              "<stdin>:5:10: error: '256' cannot be a rule's number\n"
              "  5 | {number: 256, class: gold, actions: []}]}}}\n"
              "    |          ^\n"
              "  expected: a number from 1 to 255\n"),
    bad_rules("DuplicateRuleNumber", "{number: 1, class: gold, actions: []},\n{number: 1, class: iron, actions: []}",
              "<stdin>:6:10: error: duplicate rule number 1\n"
              "  6 | {number: 1, class: iron, actions: []}]}}}\n"
              "    |          ^\n"
              "  expected: each number once; the first is in line 5\n"),
    bad_rules("ClassWithTwoRules", "{number: 1, class: gold, actions: []},\n{number: 2, class: gold, actions: []}",
              "<stdin>:6:20: error: class-map 'gold' has a rule already\n"
              "  6 | {number: 2, class: gold, actions: []}]}}}\n"
              "    |                    ^\n"
              "  expected: one rule for a class-map in an event; the first is in line 5\n"),
    bad_rules("UnknownClass", "{number: 1, class: glod, actions: []}",
              "<stdin>:5:20: error: class-map 'glod' is used by rule p/e/1, but not defined\n"
              "  5 | {number: 1, class: glod, actions: []}]}}}\n"
              "    |                    ^\n"
              "  expected: the name of a class-map of this file\n"
              "  did you mean 'gold'?\n"),
    bad_rules("BadExecCriteria", "{number: 1, class: gold, execute: run_all, actions: []}",
              "<stdin>:5:35: error: 'run_all' cannot be the exec criteria of a rule\n"
              "  5 | {number: 1, class: gold, execute: run_all, actions: []}]}}}\n"
              "    |                                   ^\n"
              "  expected: one of run-all, stop-on-failure, stop-on-success\n"
              "  did you mean 'run-all'?\n"),
    {"ClassInAnotherDatabase",
     "clients: {a: {database: own}, b: {}}\n"
     "domains: {da: {owner: a}, db: {owner: b}}\n"
     "class-maps: {c: {domain: db}}\n"
     "policy-maps: {p: {domain: da, events: {e: {rules: [{number: 1, class: c, actions: []}]}}}}\n",
     "<stdin>:4:71: error: class-map 'c' is in the database of client 'kel'\n"
     "  4 | policy-maps: {p: {domain: da, events: {e: {rules: [{number: 1, class: c, actions: []}]}}}}\n"
     "    |                                                                       ^\n"
     "  expected: a class-map in the database of the policy-map, that of client 'a'\n"},
};

// Statements of a parameter-map "m", which begin on line 2.
Bad bad_statements(const char *name, const std::string &statements, const std::string &errors) {
  return {name, "parameter-maps: {m: {statements: [\n" + statements + "]}}\n", errors};
}

const Bad kStatements[] = {
    bad_statements("MapIndexOutOfRange", "{index: 0, filters: [{attribute: a, present: true}], actions: []}",
                   "<stdin>:2:9: error: '0' cannot be a map-index\n"
                   "  2 | {index: 0, filters: [{attribute: a, present: true}], actions: []}]}}\n"
                   "    |         ^\n"
                   "  expected: a number from 1 to 65535\n"),
    bad_statements("DuplicateMapIndex",
                   "{index: 7, filters: [{attribute: a, present: true}], actions: []},\n"
                   "{index: 7, filters: [{attribute: a, present: true}], actions: []}",
                   "<stdin>:3:9: error: duplicate map-index 7\n"
                   "  3 | {index: 7, filters: [{attribute: a, present: true}], actions: []}]}}\n"
                   "    |         ^\n"
                   "  expected: each number once; the first is in line 2\n"),
    bad_statements("NoMatchBesideOthers",
                   "{index: 7, filters: [{attribute: a, equals: x},\n"
                   "{attribute: a, equals: y, no-match: true}], actions: []}",
                   "<stdin>:3:1: error: a no-match filter beside others of attribute 'a'\n"
                   "  3 | {attribute: a, equals: y, no-match: true}], actions: []}]}}\n"
                   "    | ^\n"
                   "  expected: a no-match filter as the only one of its attribute in a statement\n"),
    bad_statements("SixAttributes",
                   "{index: 1, filters: [{attribute: a, present: true}, {attribute: b, present: true},\n"
                   "{attribute: c, present: true}, {attribute: d, present: true}], actions: []},\n"
                   "{index: 2, filters: [{attribute: e, present: true}, {attribute: a, present: true},\n"
                   "{attribute: f, present: true}], actions: []}",
                   "<stdin>:5:1: error: 'f' is attribute number 6 that the parameter-map tests\n"
                   "  5 | {attribute: f, present: true}], actions: []}]}}\n"
                   "    | ^\n"
                   "  expected: at most 5 different attributes in a parameter-map\n"),
    {"HiddenClassesCollide",
     "parameter-maps:\n"
     "  m1: {statements: [{index: 23, filters: [{attribute: a, present: true}], actions: []}]}\n"
     "  m12: {statements: [{index: 3, filters: [{attribute: a, present: true}], actions: []}]}\n",
     "<stdin>:3:30: error: map-index 3 gives the hidden class-map __PMTR__m123 that line 2 has already\n"
     "  3 |   m12: {statements: [{index: 3, filters: [{attribute: a, present: true}], actions: []}]}\n"
     "    |                              ^\n"
     "  expected: another map-index or parameter-map name\n"},
};

// Targets and a scenario, on line 3.
Bad bad_target(const char *name, const std::string &line, const std::string &errors) {
  return {name, "domains: {d: }\npolicy-maps: {gold: {events: {start: {rules: []}}}}\n" + line + "\n", errors};
}

const Bad kTargets[] = {
    bad_target("TargetWithoutPolicies", "targets: {t: {}}",
               "<stdin>:3:14: error: a target has no 'policies'\n"
               "  3 | targets: {t: {}}\n"
               "    |              ^\n"
               "  expected: the key policies\n"),
    bad_target("TargetWithNoPolicy", "targets: {t: {policies: []}}",
               "<stdin>:3:25: error: target 't' has no policy\n"
               "  3 | targets: {t: {policies: []}}\n"
               "    |                         ^\n"
               "  expected: at least one policy-map: no target exists without\n"),
    bad_target("UnknownPolicy", "targets: {t: {policies: [glod]}}",
               "<stdin>:3:26: error: policy-map 'glod' is used by target t, but not defined\n"
               "  3 | targets: {t: {policies: [glod]}}\n"
               "    |                          ^\n"
               "  expected: the name of a policy-map of this file\n"
               "  did you mean 'gold'?\n"),
    bad_target("PolicyTwice", "targets: {t: {policies: [gold, gold]}}",
               "<stdin>:3:32: error: policy-map 'gold' is active already\n"
               "  3 | targets: {t: {policies: [gold, gold]}}\n"
               "    |                                ^\n"
               "  expected: each policy-map once on a target\n"),
    bad_target("UnknownClientOfATarget", "targets: {t: {client: nobody, policies: [gold]}}",
               "<stdin>:3:23: error: client 'nobody' is used by target t, but not defined\n"
               "  3 | targets: {t: {client: nobody, policies: [gold]}}\n"
               "    |                       ^\n"
               "  expected: the name of a client of this file\n"),
    bad_target("AttributeWithoutValue", "targets: {t: {policies: [gold], attributes: {a: }}}",
               "<stdin>:3:46: error: an attribute's value is nothing\n"
               "  3 | targets: {t: {policies: [gold], attributes: {a: }}}\n"
               "    |                                              ^\n"
               "  expected: a single value\n"),
    bad_target("UnknownTarget", "scenario: [{event: start, target: t}]",
               "<stdin>:3:35: error: target 't' is used by the scenario, but not defined\n"
               "  3 | scenario: [{event: start, target: t}]\n"
               "    |                                   ^\n"
               "  expected: the name of a target of this file\n"),
    bad_target("UnknownEventOfTheScenario", "scenario: [{event: stop, target: 't t'}]",
               "<stdin>:3:20: error: no policy-map handles the event 'stop'\n"
               "  3 | scenario: [{event: stop, target: 't t'}]\n"
               "    |                    ^\n"
               "  expected: an event that a policy-map has under 'events'\n"
               "<stdin>:3:34: error: 't t' cannot be a target's name\n"
               "  3 | scenario: [{event: stop, target: 't t'}]\n"
               "    |                                  ^\n"
               "  expected: 1 to 63 letters, digits and _-./+:@\n"),
};

std::string name_of(const testing::TestParamInfo<Bad> &info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Yaml, BadFiles, testing::ValuesIn(kYaml), name_of);
INSTANTIATE_TEST_SUITE_P(Filters, BadFiles, testing::ValuesIn(kFilters), name_of);
INSTANTIATE_TEST_SUITE_P(Actions, BadFiles, testing::ValuesIn(kActions), name_of);
INSTANTIATE_TEST_SUITE_P(Maps, BadFiles, testing::ValuesIn(kMaps), name_of);
INSTANTIATE_TEST_SUITE_P(Rules, BadFiles, testing::ValuesIn(kRules), name_of);
INSTANTIATE_TEST_SUITE_P(Statements, BadFiles, testing::ValuesIn(kStatements), name_of);
INSTANTIATE_TEST_SUITE_P(Targets, BadFiles, testing::ValuesIn(kTargets), name_of);

std::string first_line(const std::string &text) {
  return text.substr(0, text.find('\n'));
}

// The parser's own words for the error do not matter.
TEST(NotYaml, IsSaidInWordsOfOurOwn) {
  const auto error = [](const std::string &text) {
    const std::string line = first_line(run_zar({"check", "-"}, text).err);
    const std::string before = "<stdin>:";
    const std::string between = " error: not YAML: ";
    const size_t message = line.find(between);
    if (!line.starts_with(before) || message == std::string::npos) return line;
    return line.substr(before.size(), message - before.size()) + " " + line.substr(message + between.size());
  };
  EXPECT_EQ(error("clients: {a: {}\n"), "1:10: this '{' is never closed");
  EXPECT_EQ(error("clients: ]\n"), "1:10: this bracket closes none that is open");
  EXPECT_EQ(error("[a}\n"), "1:3: this '}' does not close the '[' in line 1, column 1");

  EXPECT_EQ(error("a: b: c\n"), "1:5: a ':' that follows no key");
  EXPECT_EQ(error("key\nclients: {}\n"), "2:8: a ':' that follows no key");
  EXPECT_EQ(error("a: b\n- c\n"), "2:1: this does not continue the mapping above");
  EXPECT_EQ(error("a:\n  - b\n c\n"), "3:2: this does not continue the mapping above");
  EXPECT_EQ(error("x:\n  - \"a\" b\n"), "2:9: this does not continue the list above");
  EXPECT_EQ(error("clients:\n  a: {}\n b: {}\n"), "3:2: this does not continue the mapping above");
  EXPECT_EQ(error("a: {b: c, - d}\n"), "1:11: a '-' where no item of a list can begin");
  EXPECT_EQ(error("a: b ? c: d\n? e\n"), "1:9: a ':' that follows no key");

  EXPECT_EQ(error("clients:\n  a: {}\n\tb: {}\n"), "3:1: a tab in the indentation");
  EXPECT_EQ(error("a:\n \t- b\n"), "2:2: a tab in the indentation");
  EXPECT_EQ(error("a: >\n\tb\n"), "2:1: a tab in the indentation");

  EXPECT_EQ(error("clients: @x\n"), "1:10: a value cannot begin with this character");
  EXPECT_EQ(error("clients: \"a\\qb\"\n"), "1:14: an unknown escape in a text in double quotes");
  EXPECT_EQ(error("a: \"\\xzz\"\n"), "1:9: an escape without its digits");
  EXPECT_EQ(error("a: \"\\ud800\"\n"), "1:11: an escape for a character that does not exist");
  EXPECT_EQ(error("a: \"x\n--- y\"\n"), "1:4: this quote is never closed");
  EXPECT_EQ(error("a: |0\n  b\n"), "1:6: an indentation of 0 for a block of text");
  EXPECT_EQ(error("a: |x\n b\n"), "1:5: an unknown sign at the head of a block of text");

  EXPECT_EQ(error("clients: &\n"), "1:11: '&' without a name for the anchor");
  EXPECT_EQ(error("clients: *\n"), "1:11: '*' without the name of an anchor");
  EXPECT_EQ(error("a: &b*[ c\n"), "1:7: a character that the name of an anchor cannot hold");
  EXPECT_EQ(error("a: &x &y b\n"), "1:7: two anchors of one value");

  EXPECT_EQ(error("a: !b !c d\n"), "1:7: two tags of one value");
  EXPECT_EQ(error("a: !b!\n"), "1:7: a tag that cannot be read");
  EXPECT_EQ(error("%YAML 1.2 3\n---\n{}\n"), "1:1: a directive that cannot be read");
  EXPECT_EQ(error("%YAML 2.0\n---\n{}\n"), "1:1: a newer YAML than version 1");
}

// The parser notices a missing bracket or quote only further down.
TEST(NotYaml, IsBlamedOnTheBracketOrQuoteThatIsNeverClosed) {
  const auto error = [](const std::string &text) {
    const std::string line = first_line(run_zar({"check", "-"}, text).err);
    return line.substr(line.find(':') + 1);
  };
  EXPECT_EQ(error("clients: {a: {}\ndomains: {}\n"), "1:10: error: not YAML: this '{' is never closed");
  EXPECT_EQ(error("a: [b,\n\nc:\n  d: e\n"), "1:4: error: not YAML: this '[' is never closed");
  EXPECT_EQ(error("a: [b,\n\nc:\n  - d\n"), "1:4: error: not YAML: this '[' is never closed");
  EXPECT_EQ(error("a:\n  - {b: [c, {d: e}, f}\n  - {g: h}\n"),
            "2:22: error: not YAML: this '}' does not close the '[' in line 2, column 9");
  EXPECT_EQ(error("a: [\n  b,\n\nc: {d: e}\n"), "1:4: error: not YAML: this '[' is never closed");
  EXPECT_EQ(error("a: [\"b\" c]\n"), "1:9: error: not YAML: neither ',' nor ']' in a list in brackets");

  EXPECT_EQ(error("clients:\n  a: \"x\n  b: y\n"), "2:6: error: not YAML: this quote is never closed");
  EXPECT_EQ(error("clients: {a: {b: 'x}}\n"), "1:18: error: not YAML: this quote is never closed");
  EXPECT_EQ(error("clients: 'it''s\n"), "1:10: error: not YAML: this quote is never closed");
  EXPECT_EQ(error("clients: \"a\\\"\n"), "1:10: error: not YAML: this quote is never closed");
  EXPECT_EQ(error("# it's\na: b's # it's\nc: |\n  it's\n  \"\nd: 'x\n"),
            "6:4: error: not YAML: this quote is never closed");

  EXPECT_EQ(error("a: \"x\nb: \"y\"\n"), "1:4: error: not YAML: the text in these quotes goes on to line 2");
  EXPECT_EQ(error("a: {b: 'x}\nc: {d: 'y'}\n"), "1:8: error: not YAML: the text in these quotes goes on to line 2");
  EXPECT_EQ(error("a: {b: 'it's}\n"), "1:11: error: not YAML: the text in quotes ends here, but more follows");
}

// Each quote and bracket of a file is removed in turn: the error is in its line, and no sentence of the parser.
TEST(NotYaml, IsFoundWhereverAQuoteOrABracketIsMissing) {
  const std::string good = R"(domains: {d: }  # it's one
class-maps:
  c: {match: any, filters: [{attribute: "x", equals: 'it''s'}, {attribute: y, prefix: "a\"b"}]}
policy-maps:
  p:
    events:
      e:
        rules:
          - number: 1
            class: "c"
            actions: [permit, {log: 'x'}]
)";
  ASSERT_EQ(run_zar({"check", "-"}, good).code, 0);
  size_t removed = 0;
  for (size_t at = good.find('\n'); at < good.size(); ++at) {
    if (std::string_view("'\"{}[]").find(good[at]) == std::string_view::npos) continue;
    std::string bad = good;
    bad.erase(at, 1);
    const Result result = run_zar({"check", "-"}, bad);
    // A text with a single quote in it can be good without the others.
    if (result.code == 0) continue;
    ++removed;
    const std::string line = first_line(result.err);
    EXPECT_EQ(result.code, 65) << bad;
    EXPECT_EQ(line.find("illegal"), std::string::npos) << line;
    EXPECT_EQ(line.find("not found"), std::string::npos) << line;
    const auto mistake = 1 + std::count(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(at), '\n');
    EXPECT_EQ(line.substr(0, line.find(':', 8)), "<stdin>:" + std::to_string(mistake)) << line << "\n" << bad;
  }
  EXPECT_GE(removed, 20u);
}

struct Mistake {
  const char *name;
  std::string file;
  std::string error;  // the first line; there is only one
};

void PrintTo(const Mistake &mistake, std::ostream *out) {
  *out << mistake.name;
}

class OneMistake : public testing::TestWithParam<Mistake> {};

TEST_P(OneMistake, IsOneError) {
  const Result result = run_zar({"check", "-"}, GetParam().file);
  EXPECT_EQ(result.code, 65);
  EXPECT_EQ(first_line(result.err), "<stdin>:" + GetParam().error);
  EXPECT_EQ(result.err.find("error:", result.err.find("error:") + 1), std::string::npos) << result.err;
}

constexpr const char *kRuleOnLine4 = "domains: {d: }\nclass-maps: {c: }\npolicy-maps: {p: {events: {e: {rules: [\n";

INSTANTIATE_TEST_SUITE_P(
    All, OneMistake,
    testing::Values(
        Mistake{"KeyOfAFilter", filters("{attribute: a, equal: x}"), "3:32: error: unknown key 'equal' in a filter"},
        Mistake{"KeyOfARule", kRuleOnLine4 + std::string("{number: 1, klasse: c, actions: []}]}}}}\n"),
                "4:13: error: unknown key 'klasse' in a rule"},
        Mistake{"KeyOfAnAction", kRuleOnLine4 + std::string("{number: 1, class: c, actions: [{lgo: x}]}]}}}}\n"),
                "4:34: error: unknown key 'lgo' in an action"},
        Mistake{"KeyOfARange", filters("{attribute: a, range: {mni: 1}}"), "3:40: error: unknown key 'mni' in a range"},
        Mistake{"KeyOfAPolicyMap",
                "domains: {d: }\npolicy-maps: {p: {event: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
                "scenario: [{event: e, target: t}, {event: e, target: t}]\n",
                "2:19: error: unknown key 'event' in a policy-map"},
        Mistake{"Section", "domain: {d: }\nclass-maps: {c: , e: }\npolicy-maps: {p: {events: {}}}\n",
                "1:1: error: unknown key 'domain' in a policy file"},
        Mistake{"SectionOfAnotherKind",
                "domains: {d: }\nclass-maps: [c]\npolicy-maps: {p: {events: {e: {rules: [{number: 1, class: c, "
                "actions: []}]}}}}\n",
                "2:13: error: what stands here is a list"},
        Mistake{"NoDomain", "class-maps: {c: , e: , f: }\n", "1:14: error: 'c' has no domain"},
        Mistake{"ABadDomain", "domains: {'a b': }\nclass-maps: {c: , e: , f: }\n",
                "1:11: error: 'a b' cannot be a domain's name"},
        Mistake{"AMissingClassMap",
                "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: [{number: 1, class: c, actions: []}]}, f: "
                "{rules: [{number: 1, class: c, actions: []}]}}}}\n",
                "2:59: error: class-map 'c' is used by rule p/e/1 and 1 other, but not defined"},
        Mistake{"AMissingEvent",
                "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
                "scenario: [{event: x, target: t}, {event: x, target: t}, {event: x, target: t}]\n",
                "4:20: error: no policy-map handles the event 'x', which is used 3 times"},
        Mistake{"FiltersOfAStatement", "parameter-maps: {m: {statements: [{index: 1, filters: x, actions: []}]}}\n",
                "1:55: error: the list of filters is a single value"}),
    [](const auto &parameter) { return std::string(parameter.param.name); });

TEST(BadPattern, IsDescribedInWordsOfOurOwn) {
  const auto error = [](const std::string &pattern) {
    const std::string file = "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, regex: '" + pattern + "'}]}}\n";
    const std::string line = first_line(run_zar({"check", "-"}, file).err);
    const std::string before = "<stdin>:2:50: error: not a regular expression: ";
    return line.starts_with(before) ? line.substr(before.size()) : line;
  };
  EXPECT_EQ(error("a)"), "a ')' without its '(': a)");
  EXPECT_EQ(error("[a"), "a '[' without its ']': [a");
  EXPECT_EQ(error("[z-a]"), "there is no such class or range of characters: z-a");
  EXPECT_EQ(error("[[:vowel:]]"), "there is no such class or range of characters: [:vowel:]");
  EXPECT_EQ(error("\\8"), "an unknown escape: \\8");
  EXPECT_EQ(error("a\\"), "a '\\' with nothing behind it");
  EXPECT_EQ(error("*a"), "nothing to repeat: *");
  EXPECT_EQ(error("a**"), "a repetition of a repetition: **");
  EXPECT_EQ(error("a{3,2}"), "a repetition that is too long or ends before it begins: {3,2}");
  EXPECT_EQ(error("(?=a)"), "an unknown '(?': (?=");
  EXPECT_EQ(error("(?P<a b>c)"), "a group with a bad name: (?P<a b>");
}

TEST(AllErrors, AreReportedAtOnceInTheOrderOfTheFile) {
  const Result result = run_zar({"check", "-"}, R"(clients: {a: {databse: own}}
domains: {d: {owner: b}}
class-maps:
  c:
    match: some
    filters: [{attribute: x}]
targets:
  t: {policies: [p]}
)");
  std::vector<std::string> places;
  for (size_t at = 0; (at = result.err.find("<stdin>:", at)) != std::string::npos; ++at) {
    places.push_back(result.err.substr(at + 8, result.err.find(": error", at) - at - 8));
  }
  EXPECT_EQ(places, (std::vector<std::string>{"1:15", "2:22", "5:12", "6:15", "8:18"})) << result.err;
}

TEST(LongLines, AreShownAroundTheError) {
  const std::string padding(200, 'x');
  const Result result = run_zar(
      {"check", "-"}, "{clients: {}, # " + padding + "\n domains: {a: {}, b: {ownr: }, '" + padding + "': }}\n");
  EXPECT_NE(result.err.find("  2 |  domains: {a: {}, b: {ownr: }, 'xxx"), std::string::npos) << result.err;
  for (size_t start = 0; start < result.err.size(); start = result.err.find('\n', start) + 1) {
    EXPECT_LT(result.err.find('\n', start) - start, 110u);
  }
}

}  // namespace
