#include "command/progress.h"

#include <iostream>

#include "command/terminal.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

using terminal::Stream;

namespace {

bool has_room() {
  return terminal::is_terminal(Stream::err) && !terminal::is_terminal(Stream::out);
}

}  // namespace

Progress::Progress(size_t total) : total_(total), stride_(kStride), shown_(total >= kLong && has_room()) {}

Progress::Progress() : stride_(kStreamStride), shown_(has_room()) {}

Progress::~Progress() {
  if (shown_) std::cerr << terminal::line_eraser() << std::flush;
}

void Progress::step() {
  ++done_;
  if (shown_ && done_ % stride_ == 0) show();
}

void Progress::show() const {
  const std::string text = total_ ? concat(done_, " of ", *total_, " events") : concat(done_, " lines");
  std::cerr << terminal::line_eraser() << text << std::flush;
}

}  // namespace command
