// The table of every operation that takes a handle: a row for each handle argument.
#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "handles/scene.h"

namespace handles {

// The origin of the operation's main handle.
enum class Subject { linked, spare, stored_cmap_alone, statement_action };

using Call = uint64_t (*)(Scene &scene, uint32_t handle);
// The messages of a call. The line look_up stands for what the look-up of the handle itself says.
using Says = Lines (*)(Scene &scene, uint32_t handle);
inline const Line look_up{0, ""};

// The result, the messages and the contents of the result place of a call with a handle that it must refuse.
struct Refusal {
  uint64_t answer;
  Says says;
  uint32_t out = kUntouched;
};

struct Row {
  std::string operation;
  std::string argument;
  std::vector<Kind> kinds;  // that the argument may name; none: it makes no difference what it names
  Subject subject;
  Call call;  // with the handle in this argument, and good values in all others
  Refusal refusal;
  uint64_t accepted = 0;             // the answer for a handle of the right kind
  std::optional<Refusal> of_zero{};  // if 0 is treated differently from other handles that name nothing
  std::vector<std::string> calls{};  // that a refusing operation makes of callbacks
};

inline std::ostream &operator<<(std::ostream &stream, const Row &row) {
  return stream << row.operation << ", " << row.argument;
}

const std::vector<Row> &rows();

}  // namespace handles
