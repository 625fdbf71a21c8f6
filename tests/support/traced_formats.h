// The formats of the messages that tests produce, for the check that every message of the library was produced by some
// test. It is a check over all tests, so the formats go to a file.
#pragma once

#include <string>

namespace rig {

// Appends the format to the file that ZAR_TRACED_FORMATS names, as a line with newlines written \n, the first time that
// this process meets it. Without that variable nothing happens.
void note_format(const std::string &format);

}  // namespace rig
