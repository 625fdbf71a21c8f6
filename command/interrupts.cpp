#include "command/interrupts.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>

#include "simulator/text/interruption.h"

namespace command {

namespace {

void note_interrupt(int) {
  simulator::interruption::request();
}

}  // namespace

// Without SA_RESTART: reading a file that never comes has to end too.
Interruptible::Interruptible() {
  simulator::interruption::withdraw();
  struct sigaction action = {};
  action.sa_handler = note_interrupt;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
}

Interruptible::~Interruptible() {
  std::signal(SIGINT, SIG_IGN);
}

void end_as_interrupted() {
  constexpr int kInterrupted = 128 + SIGINT;
  std::signal(SIGINT, SIG_DFL);
  kill(getpid(), SIGINT);
  // The signal may be blocked.
  std::_Exit(kInterrupted);
}

}  // namespace command
