// What kinds of targets a stream has. Targets are of one kind if they have the same policy-maps, in the same order, and
// the same client.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/stream/player.h"

namespace simulator::stream {

// Follows the targets as lines add and delete them.
class TargetKinds {
 public:
  // Begins with the targets of the file.
  explicit TargetKinds(const PolicyFile &file);

  // The kind of the target of an event, such as "authorisation, service (client access)"; empty for any other line.
  // Every line must come here, in order. Valid until the next line.
  std::string_view kind_of(const Played &played);

 private:
  ByName<std::string> by_target_;
};

}  // namespace simulator::stream
