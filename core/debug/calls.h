// What the observer of operations knows about the one that is under way.
#pragma once

namespace zar::debug {

// Whether the process asks for checks.
bool checks_run();

// The exported name of the operation that was called from outside.
const char *name_of_operation();

// The exported name that begins at this address; NULL if there is none.
const char *exported_name(const void *address);

}  // namespace zar::debug
