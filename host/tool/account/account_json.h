// The account of an event as JSON.
#pragma once

#include "tool/account/account_text.h"
#include "tool/json_output.h"

namespace tool {

// Everything that the text of the same level tells, and the numbers behind it.
Json account_json(const EventAccount &account, const PolicyFile &file, const Step &step, Level level);

// {"attribute", "before", "after"}; null is an absent value.
Json change_json(const Change &change);

}  // namespace tool
