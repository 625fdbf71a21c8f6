// Loads policy files.
#pragma once

#include <optional>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"
#include "simulator/policy/yaml.h"

namespace simulator {

// Returns the file in 'source', or nothing when anything is wrong with it; 'diagnostics' then lists everything that is.
std::optional<PolicyFile> load(const Source &source, Diagnostics &diagnostics);
// The same for a caller that also uses the tree of the source.
std::optional<PolicyFile> load(const yaml::Document &document, const Source &source, Diagnostics &diagnostics);

// What a source has beside its objects.
struct SourceSteps {
  std::vector<Step> scenario{};
  std::vector<Test> tests{};
  std::vector<Claim> claims{};
};

// Adds the objects of 'source' to those of 'file'; no name may be in both. Its scenario, tests and claims replace those in
// 'steps'. Returns false when anything is wrong with the source; the file and 'steps' are then unchanged.
bool load_more(PolicyFile &file, const Source &source, Diagnostics &diagnostics, SourceSteps &steps);
// The same for a caller that needs only the objects.
bool load_more(PolicyFile &file, const Source &source, Diagnostics &diagnostics);

// Adds the scenario and the tests of 'source', which has nothing else, to those of 'file'. Returns false when anything
// is wrong with the source; the file is then unchanged. The number of the source is that of its path in 'more_paths'.
bool load_tests(PolicyFile &file, const Source &source, Diagnostics &diagnostics);

// Adds the claim in 'source' to those of 'file'. Returns false when anything is wrong with it; the file is then unchanged.
bool load_claim(PolicyFile &file, const Source &source, Diagnostics &diagnostics);

}  // namespace simulator
