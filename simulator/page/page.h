// The report on a policy file for reviewers who do not have this tool: one HTML page that needs nothing else.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/diff/decision_groups.h"
#include "simulator/diff/objects.h"
#include "simulator/diff/stream_changes.h"
#include "simulator/lint/findings.h"
#include "simulator/page/figures.h"
#include "simulator/page/stream_figures.h"
#include "simulator/policy/model.h"
#include "simulator/policy/source.h"
#include "simulator/prove/answer.h"
#include "simulator/testing/report.h"

namespace simulator::page {

// The file that it is compared with.
struct Against {
  const PolicyFile *before;
  std::vector<diff::ObjectChange> changes{};
  std::optional<diff::DecisionChanges> decisions{};  // nothing: there is no scenario to replay
  std::optional<diff::StreamChanges> lines{};        // nothing: there is no stream to play on both
};

// A picture of the graph.
struct Picture {
  std::string svg{};
  bool is_overview = false;  // rules and class-maps are left out, because there are too many
};

// What the page says. Everything that it points to must outlive it.
struct Contents {
  const PolicyFile *file;
  const Source *source;
  const Figures *figures;
  const lint::Findings *findings;
  const Report *tests;
  const prove::Answers *claims;           // an answer for each claim of the file
  const StreamFigures *stream = nullptr;  // NULL: there is no stream
  std::optional<Against> against{};
  std::optional<Picture> picture{};
};

// The whole document.
std::string page_of(const Contents &contents);

}  // namespace simulator::page
