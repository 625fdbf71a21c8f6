#include "command/progress.h"

#include <iostream>

#include "command/terminal.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

using terminal::Stream;

Progress::Progress(size_t total)
    : total_(total),
      shown_(total >= kLong && terminal::is_terminal(Stream::err) && !terminal::is_terminal(Stream::out)) {}

Progress::~Progress() {
  if (shown_) std::cerr << terminal::line_eraser() << std::flush;
}

void Progress::step() {
  ++done_;
  if (!shown_ || done_ % kStride != 0) return;
  std::cerr << concat(terminal::line_eraser(), done_, " of ", total_, " events") << std::flush;
}

}  // namespace command
