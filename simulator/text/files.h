// Writes files so that a reader finds the old text or the new one, but never a part.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace simulator {

// Gives the file this text. The file gets 'mode'; without one, a file that exists keeps its permissions, and a new one
// gets what the process gives new files. A symbolic link remains one: the file that it points to is replaced. What is no
// regular file, a terminal or a pipe, is written to. Returns what went wrong, or nothing; a file that could not be
// replaced is as before.
std::optional<std::string> write_whole(const std::string &path, std::string_view text,
                                       std::optional<unsigned> mode = std::nullopt);

}  // namespace simulator
