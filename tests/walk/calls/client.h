// Everything outside the library in a sequence of calls: the clients with their data and functions, the printer, and
// the engine. Each call to them adds a line to one log.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "zar/zar.h"

namespace calls {

// printf into a string.
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
std::string
text(const char *format, ...);

std::vector<std::string> &log();

// The data behind an action or a filter. Two are equal when their values are.
struct Data {
  uint32_t id = 0;
  uint8_t value = 0;
  bool mute = false;  // its string functions return NULL
};
// Its id; 0 for NULL.
uint32_t id_of(const void *data);
// What the string functions return for it.
std::string action_text_of(const Data &data, uint32_t argument);
std::string filter_text_of(const Data &data);

// What a function of a client does after its line is logged, besides its own work: nothing, unless it should call back
// into the library.
std::function<void()> &when_called();

// The functions of contexts. Two of them have a twin, since contents are the same only if their functions are.
void free_data(void *data, void *context);
void free_data_too(void *data, void *context);
uint32_t run_action(void *data, void *run);
uint32_t run_action_too(void *data, void *run);
char *action_text(void *data, uint32_t argument);
char *filter_text(void *data);
uint32_t compare_data(void *stored, void *offered);
void notify(uint32_t removed, void *data, queue_head *target_infos);
uint32_t check_param_map(void *data, const void *param_map);
void policy_removed(uint32_t target, uint32_t pmap);
void print(const char *format, ...);

// The parameter-map that an action of this value uses.
const void *param_map_of(uint8_t value);

// Frees the target lists that notifications handed over in the last call.
void end_target_lists();

// What the engine refuses at its next call.
enum class Refusal { none, create, find, remove, free_context, parameter_map_type };
struct Engine {
  Refusal refusal = Refusal::none;
  // The target of the last requested instance: a target whose creation fails in the end leaves no other trace.
  uint32_t last_target = 0;
  std::map<std::string, std::string> instances;  // by "target/key"; the entry itself is the instance
};
Engine &engine();
std::string instance_key(const char *name, const char *domain, uint32_t type);
// The texts for criteria.
const char *cmap_criteria_text(uint32_t criteria);
const char *event_criteria_text(uint32_t criteria);
const char *exec_criteria_text(uint32_t criteria);

}  // namespace calls
