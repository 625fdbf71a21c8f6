// The style and the script of the page, which contain no text of a policy file.
#pragma once

namespace simulator::page {

extern const char *const kStyle;
extern const char *const kScript;

}  // namespace simulator::page
