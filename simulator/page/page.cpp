#include "simulator/page/page.h"

#include "simulator/page/assets.h"
#include "simulator/page/sections.h"
#include "simulator/text/text.h"

namespace simulator::page {

namespace {

Html card(const std::string &section, std::string_view number, std::string_view what, std::string_view tone) {
  return element(
      "li", {{"class", std::string(tone)}},
      element("a", {{"href", concat("#", section)}}, join({element("b", number), text(" "), element("span", what)})));
}

// The answers in short, each a link to its section.
Html cards(const Contents &contents) {
  Html all;
  if (contents.against) {
    const size_t changes = contents.against->changes.size();
    all += card("changes", std::to_string(changes), changes == 1 ? "object changed" : "objects changed", "");
    if (contents.against->decisions) {
      const size_t different = contents.against->decisions->different;
      all += card("changes", std::to_string(different), "events decided differently", different == 0 ? "good" : "bad");
    }
    if (contents.against->lines) {
      const size_t different = contents.against->lines->differing();
      all += card("changes", std::to_string(different), "lines of the stream decided differently",
                  different == 0 ? "good" : "bad");
    }
  }
  const size_t findings = contents.findings->all.size();
  all += card("findings", std::to_string(findings), findings == 1 ? "finding" : "findings",
              findings == 0 ? "good" : "bad");
  const Report &tests = *contents.tests;
  if (tests.passed + tests.failed > 0) {
    all += card("tests", concat(tests.passed, " of ", tests.passed + tests.failed), "tests passed",
                tests.failed == 0 ? "good" : "bad");
    all += card("tests", concat(tests.percent, " %"), "covered by tests", "");
  }
  all += card("events", std::to_string(contents.figures->events()), "events of the scenario", "");
  if (contents.stream) {
    const stream::Totals &totals = contents.stream->totals();
    all += card("stream", std::to_string(totals.events), "events of the stream", "");
    if (totals.bad > 0) all += card("stream", std::to_string(totals.bad), "bad lines", "bad");
  }
  return element("ul", {{"class", "cards"}}, all);
}

std::string extent_of(const PolicyFile &file) {
  return concat(counted(file.policy_maps.size(), "policy-map", "policy-maps"), ", ",
                counted(file.class_maps.size(), "class-map", "class-maps"), ", ",
                counted(file.parameter_maps.size(), "parameter-map", "parameter-maps"), ", ",
                counted(file.targets.size(), "target", "targets"));
}

Html head_of(const std::string &title) {
  // Nothing may be fetched, from anywhere.
  const Html policy =
      element("meta",
              {{"http-equiv", "Content-Security-Policy"},
               {"content", "default-src 'none'; style-src 'unsafe-inline'; script-src 'unsafe-inline'"}},
              {});
  const Html viewport = element("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}}, {});
  return element("head", join({element("meta", {{"charset", "utf-8"}}, {}), policy, viewport, element("title", title),
                               element("style", Html::made_elsewhere(kStyle))}));
}

Html body_of(const Contents &contents, const std::string &title) {
  const Changed changed(contents);
  const Html header =
      element("header", join({element("h1", title), element("p", extent_of(*contents.file)), cards(contents)}));
  const Html main = element(
      "main", join({changes_section(contents), findings_section(contents), claims_section(contents),
                    tests_section(contents), events_section(contents), stream_section(contents),
                    policies_section(contents, changed), classes_section(contents, changed),
                    parameter_maps_section(contents, changed), targets_section(contents), picture_section(contents)}));
  return element("body", join({header, main, element("script", Html::made_elsewhere(kScript))}));
}

}  // namespace

std::string page_of(const Contents &contents) {
  const std::string title = concat("Policies of ", contents.file->shown_path());
  return concat("<!doctype html>\n",
                element("html", {{"lang", "en"}}, join({head_of(title), body_of(contents, title)})).string(), "\n");
}

}  // namespace simulator::page
