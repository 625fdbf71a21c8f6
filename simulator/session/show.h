// What a session shows of its repository. Nothing when the repository cannot be read; 'complaints' then says why.
#pragma once

#include <optional>
#include <string>

#include "simulator/session/session.h"

namespace simulator::session {

std::optional<std::string> show_overview(const Session &session, Complaints &complaints);
// The objects of a kind, or the one with the name.
std::optional<std::string> show_objects(const Session &session, ObjectKind kind, const std::optional<std::string> &name,
                                        Complaints &complaints);
// All objects as a policy file.
std::optional<std::string> show_configuration(const Session &session, Complaints &complaints);
// The same as values: what the repository holds, with the targets that have no active policy-map.
std::optional<PolicyFile> running_file(const Session &session, Complaints &complaints);
// The attributes that a target of the file has now, by name.
std::vector<Assignment> attributes_now(const Session &session, const Target &target);
// The library's own listings, with counters.
std::string show_listing(const Session &session);

}  // namespace simulator::session
