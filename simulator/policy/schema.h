// The JSON Schema of policy files.
#pragma once

namespace simulator {

// The content of share/schema/policy.json, taken in when the command is built.
extern const char *const kPolicySchema;

}  // namespace simulator
