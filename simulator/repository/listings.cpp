#include "simulator/repository/listings.h"

#include <cstdarg>
#include <cstdio>
#include <unordered_set>
#include <vector>

#include "simulator/text/text.h"

namespace simulator {

namespace {

// The library's print callback has no argument for the caller, so its output is collected here.
std::string collected;

__attribute__((format(printf, 1, 2))) void print_line(const char *format, ...) {
  std::va_list values;
  va_start(values, format);
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, values);
  va_end(values);

  std::vector<char> line(length > 0 ? static_cast<size_t>(length) + 1 : 1);
  std::vsnprintf(line.data(), line.size(), format, again);
  va_end(again);

  collected += line.data();
  // Most of the library's lines have no newline at the end.
  if (collected.empty() || collected.back() != '\n') collected += '\n';
}

// An empty line separates the lists.
void print_heading(const std::string &heading) {
  print_line("%s%s\n", collected.empty() ? "" : "\n", heading.c_str());
}

void list_database(const std::string &domain, const std::string &heading, const Listed &listed) {
  const uint32_t all = listed.name ? 0 : 1;
  const char *name = listed.name ? listed.name->value.c_str() : nullptr;
  if (listed.policies) {
    print_heading("Policy-maps " + heading);
    zar_print_policymap("  ", print_line, domain.c_str(), name, all, 0);
    print_heading("Policy-maps " + heading + ", with counters");
    zar_print_policymap("  ", print_line, domain.c_str(), name, all, 1);
  }
  if (listed.classes) {
    print_heading("Class-maps " + heading);
    zar_print_classmap("  ", print_line, "", domain.c_str(), name, all);
  }
}

}  // namespace

// The listing of a domain shows the whole database of the domain's owner, so one domain of each database is enough.
std::string listings(const PolicyFile &file, const Repository &repository, const Listed &listed) {
  collected.clear();
  std::unordered_set<const zar_db *> done;
  for (const Domain &domain : file.domains) {
    if (listed.domain && domain.name.value != listed.domain->value) continue;
    zar_db *database = nullptr;
    uint32_t is_default = 0;
    const uint32_t owner = repository.owner_of(domain.name.value);
    if (!zar_get_client_database_handle(owner, "listing", &database, &is_default)) continue;
    if (!done.insert(database).second) continue;
    list_database(domain.name.value,
                  is_default || !domain.owner ? std::string("of the default database")
                                              : concat("of client ", domain.owner->value),
                  listed);
  }
  return std::move(collected);
}

}  // namespace simulator
