// The name key of maps: the text "name:domain:type" under which a map is in its tree.
#pragma once

#include "core/text.h"
#include "zar/records.h"

namespace zar {

// A name key in its own buffer, cut at 99 characters: names that differ only after the cut share a key.
class NameKey {
 public:
  // Of a map info that was verified.
  explicit NameKey(const zar_map_info &info);
  char *text() { return text_; }

 private:
  static constexpr size_t kSize = 100;

  void append(const char *text);
  void append(char character);

  char text_[kSize];
  size_t length_ = 0;
};

// A record that is in no tree and has only the key to search for.
template <class Map>
Map probe_for(NameKey &key) {
  Map probe{};
  probe.hash_str = key.text();
  return probe;
}

}  // namespace zar
