// The objects that sub-commands write with --json and that requests return: each is made here, for both.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/diff/render.h"
#include "simulator/inventory/relations.h"
#include "simulator/lint/findings.h"
#include "simulator/policy/diagnostics.h"
#include "simulator/policy/kinds.h"
#include "simulator/policy/model.h"
#include "simulator/testing/report.h"
#include "simulator/text/json.h"

namespace simulator::service {

// The kinds that are shown, in the order in which they are.
inline constexpr ObjectKind kShown[] = {ObjectKind::policy, ObjectKind::class_map, ObjectKind::target,
                                        ObjectKind::parameter_map};
// NULL if objects of this kind are not shown; the complaint then says so.
const KindWord *find_shown(std::string_view word, Complaints &complaints);

// One file of zar check; 'file' is NULL if it cannot be loaded.
Json checked_json(const std::string &name, bool good, const Diagnostics &diagnostics, const PolicyFile *file);
Json check_json(bool good, Json files);

// The objects of a kind, or the one with the name; NULL: of all kinds.
Json show_json(const inventory::Relations &relations, const KindWord *kind, const std::optional<std::string> &name);
Json config_json(const PolicyFile &running, const std::string &path);

// One file of zar lint.
Json linted_json(const PolicyFile &file, const lint::Findings &findings);

// Adds the claims, which only zar prove checks, to the report on the tests of a file.
void add_claims(const PolicyFile &file, Report &report);
Json test_json(size_t passed, size_t failed, Json bad_files, Json file_errors, Json files);

// 'replay' is null if nothing was replayed.
Json diff_json(const diff::Files &files, const std::vector<diff::ObjectChange> &changes, Json replay);
// Why the replay of a scenario shows nothing; empty if there is an event that either file could decide.
std::string why_unfit(const PolicyFile &scenario, const diff::Replayed &replayed, const diff::Files &files);

}  // namespace simulator::service
