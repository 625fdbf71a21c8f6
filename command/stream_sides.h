// Plays a stream on the repository of a policy file, or on those of two files at once, in a process for each: a process
// has one repository at a time, and the one that asks stays as it is.
#pragma once

#include <functional>

#include "command/frames.h"
#include "command/stream_input.h"
#include "simulator/diff/decisions.h"

namespace command {

// What a line did, in the order of the lines. The output of a reply is a decision, packed as that of a StreamSide; on one
// file it has no more than the names and the error. What the replies point to is valid until the call returns.
using EachLine = std::function<void(const Reply &reply)>;
using EachPair = std::function<void(const Reply &before, const Reply &after)>;

// They return the exit code of what went wrong in a process, or 0. Whatever is wrong with the input is left in it.
int play_on_one(const simulator::PolicyFile &file, StreamInput &input, const EachLine &each);
// Lines can have the names of either file. Only the replies of the new file have the kinds of the targets.
int play_on_both(const simulator::diff::Files &files, const simulator::diff::Renames &renames, StreamInput &input,
                 const EachPair &each);

}  // namespace command
