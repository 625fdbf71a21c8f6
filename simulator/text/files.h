// Writes files that are always whole.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

// Writes a file under another name in the same folder and renames it, so that at every moment the path has either its
// old contents or all of the new ones. The file gets 'mode'; without one, an existing file keeps its mode and a new one
// gets what the process gives new files. A link stays a link. Returns what went wrong, or nothing.
std::optional<std::string> write_whole(const std::string &path, std::string_view text,
                                       std::optional<unsigned> mode = std::nullopt);

}  // namespace simulator
