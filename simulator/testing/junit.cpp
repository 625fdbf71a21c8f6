#include "simulator/testing/junit.h"

#include <algorithm>

#include "simulator/text/text.h"
#include "simulator/text/xml.h"

namespace simulator {

namespace {

using Result = JunitCase::Result;

std::string attribute(std::string_view name, std::string_view value) {
  return concat(" ", name, "=\"", xml_text(value), "\"");
}

size_t count_of(const JunitSuite &suite, Result result) {
  return static_cast<size_t>(std::count_if(suite.cases.begin(), suite.cases.end(),
                                           [&](const JunitCase &each) { return each.result == result; }));
}

struct Counts {
  size_t tests = 0;
  size_t failures = 0;
  size_t errors = 0;
};

Counts counts_of(const JunitSuite &suite) {
  return {suite.cases.size(), count_of(suite, Result::failed), count_of(suite, Result::error)};
}

std::string counts_text(const Counts &counts) {
  return concat(attribute("tests", std::to_string(counts.tests)),
                attribute("failures", std::to_string(counts.failures)),
                attribute("errors", std::to_string(counts.errors)));
}

// Lines stay lines here; in the value of an attribute they could not.
std::string content_of(std::string_view details) {
  std::string content;
  while (!details.empty()) {
    const size_t end = std::min(details.find('\n'), details.size());
    content += xml_text(details.substr(0, end));
    if (end < details.size()) content += '\n';
    details.remove_prefix(std::min(end + 1, details.size()));
  }
  return content;
}

std::string case_text(const JunitSuite &suite, const JunitCase &test) {
  std::string text = concat("    <testcase", attribute("name", test.name), attribute("classname", suite.name),
                            attribute("file", test.path));
  if (test.line != 0) text += attribute("line", std::to_string(test.line));
  if (test.result == Result::passed) return text + "/>\n";
  const char *element = test.result == Result::failed ? "failure" : "error";
  return concat(text, ">\n      <", element, attribute("message", test.message), attribute("type", element), ">",
                content_of(test.details), "</", element, ">\n    </testcase>\n");
}

}  // namespace

std::string junit_xml(const std::vector<JunitSuite> &suites) {
  Counts all;
  std::string body;
  for (const JunitSuite &suite : suites) {
    const Counts counts = counts_of(suite);
    all.tests += counts.tests;
    all.failures += counts.failures;
    all.errors += counts.errors;
    body += concat("  <testsuite", attribute("name", suite.name), counts_text(counts), ">\n");
    for (const JunitCase &test : suite.cases)
      body += case_text(suite, test);
    body += "  </testsuite>\n";
  }
  return concat("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"zar test\"", counts_text(all), ">\n",
                body, "</testsuites>\n");
}

}  // namespace simulator
