// Writes files so that a reader finds the old text or the new one, but never a part.
#pragma once

#include <string>
#include <string_view>

namespace command {

// Gives the file this text. A file that exists keeps its permissions, and a symbolic link remains one: the file that it
// points to is replaced. What is no regular file, a terminal or a pipe, is written to. Returns what went wrong, or
// nothing; a file that could not be replaced is as before.
std::string replace_file(const std::string &path, std::string_view text);

}  // namespace command
