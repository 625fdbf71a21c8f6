#include "support/requests.h"

#include <utility>

#include "host/runtime/control.h"
#include "support/call_log.h"

namespace rig {
namespace {

using runtime::Request;
using runtime::Service;

std::vector<std::string> requests_seen;
std::vector<std::string> removals_seen;

// A named pool has no tag.
std::string tag_of(const Request &request) {
  return request.tag == 0 ? "" : text(" 0x%x", request.tag);
}

std::string line_of(const Request &request) {
  switch (request.service) {
    case Service::id_table:
      return text("id table 0x%x \"%s\"", request.tag, request.text);
    case Service::id:
      return text("id 0x%x", request.tag);
    case Service::pool:
      if (request.tag == 0) return text("pool \"%s\" of %zu", request.text, request.size);
      return text("pool 0x%x of %zu", request.tag, request.size);
    case Service::record:
      return text("record%s of %zu", tag_of(request), request.size);
    case Service::block:
      return text("block 0x%x of %zu", request.tag, request.size);
    case Service::duplicate:
      return text("duplicate 0x%x \"%s\"", request.tag, request.text);
    case Service::text:
      return text("text 0x%x \"%s\"", request.tag, request.text);
    case Service::tree_init:
      return "tree init";
    case Service::tree_insert:
      return "tree insert";
    case Service::queue_entry:
      return "queue entry";
    case Service::queue_cell:
      return "queue cell";
  }
  return "?";
}

// Takes over what the runtime has recorded, and continues recording.
void drain() {
  for (const Request &request : runtime::recorded_requests())
    requests_seen.push_back(line_of(request) + (request.failed ? " failed" : ""));
  for (const runtime::TextRemoval &removal : runtime::recorded_text_removals())
    removals_seen.push_back(text("0x%x \"%s\"", removal.tag, removal.text));
  runtime::record_requests(true);
}

std::string rendered(const runtime::PoolInfo &pool) {
  return text("%zu bytes, %u per chunk, flags 0x%x", pool.record_size, pool.per_chunk, pool.flags);
}

}  // namespace

void watch_requests() {
  runtime::record_requests(true);
  requests_seen.clear();
  removals_seen.clear();
}

std::vector<std::string> take_requests() {
  drain();
  return std::exchange(requests_seen, {});
}

std::vector<std::string> take_text_removals() {
  drain();
  return std::exchange(removals_seen, {});
}

std::string pool_of(uint32_t tag) {
  for (const runtime::PoolInfo &pool : runtime::pools()) {
    if (pool.tag == tag && pool.name.empty()) return rendered(pool);
  }
  return "";
}

std::string pool_of(const std::string &name) {
  for (const runtime::PoolInfo &pool : runtime::pools()) {
    if (pool.name == name) return rendered(pool);
  }
  return "";
}

size_t records_out(uint32_t tag) {
  for (const runtime::PoolInfo &pool : runtime::pools()) {
    if (pool.tag == tag && pool.name.empty()) return pool.live;
  }
  return 0;
}

size_t blocks_out(uint32_t tag) {
  const auto counts = runtime::blocks_by_tag();
  const auto found = counts.find(tag);
  return found == counts.end() ? 0 : found->second.blocks;
}

}  // namespace rig
