// Fuzzes the loader of policy files: any bytes result in either a policy file or errors that can be shown.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "simulator/policy/load.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const simulator::Source source("fuzz.yaml", std::string(reinterpret_cast<const char *>(data), size));
  simulator::Diagnostics diagnostics;
  source.check(diagnostics);
  const bool is_text = diagnostics.empty();
  std::optional<simulator::PolicyFile> file;
  if (is_text) file = simulator::load(source, diagnostics);
  if (file.has_value() != diagnostics.empty()) std::abort();
  if (!diagnostics.empty() && simulator::render(diagnostics, source).empty()) std::abort();
  // A good file can be added to an empty repository, but not twice: unless it is empty, its names are then taken.
  if (!file) return 0;
  simulator::PolicyFile again;
  again.index();
  if (!simulator::load_more(again, source, diagnostics) || again.events != file->events) std::abort();
  const size_t handles = again.handles(), attributes = again.attributes();
  const bool has_names = !again.clients.empty() || !again.domains.empty() || !again.parameter_maps.empty();
  if (simulator::load_more(again, source, diagnostics) == has_names) std::abort();
  if (has_names && (again.handles() != handles || again.attributes() != attributes)) std::abort();
  return 0;
}
