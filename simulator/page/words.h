// What filters and actions mean, in words for someone who does not know policy files.
#pragma once

#include "simulator/page/html.h"
#include "simulator/policy/model.h"

namespace simulator::page {

// "unpaid-months is 3 or more"
Html words_of(const Filter &filter);
// "set queue to assured"; events and parameter-maps are links.
Html words_of(const Action &action, const PolicyFile &file);
// "if all of these hold"
std::string_view words_of(ClassMatch match);
// "all rules that match run"
std::string_view words_of(EventMatch match);
// Which actions of a rule run; empty for the usual, up to the first that fails.
std::string_view words_of(Execute execute);

}  // namespace simulator::page
