// Plays the lines of a stream on a live repository: raises events, and lets targets come and go.
#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>

#include "simulator/repository/repository.h"
#include "simulator/stream/line_reader.h"
#include "simulator/stream/lines.h"
#include "simulator/stream/recorder.h"

namespace simulator::stream {

// What one line did. Valid until the next line.
struct Played {
  size_t line = 0;
  std::string_view error{};            // why the line is bad; it then did nothing
  const Request *request = nullptr;    // NULL if the line could not be read
  const Happened *happened = nullptr;  // of an event that is not bad
};

class Player {
 public:
  // 'repository' is built from 'file'; from then on its targets come and go as the lines want.
  Player(const PolicyFile &file, Repository &repository);

  const Played &play(const Line &line);
  // Plays lines until 'each', called with what each of them did, returns false, which is then the result. At most
  // kMostTogether of them. All are read first, so that the memory of their targets is waited for once.
  static constexpr size_t kMostTogether = engine::kMostPrefetched;
  bool play(std::span<const Line> lines, const std::function<bool(const Played &)> &each);
  // The same for a line that was read already.
  const Played &play(size_t line, const Request &request);
  // Whether the file mentions the attribute.
  bool knows(std::string_view attribute) const { return attributes_.contains(attribute); }
  // The library refused something that a good line needs, or memory ran out; the repository has the problems.
  bool is_broken() const { return broken_; }
  const Rules &rules() const { return rules_; }

 private:
  struct Bad {
    std::string what;
  };

  template <class Work>
  const Played &played(size_t line, Work work);
  const Request *read(const Line &line, size_t with);
  const Played &play_read(const Line &line, size_t with, const Request *request);
  void prefetch(std::span<const Request *const> requests) const;
  void play_request(const Request &request);
  void raise(const Request &request);
  void change_attributes(uint32_t target, const Request &request);
  void set_given(engine::Attributes &attributes, const Request &request);
  void add_target(const Request &request);
  void check_new_target(const Request &request);
  const Client *known_client(const Request &request) const;
  void check_policies(const Request &request);
  void delete_target(const Request &request);

  uint32_t known_event(std::string_view name) const;
  uint32_t known_target(std::string_view name) const;
  engine::AttributeId known_attribute(std::string_view name) const;
  void check_values(const std::vector<Given> &values);

  const PolicyFile *file_;
  size_t handles_;  // of the repository's objects
  Repository *repository_;
  Rules rules_;
  Recorder recorder_;
  std::array<LineReader, kMostTogether> readers_;  // one for each line that is read together
  // The attributes that the file mentions. Those of a stream are not added: a log may have any number of them.
  std::vector<std::string> attribute_names_;
  ByName<engine::AttributeId> attributes_;
  std::vector<size_t> last_given_;  // by attribute: the last check that found it, to find duplicates
  size_t checks_ = 0;
  std::vector<engine::AttributeId> given_;   // of the values of this line
  std::vector<const PolicyMap *> policies_;  // of the target that this line adds
  Played played_;
  std::string error_;
  bool broken_ = false;
};

}  // namespace simulator::stream
