// The handles that an operation must refuse, with what the look-up of each traces.
#pragma once

#include <string>
#include <vector>

#include "support/lines.h"
#include "support/repository.h"

namespace rig {

struct WrongHandle {
  std::string what;
  uint32_t handle = 0;
  Lines look_up;  // before the operation's own message
};

// None, a released one, and one that was never issued.
inline std::vector<WrongHandle> dead_handles() {
  static int record;
  const Quiet quiet;
  const uint32_t released = zar_handle_alloc(&record);
  zar_handle_release(released);
  return {{"0", 0, {invalid_handle()}},
          {"released", released, {destroyed_already(released)}},
          {"never issued", 0xfffffff0, {}}};
}
// These, and a live one of another kind.
inline std::vector<WrongHandle> wrong_handles(uint32_t of_another_kind) {
  std::vector<WrongHandle> wrong = dead_handles();
  wrong.push_back({"of another kind", of_another_kind, {another_kind(of_another_kind)}});
  return wrong;
}
// The same with an object of the world that is not of the kind 'wanted'.
inline std::vector<WrongHandle> wrong_handles(World &world, Kind wanted) {
  return wrong_handles(wanted == Kind::action ? world.filter("bystander") : world.action("bystander"));
}

}  // namespace rig
