#include "simulator/findings/of_diagnostics.h"

#include "simulator/text/text.h"

namespace simulator::findings {

namespace {

Finding finding_of(const Diagnostic &diagnostic, const Source &source) {
  Finding finding{.rule = "invalid-policy", .level = Level::error, .message = diagnostic.message};
  if (!diagnostic.expected.empty()) finding.notes.push_back("expected: " + diagnostic.expected);
  if (!diagnostic.suggestion.empty()) finding.notes.push_back(concat("did you mean '", diagnostic.suggestion, "'?"));
  finding.place = {source.name(), diagnostic.position.line, diagnostic.position.column};
  return finding;
}

}  // namespace

void add_diagnostics(Report &report, const Diagnostics &diagnostics, const Source &source) {
  size_t added = 0;
  for (const Diagnostic &diagnostic : diagnostics.sorted()) {
    if (added++ == Diagnostics::kMostShown) break;
    report.findings.push_back(finding_of(diagnostic, source));
  }
  if (diagnostics.count() > Diagnostics::kMostShown) {
    report.remarks.push_back(concat(source.name(), ": ", diagnostics.hopeless() ? "at least " : "",
                                    diagnostics.count() - Diagnostics::kMostShown, " more errors"));
  }
}

}  // namespace simulator::findings
