// A repository with every kind of record: one in use, linked with others, and one set aside.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "support/repository.h"

namespace handles {

using rig::Kind;
using rig::Line;
using rig::Lines;

inline constexpr std::array kKinds = {Kind::pmap, Kind::cmap,   Kind::action,         Kind::filter,  Kind::event,
                                      Kind::rule, Kind::target, Kind::policy_context, Kind::pmtr_map};
const char *name_of(Kind kind);

// A handle of each kind.
struct Objects {
  uint32_t pmap, cmap, action, filter, event, rule, target, policy_context, pmtr_map;
  uint32_t &of(Kind kind);
};

inline constexpr uint32_t kUntouched = 0xabad1dea;
inline constexpr uint32_t kEventId = 7;
inline constexpr uint32_t kMapIndex = 5;

struct Scene : rig::World {
  Scene();
  ~Scene();

  // In use: a stored CONTROL policy-map with an event, a rule, an action and a class-map with a filter, active on a
  // target with a policy context; and a stored parameter-map with two statements, the first with two actions.
  Objects linked{};
  // Records that nothing refers to, except the rule, which is under its own event, and the target.
  Objects spare{};
  uint32_t stored_cmap_alone = 0;  // a stored class-map that no policy-map uses
  uint32_t statement_action = 0;   // the first action of the first statement

  // Arguments. The result place holds kUntouched until it is written.
  zar_map_info gold{};
  zar_map_info voice{};
  zar_event_context start{};
  zar_action_context action_twin{};  // equal to the linked action
  zar_filter_context filter_twin{};  // equal to the linked filter
  zar_target_info *info = nullptr;
  zar_target_info *info_out = nullptr;
  zar_pmtr_map_stmt own_statement{};
  char text[64] = {};
  uint32_t out = kUntouched;
  uint32_t domain_type_out = 0;
  uint32_t reserved_out = 0;

  // One more record of the kind, and the end of such a one.
  uint32_t make(Kind kind);
  void end(Kind kind, uint32_t handle);

  // Gives a live record a handle of the caller's making, as if the record were the caller's own: the library did not issue
  // it and knows no kind of it.
  uint32_t adopt(Kind kind, uint32_t handle);

 private:
  uint32_t number_ = 100;
  std::map<uint32_t, uint32_t> event_of_rule_;
};

// A handle that an operation must refuse or accept, and what its look-up says.
struct Stranger {
  std::string name;
  uint32_t handle = 0;
  Lines look_up;
};

// Handles that name nothing: 0, all ones, one that was never issued, a released one, and a released one whose record is
// now another's. 'kind' is what the operation takes.
std::vector<Stranger> handles_of_nothing(Scene &scene, Kind kind);
// The live handle of a linked record, which the operation does not take.
Stranger of_another_kind(Scene &scene, Kind kind);

}  // namespace handles
