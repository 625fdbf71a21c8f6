// The steps of loading a policy file, for load.cpp: first the structure, section by section, then the references.
#pragma once

#include "simulator/policy/model.h"
#include "simulator/policy/reader.h"

namespace simulator {

void read_clients(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_domains(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_class_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_policy_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_parameter_maps(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_targets(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_scenario(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_tests(const Reader &reader, const yaml::Node &node, PolicyFile &file);
void read_claims(const Reader &reader, const yaml::Node &node, PolicyFile &file);
Claim read_claim(const Reader &reader, const yaml::Node &node, const std::string &default_name);
// permit, deny or none.
std::optional<Name> read_verdict(const Reader &reader, const yaml::Node &node);
// An attribute without a value has to be absent.
std::vector<ExpectedValue> read_expected_values(const Reader &reader, const yaml::Node &node);

std::vector<Filter> read_filters(const Reader &reader, const yaml::Node &node);
std::vector<Action> read_actions(const Reader &reader, const yaml::Node &node);
std::vector<Assignment> read_assignments(const Reader &reader, const yaml::Node &node);
// An event on a target and the changes before it: the keys event, target, set and clear.
Step read_step(const Reader &reader, const Fields &fields, Position position);

// Checks what the structure alone does not show: that every name exists, and that the repository will accept
// everything. Fills in the domains that the file leaves out. The file is indexed before and after. Objects before
// 'first' were checked before, when those from there on were not yet in the file.
void resolve(PolicyFile &file, const FileExtent &first, Diagnostics &diagnostics);

}  // namespace simulator
