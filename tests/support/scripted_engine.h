// A scripted engine: it defines every name that the library imports from its engine, returns scripted results, and logs
// its calls among those of the callbacks.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace rig {

struct Engine {
  // What the next calls return; a call that returns anything but 0 does nothing else.
  uint32_t create_status = 0;
  uint32_t find_status = 0;
  uint32_t delete_status = 0;
  uint32_t free_ae_status = 0;
  // The type of a domain's parameter-maps; an unlisted domain has none, and the call returns 1.
  std::map<std::string, uint32_t> parameter_map_types;
  // Runs inside each call, after it was logged.
  std::function<void(const std::string &call)> on_call;

  // The existing policy instances, by "target/name:domain:type".
  const std::map<std::string, void *> &instances() const { return instances_; }

  std::map<std::string, void *> instances_;
};

Engine &engine();
// Resets the engine: all calls succeed, there is no instance, "subscriber" has parameter-maps of type 1.
void reset_engine();

// The log lines of its calls, for comparisons; 'key' is "name:domain:type".
std::string instance_created(uint32_t target, uint32_t clid, const std::string &key);
std::string instance_sought(uint32_t target, const std::string &key);
std::string instance_deleted(uint32_t target, const std::string &key);
std::string ae_context_freed(const void *ae_context);
std::string type_asked(const std::string &domain);

}  // namespace rig
