// What a client passes to the repository: data blocks with a name and a value, and their functions. Every function logs
// its call.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "zar/zar.h"

namespace rig {

// The tag of the texts that the string functions return.
inline constexpr uint32_t kClientTextTag = 0x7e570001;

// The data behind an action or a filter.
struct Data {
  std::string name;
  std::string value;                   // two blocks are equal if their values are
  bool without_text = false;           // the string function returns NULL
  const void *param_map = nullptr;     // the parameter-map that the action uses
  int freed = 0;                       // how often the free function was called for it
  std::function<void()> on_call = {};  // runs inside each function, after the call was logged
};

// The functions, for contexts that a test puts together itself. The log lines:
//   free NAME                     the data
//   free context NAME             the context block of the data
//   compare STORED NEW
//   text NAME                     of a filter
//   text NAME ARGUMENT            of an action; the text itself is "NAME(ARGUMENT)"
//   notify added|removed NAME [target ids]
//   uses NAME                     the parameter-map question
//   removed target:0x.. pmap:0x.. the target-policy removal
void free_data(void *data, void *context);
uint32_t compare_data(void *stored_data, void *new_data);
uint32_t run_action(void *action_data, void *run);
uint32_t evaluate_filter(void *filter_data, void *run);
char *action_text(void *action_data, uint32_t argument);
char *filter_text(void *filter_data);
void notify_action(uint32_t removed, void *action_data, queue_head *target_infos);
uint32_t check_param_map(void *action_data, const void *param_map);
void policy_removed(uint32_t target, uint32_t pmap);

// Runs inside policy_removed, after the call was logged.
extern std::function<void(uint32_t target, uint32_t pmap)> on_policy_removed;

// Contexts with all functions, over 'data'.
zar_action_context action_context(Data &data);
zar_filter_context filter_context(Data &data);

// The target lists that notifications handed over; the handlers own them. Frees and forgets them.
void free_target_lists();

// A printer that stores its lines. Runs 'on_printed' inside each call, after storing the line.
extern std::function<void(const std::string &line)> on_printed;
struct Printed {
  std::string format;
  std::string text;
};
void capture_printer(const char *format, ...);
std::vector<Printed> &printed();
// The formatted lines so far; they are then forgotten.
std::vector<std::string> take_printed();

}  // namespace rig

// Exactly these lines went to the printer since the last check.
#define EXPECT_PRINTED(...) EXPECT_EQ(::rig::take_printed(), (std::vector<std::string>{__VA_ARGS__}))
