#include "simulator/policy/yaml_events.h"

#include <sstream>

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/parser.h>

namespace simulator::yaml {

namespace {

class Recorder final : public YAML::EventHandler {
 public:
  std::vector<Event> take() { return std::move(events_); }

  void OnDocumentStart(const YAML::Mark &) override {}
  void OnDocumentEnd() override {}
  void OnNull(const YAML::Mark &, YAML::anchor_t anchor) override { add(EventKind::null, anchor); }
  void OnAlias(const YAML::Mark &, YAML::anchor_t) override { add(EventKind::alias, YAML::NullAnchor); }
  void OnScalar(const YAML::Mark &, const std::string &, YAML::anchor_t anchor, const std::string &value) override {
    add(EventKind::scalar, anchor, value);
  }
  void OnSequenceStart(const YAML::Mark &, const std::string &, YAML::anchor_t anchor,
                       YAML::EmitterStyle::value) override {
    add(EventKind::list, anchor);
  }
  void OnSequenceEnd() override { add(EventKind::end, YAML::NullAnchor); }
  void OnMapStart(const YAML::Mark &, const std::string &, YAML::anchor_t anchor, YAML::EmitterStyle::value) override {
    add(EventKind::mapping, anchor);
  }
  void OnMapEnd() override { add(EventKind::end, YAML::NullAnchor); }

 private:
  void add(EventKind kind, YAML::anchor_t anchor, const std::string &text = {}) {
    events_.push_back({kind, anchor != YAML::NullAnchor, text});
  }

  std::vector<Event> events_;
};

}  // namespace

std::vector<Event> events_of(const Source &source) {
  std::istringstream text(source.text());
  YAML::Parser parser(text);
  Recorder recorder;
  parser.HandleNextDocument(recorder);
  return recorder.take();
}

}  // namespace simulator::yaml
