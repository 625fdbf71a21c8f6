// Work in a process of its own, on a copy of everything this process knows.
#pragma once

#include <csignal>
#include <functional>
#include <optional>
#include <string>

namespace command {

// Does the work and returns the text that it returned; nothing if the process ended early. Throws Interrupted, after
// ending the process, if an interruption is requested; 'signal' is the one that requests it.
std::optional<std::string> run_apart(const std::function<std::string()> &work, int signal);

// For a process that was just forked: it ends when the process 'parent' does, however that ends.
void end_with_parent(pid_t parent);

}  // namespace command
