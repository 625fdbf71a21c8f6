// What a session shows of its repository.
#pragma once

#include <string_view>

#include "tool/shell/session.h"

namespace tool::shell {

// False when the repository cannot be read.
bool show_overview(const Session &session);
bool show_kind(const Session &session, Kind kind);
bool show_one(const Session &session, Kind kind, std::string_view name);
// All objects as a policy file.
bool show_configuration();
// The library's own listings, with counters.
bool show_listing(const Session &session);

}  // namespace tool::shell
