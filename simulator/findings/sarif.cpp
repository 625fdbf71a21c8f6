#include "simulator/findings/sarif.h"

#include <algorithm>
#include <string_view>

#include "zar/version.h"

namespace simulator::findings {

namespace {

constexpr const char *kSchema =
    "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/sarif-schema-2.1.0.json";

bool stays_in_uri(char character) {
  const bool is_letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
  const bool is_digit = character >= '0' && character <= '9';
  return is_letter || is_digit || std::string_view("-._~/").find(character) != std::string_view::npos;
}

// A relative path remains relative, to the folder in which the command runs.
std::string uri_of(std::string_view path) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri = path.starts_with('/') ? "file://" : "";
  for (const char character : path) {
    if (stays_in_uri(character)) {
      uri += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    uri += '%';
    uri += kDigits[byte >> 4U];
    uri += kDigits[byte & 0xfU];
  }
  return uri;
}

Json message_of(const std::string &text) {
  Json message;
  message["text"] = text;
  return message;
}

Json location_of(const Place &place) {
  Json physical;
  physical["artifactLocation"]["uri"] = uri_of(place.file);
  if (place.line != 0) {
    physical["region"]["startLine"] = place.line;
    physical["region"]["startColumn"] = place.column;
  }
  Json location;
  location["physicalLocation"] = std::move(physical);
  return location;
}

Json related_locations_of(const Finding &finding) {
  Json locations = Json::array();
  for (const Related &related : finding.related) {
    Json location = location_of(related.place);
    location["message"] = message_of(related.message);
    locations.push_back(std::move(location));
  }
  return locations;
}

// Each rule once, in the order of its first finding.
std::vector<std::string> rules_of(const Report &report) {
  std::vector<std::string> rules;
  for (const Finding &finding : report.findings) {
    if (std::find(rules.begin(), rules.end(), finding.rule) == rules.end()) rules.push_back(finding.rule);
  }
  return rules;
}

const char *level_of(Level level) {
  switch (level) {
    case Level::error:
      return "error";
    case Level::warning:
      return "warning";
    case Level::note:
      break;
  }
  return "note";
}

// A log has this list at all of its results or at none.
Json suppressions_of(const Finding &finding) {
  Json suppressions = Json::array();
  if (!finding.ignored_because) return suppressions;
  Json suppression;
  suppression["kind"] = "inSource";
  suppression["justification"] = *finding.ignored_because;
  suppressions.push_back(std::move(suppression));
  return suppressions;
}

Json result_of(const Finding &finding, const std::vector<std::string> &rules) {
  Json result;
  result["ruleId"] = finding.rule;
  result["ruleIndex"] = std::find(rules.begin(), rules.end(), finding.rule) - rules.begin();
  result["level"] = level_of(finding.level);
  result["message"] = message_of(full_message(finding));
  result["locations"] = Json::array({location_of(finding.place)});
  if (!finding.related.empty()) result["relatedLocations"] = related_locations_of(finding);
  result["suppressions"] = suppressions_of(finding);
  return result;
}

Json driver_of(const std::vector<std::string> &rules) {
  Json driver;
  driver["name"] = "zar";
  driver["version"] = ZAR_VERSION_STRING;
  driver["rules"] = Json::array();
  for (const std::string &rule : rules) {
    Json descriptor;
    descriptor["id"] = rule;
    driver["rules"].push_back(std::move(descriptor));
  }
  return driver;
}

Json invocation_of(const Report &report, bool is_successful) {
  Json invocation;
  invocation["executionSuccessful"] = is_successful;
  for (const std::string &remark : report.remarks) {
    Json notification;
    notification["level"] = "warning";
    notification["message"] = message_of(remark);
    invocation["toolExecutionNotifications"].push_back(std::move(notification));
  }
  return invocation;
}

}  // namespace

Json sarif_of(const Report &report, bool is_successful) {
  const std::vector<std::string> rules = rules_of(report);
  Json run;
  run["tool"]["driver"] = driver_of(rules);
  run["invocations"] = Json::array({invocation_of(report, is_successful)});
  run["columnKind"] = "unicodeCodePoints";
  run["results"] = Json::array();
  for (const Finding &finding : report.findings)
    run["results"].push_back(result_of(finding, rules));
  Json log;
  log["$schema"] = kSchema;
  log["version"] = "2.1.0";
  log["runs"] = Json::array({std::move(run)});
  return log;
}

}  // namespace simulator::findings
