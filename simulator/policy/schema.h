// The JSON Schema of policy files.
#pragma once

namespace simulator {

// The content of share/schema/policy.json, embedded at build time.
extern const char *const kPolicySchema;

}  // namespace simulator
