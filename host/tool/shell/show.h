// What a session shows of its repository.
#pragma once

#include <optional>
#include <string>

#include "tool/shell/session.h"

namespace tool::shell {

// False when the repository cannot be read.
bool show_overview(const Session &session);
// Those of a kind, or the one with the name.
bool show_objects(const Session &session, ObjectKind kind, const std::optional<std::string> &name);
// All objects as a policy file.
bool show_configuration();
// The library's own listings, with counters.
bool show_listing(const Session &session);

}  // namespace tool::shell
