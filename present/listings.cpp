// The show listings. Every line goes through the caller's printer, whose first value is the caller's line prefix; the
// library keeps none of it. Composed texts are built in buffers of 100 bytes and cut at 99 characters.
#include <cstdio>

#include "compose/rules.h"
#include "core/callbacks.h"
#include "platform/tags.h"
#include "present/selection.h"
#include "zar/present.h"

using namespace zar;

namespace {

constexpr size_t kBufferSize = 100;

const char *text_or_empty(const char *text) {
  return text ? text : "";
}

bool printer_given(const char *name, zar_printer_fn printer) {
  if (!printer) TRACE_ERROR("(ERR): %s: input printer cannot be NULL", name);
  return printer;
}

// A caller's printer.
class Printer {
 public:
  explicit Printer(zar_printer_fn function) : function_(function) {}

  template <class... Values>
  void operator()(const char *format, Values... values) const {
    call("printer", function_, format, values...);
  }

 private:
  zar_printer_fn function_;
};

// ---- Policy-maps

// Prints policy-maps to one printer. 'verbose' adds the label of each line and the counts of executions.
//
// A printer may delete what the line shows. So the walk over a record's contents begins before the record's line is
// printed, and the record is not read after its line.
class PolicyMapPrinter {
 public:
  PolicyMapPrinter(zar_printer_fn printer, const char *prefix, bool verbose)
      : print_(printer), prefix_(prefix), verbose_(verbose) {}

  void print(const zar_pmap &pmap) const {
    const char *name = or_null(text_of(pmap.name));
    const bool has_events = is_control(pmap);
    Elements<zar_event_tuple> events(pmap.rule_list);
    if (verbose_) {
      print_("%s%s%s", prefix_, "Control_Policy: ", name);
    } else {
      print_("%s%s", prefix_, name);
    }
    if (has_events) print_events(events);
  }

 private:
  // Without memory for an event's line the remaining events are omitted.
  void print_events(Elements<zar_event_tuple> &events) const {
    for (const zar_event_tuple &event : events) {
      Elements<zar_class_action> rules(event.class_actions);
      if (!print_event_line(event)) return;
      print_rules(rules);
    }
  }

  bool print_event_line(const zar_event_tuple &event) const {
    const char *name = event.event_context ? text_of(event.event_context->event_name) : nullptr;
    if (!name) return true;
    OwnedText line = OwnedText::of_size(kBufferSize, ZAR_TAG_EVENT_LINE);
    if (!line) {
      print_("%sUnable to allocate memory for event_buf\n", prefix_);
      return false;
    }
    std::snprintf(line.get(), kBufferSize, "%s %s %s", "event", name,
                  or_null(kel_pmap_class_match_get_string_short(event.match_criteria)));
    if (verbose_) {
      print_("%s  %-12s%s", prefix_, "Event:", line.get());
    } else {
      print_("%s  %s", prefix_, line.get());
    }
    return true;
  }

  // Without memory for a rule's line the remaining rules of the event are omitted, with their actions.
  void print_rules(Elements<zar_class_action> &rules) const {
    for (const zar_class_action &rule : rules) {
      Elements<zar_action> actions(rule.actions);
      if (!print_rule_line(rule)) return;
      for (const zar_action &action : actions)
        print_action(action);
    }
  }

  bool print_rule_line(const zar_class_action &rule) const {
    if (!rule.cmap) return true;
    OwnedText line = OwnedText::of_size(kBufferSize, ZAR_TAG_CLASS_LINE);
    if (!line) {
      print_("%sUnable to allocate memory for cmap_buf\n", prefix_);
      return false;
    }
    std::snprintf(line.get(), kBufferSize, "%d %s %s %s", rule.class_num, "class", or_null(text_of(rule.cmap->name)),
                  or_null(kel_pmap_action_exec_criteria_get_string_short(rule.exec_criteria)));
    if (verbose_) {
      print_("%s    %-12s%s", prefix_, "Class-map:", line.get());
    } else {
      print_("%s    %s", prefix_, line.get());
    }
    return true;
  }

  // The line of the precedence repeats the action's text.
  void print_action(const zar_action &action) const {
    OwnedText text(action.action_str_fn ? call("action_str_fn", action.action_str_fn, action.action_data, 0u)
                                        : nullptr);
    const uint32_t number = action.action_num, precedence = action.precedence, executed = action.executed_count;
    if (text && verbose_) {
      print_("%s      %-8s%u %s", prefix_, "Action:", number, text.get());
      print_("%s      %-8s%u %s", prefix_, "Precedence:", precedence, text.get());
    } else if (text) {
      print_("%s      %u %s", prefix_, number, text.get());
    }
    text.give_back();
    if (verbose_) print_("%s      %-10s%u", prefix_, "Executed:", executed);
  }

