// zar lsp: the language server, on standard input and output.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <optional>

#include "command/command.h"
#include "command/effort.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/report.h"
#include "command/study_process.h"
#include "simulator/language_server/server.h"
#include "simulator/messages/framing.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// Moves messages between the editor, the server and the process that studies a text.
class Conversation {
 public:
  Conversation(const std::string &version, uint32_t effort) : server_(version), effort_(effort) {}

  int run() {
    while (!server_.exit_code() && !has_ended_) {
      wait();
      while (server_.step()) {
        write_all();
        // What has arrived meanwhile may cancel what waits.
        if (has_input()) read_some();
      }
      drop_outdated_study();
      write_all();
    }
    if (!framer_.error().empty()) complain(framer_.error());
    // An editor says exit before it goes.
    return server_.exit_code().value_or(kNo);
  }

 private:
  // Milliseconds without input before a text is checked: nobody reads what is wrong with half a word.
  static constexpr int kQuiet = 30;

  bool has_input() const {
    if (has_ended_) return false;
    pollfd input = {STDIN_FILENO, POLLIN, 0};
    return poll(&input, 1, 0) > 0;
  }

  // Waits for something to do, and takes it in.
  void wait() {
    pollfd watched[] = {{STDIN_FILENO, POLLIN, 0}, {study_ ? study_->descriptor() : -1, POLLIN, 0}};
    const bool may_start = !study_ && server_.has_order();
    const int ready = poll(watched, std::size(watched), may_start ? kQuiet : -1);
    if (ready < 0) return;
    if (ready == 0) start_study();
    if (watched[1].revents != 0 && !study_->receive(server_)) study_.reset();
    if (watched[0].revents != 0) read_some();
  }

  void read_some() {
    char buffer[65536];
    const ssize_t got = read(STDIN_FILENO, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) return;
    has_ended_ = got <= 0;
    if (has_ended_) return;
    framer_.append({buffer, static_cast<size_t>(got)});
    while (const std::optional<std::string> message = framer_.next())
      server_.receive(*message);
    if (!framer_.error().empty()) has_ended_ = true;
  }

  void start_study() {
    if (std::optional<language_server::Order> order = server_.take_order()) study_.emplace(std::move(*order), effort_);
  }

  void drop_outdated_study() {
    if (study_ && !server_.is_current(study_->order())) study_.reset();
  }

  void write_all() {
    for (const Json &message : server_.take_outgoing())
      std::cout << messages::framed(compact_text(message));
    std::cout.flush();
  }

  language_server::Server server_;
  uint32_t effort_;
  messages::Framer framer_;
  std::optional<StudyProcess> study_;
  bool has_ended_ = false;  // the input, or what can be understood of it
};

class LspCommand final : public Command {
 public:
  explicit LspCommand(const char *version) : version_(version) {}

  const char *name() const override { return "lsp"; }
  const char *summary() const override { return "Help an editor with policy files, as its language server"; }

  void declare(Options &options) override {
    options.number("--effort", "SECONDS", effort_, kMostEffort, "Computing time for hard questions of lint (10)");
    options.epilogue(
        "Speaks the language server protocol on standard input and output. An editor starts it\n"
        "and gets errors and findings while you type, completion, explanations, definitions,\n"
        "uses, renaming, corrections, formatting, and what the scenario and the tests do.\n"
        "Exit code 0: the editor shut the server down; 1: it went without, or sent no messages.\n\n"
        "Examples:\n"
        "  zar lsp\n"
        "  vim.lsp.start({name = 'zar', cmd = {'zar', 'lsp'}})");
  }

  int run() override { return Conversation(version_, effort_).run(); }

 private:
  std::string version_;
  uint32_t effort_ = kDefaultEffort;
};

}  // namespace

std::unique_ptr<Command> make_lsp_command(const char *version) {
  return std::make_unique<LspCommand>(version);
}

}  // namespace command
