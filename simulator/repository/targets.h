// Targets as a client of the repository keeps them: the record behind a target; the repository knows the front of it.
#pragma once

#include <string>

#include "zar/records.h"

namespace simulator::client {

struct TargetData : zar_target_info {
  uint32_t clid = 0;  // the client that added the target
  std::string name{};
};

// The data behind a record of the repository; the client that added the target keeps it as long as the record lives.
inline const TargetData &target_of(const zar_target &record) {
  return *static_cast<const TargetData *>(record.target_info);
}

}  // namespace simulator::client