  Printer print_;
  const char *prefix_;
  bool verbose_;
};

// ---- Class-maps

// Prints the table of class-maps: a row for each filter.
class ClassMapTable {
 public:
  ClassMapTable(zar_printer_fn printer, const char *prefix, const char *suffix, const Selection &wanted)
      : print_(printer), prefix_(prefix), suffix_(suffix), wanted_(wanted) {}

  void print_head() const {
    print_(kHeadFormat, prefix_, "Class-map", "Action", "Exec", "Hit", "Miss", "Comp", suffix_);
    print_(kHeadFormat, prefix_, "---------", "------", "----", "---", "----", "----", suffix_);
  }

  // The maps of one database. A walk over all omits hidden class-maps; a class-map given by name is shown.
  Status print_database(zar_db *database) const {
    OwnedText cell = OwnedText::of_size(kBufferSize, wanted_.all ? ZAR_TAG_ALL_CLASS_MAPS : ZAR_TAG_ONE_CLASS_MAP);
    if (!cell) {
      print_("%sUnable to allocate memory for buf\n", prefix_);
      return kFailed;
    }
    return for_each_selected_in<zar_cmap>(database, wanted_, [&](const zar_cmap &cmap) {
      return wanted_.all && zar_get_cmap_if_hidden(cmap.handle) ? kSuccess : print_rows(cmap, cell.get());
    });
  }

 private:
  static constexpr char kHeadFormat[] = "%s%-28s%-29s%6s%5s%6s%6s%s";

  // A filter without a text means that the configuration changed under the walk.
  Status print_rows(const zar_cmap &cmap, char *cell) const {
    std::snprintf(cell, kBufferSize, "%s %s", or_null(kel_cmap_match_criteria_get_string_short(cmap.match_criteria)),
                  or_null(text_of(cmap.name)));
    for (const zar_filter &filter : Elements<zar_filter>(cmap.filters)) {
      OwnedText text(zar_get_filter_nvgen_str_internal(&filter));
      if (!text) {
        print_changed();
        return kFailed;
      }
      print_row(cell, text.get(), filter);
    }
    return kSuccess;
  }

  // The counts are cut to the width of their columns; the column of the hits is narrower.
  void print_row(const char *cell, const char *filter_text, const zar_filter &filter) const {
    print_("%s%-27s %-29s %5lu %4lu %5lu %5lu%s", prefix_, cell, filter_text, modulo(filter.exec_count, 10000),
           modulo(filter.hit_count, 1000), modulo(filter.miss_count, 10000), modulo(filter.comp_count, 10000), suffix_);
  }

  // The two walks pad the line differently.
  void print_changed() const {
    if (wanted_.all) {
      print_("%sRunning config changed, please redo                         \n", prefix_);
    } else {
      print_("%sRunning config changed, please redo                                 \n", prefix_);
    }
  }

  static unsigned long modulo(uint32_t count, uint32_t limit) { return count % limit; }

  Printer print_;
  const char *prefix_;
  const char *suffix_;
  Selection wanted_;
};

}  // namespace

uint32_t zar_print_policymap(const char *prefix, zar_printer_fn printer, const char *domain, const char *name,
                             uint32_t all, uint32_t control) {
  static constexpr char kName[] = "print_policymap";
  Selection wanted{domain, name, all != 0};
  bool valid = printer_given(kName, printer);
  valid &= valid_selection(kName, wanted);
  if (!valid) return kInvalidArgument;

  PolicyMapPrinter policies(printer, text_or_empty(prefix), control != 0);
  return for_each_selected<zar_pmap>(kName, wanted, [&policies](const zar_pmap &pmap) {
    policies.print(pmap);
    return kSuccess;
  });
}

uint32_t zar_print_classmap(const char *prefix, zar_printer_fn printer, const char *suffix, const char *domain,
                            const char *name, uint32_t all) {
  static constexpr char kName[] = "print_classmap";
  Selection wanted{domain, name, all != 0};
  bool valid = printer_given(kName, printer);
  valid &= valid_selection(kName, wanted);
  if (!valid) return kInvalidArgument;

  ClassMapTable table(printer, text_or_empty(prefix), text_or_empty(suffix), wanted);
  table.print_head();
  return for_each_database(kName, domain, [&](zar_db *database) { return table.print_database(database); });
}
