#include "host/runtime/control.h"

#include <cstdio>

#include "host/runtime/monitor.h"

namespace runtime {

namespace {

void add_line(std::string &lines, const char *what, const std::string &which, size_t count) {
  lines += std::string(what) + which + ": " + std::to_string(count) + "\n";
}

std::string hex(uint32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

}  // namespace

const char *to_string(Service service) {
  switch (service) {
    case Service::id_table:
      return "id_table";
    case Service::id:
      return "id";
    case Service::pool:
      return "pool";
    case Service::record:
      return "record";
    case Service::block:
      return "block";
    case Service::duplicate:
      return "duplicate";
    case Service::text:
      return "text";
    case Service::tree_init:
      return "tree_init";
    case Service::tree_insert:
      return "tree_insert";
    case Service::queue_entry:
      return "queue_entry";
    case Service::queue_cell:
      return "queue_cell";
  }
  return "?";
}

Inventory inventory() {
  Inventory result;
  result.ids = live_ids().size();
  result.records = live_records();
  for (const auto &[tag, count] : blocks_by_tag())
    if (count.blocks > 0) result.blocks[tag] = count.blocks;
  result.texts = interned_texts();
  result.queue_entries = live_queue_entries();
  return result;
}

std::string to_string(const Inventory &inventory) {
  std::string lines;
  if (inventory.ids) add_line(lines, "ids", "", inventory.ids);
  if (inventory.records) add_line(lines, "records", "", inventory.records);
  for (const auto &[tag, blocks] : inventory.blocks)
    add_line(lines, "blocks of tag ", hex(tag), blocks);
  for (const auto &[text, count] : inventory.texts)
    add_line(lines, "text ", '"' + text + '"', count);
  if (inventory.queue_entries) add_line(lines, "queue entries", "", inventory.queue_entries);
  return lines;
}

}  // namespace runtime
