// The handles that an operation must refuse, with the handle table's own message for each.
#pragma once

#include <string>
#include <vector>

#include "support/repository.h"

namespace rig {

struct BadHandle {
  const char *what;
  uint32_t handle;
  Lines said;  // by the look-up, ahead of the operation's own message
};

// None, a released one, one that was never issued, and a live one of another kind than 'wanted'.
inline std::vector<BadHandle> bad_handles(World &world, Kind wanted) {
  static int own_record;
  const uint32_t released = zar_handle_alloc(&own_record);
  zar_handle_release(released);
  const uint32_t other = wanted == Kind::action ? world.filter("bystander") : world.action("bystander");
  return {
      {"no handle", 0, {info("(info): ZAR Handle provided is invalid\n")}},
      {"a released handle", released, {error("(ERR): ZAR: Handle [0x%x] destroyed already\n", released)}},
      {"a handle never issued", 0xfffffff0, {}},
      {"a handle of another kind", other, {error("(ERR): ZAR: Handle [0x%x] names a record of another kind\n", other)}},
  };
}

// One after the other, for expectations that are put together.
inline Lines then(Lines first, const Lines &second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

}  // namespace rig
