#include "command/editor.h"

#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <new>

#include "command/terminal.h"
#include "simulator/text/columns.h"
#include "simulator/text/text.h"

namespace command {

namespace {

char *prompt(EditLine *) {
  static char text[] = "zar> ";
  return text;
}

size_t columns_of_terminal() {
  constexpr size_t kUsual = 80;
  const size_t width = terminal::width();
  return width > 0 ? width : kUsual;
}

}  // namespace

Editor::Editor(Complete complete)
    : complete_(std::move(complete)), line_(el_init("zar", stdin, stdout, stderr)), history_(history_init()) {
  if (!line_ || !history_) throw std::bad_alloc();
  constexpr int kRemembered = 1000;
  HistEvent event;
  history(history_, &event, H_SETSIZE, kRemembered);
  history(history_, &event, H_SETUNIQUE, 1);
  el_set(line_, EL_CLIENTDATA, this);
  el_set(line_, EL_PROMPT, prompt);
  el_set(line_, EL_EDITOR, "emacs");
  el_set(line_, EL_HIST, history, history_);
  // The narrow call would copy the texts and never free the copies; the wide one uses them as they are.
  el_wset(line_, EL_ADDFN, L"complete-word", L"Complete the word before the cursor", complete_word);
  el_wset(line_, EL_ADDFN, L"give-up-line", L"Begin a new line", give_up_line);
  el_wset(line_, EL_ADDFN, L"suspend", L"Stop until the job is continued", suspend);
  el_set(line_, EL_BIND, "^I", "complete-word", nullptr);
  el_set(line_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  // While a line is typed, ^C and ^Z are ordinary keys: as a signal, an interrupt could be lost between two keys.
  el_set(line_, EL_SETTY, "-d", "-isig", nullptr);
  el_set(line_, EL_BIND, "^C", "give-up-line", nullptr);
  el_set(line_, EL_BIND, "^Z", "suspend", nullptr);
  // A signal from elsewhere must not end the session.
  std::signal(SIGINT, SIG_IGN);
}

Editor::~Editor() {
  el_end(line_);
  history_end(history_);
}

std::optional<std::string> Editor::read() {
  int count = 0;
  const char *text = nullptr;
  do {
    given_up_ = false;
    // Set before the prompt, so that the terminal does not process keys typed at once, such as end of file, itself.
    el_set(line_, EL_PREP_TERM, 1);
    text = el_gets(line_, &count);
  } while (given_up_);
  if (!text || count <= 0) {
    std::fputs("\n", stdout);
    std::fflush(stdout);
    return std::nullopt;
  }
  std::string line(text, static_cast<size_t>(count));
  while (line.ends_with('\n') || line.ends_with('\r'))
    line.pop_back();
  if (!line.empty()) remember(line);
  return line;
}

void Editor::remember(const std::string &line) {
  HistEvent event;
  history(history_, &event, H_ENTER, line.c_str());
}

Editor &Editor::of(EditLine *line) {
  void *client = nullptr;
  el_get(line, EL_CLIENTDATA, &client);
  return *static_cast<Editor *>(client);
}

// The newline goes through the editor as a key: it knows where the line ends on the screen.
unsigned char Editor::give_up_line(EditLine *line, int) {
  of(line).given_up_ = true;
  el_wpush(line, L"\n");
  return CC_NORM;
}

unsigned char Editor::suspend(EditLine *line, int) {
  el_set(line, EL_PREP_TERM, 0);
  std::raise(SIGSTOP);
  el_set(line, EL_PREP_TERM, 1);
  return CC_REDISPLAY;
}

unsigned char Editor::complete_word(EditLine *line, int) {
  const LineInfo *info = el_line(line);
  const simulator::session::Completion completion =
      of(line).complete_({info->buffer, static_cast<size_t>(info->cursor - info->buffer)});
  if (!completion.insertion.empty()) {
    return el_insertstr(line, completion.insertion.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }
  if (completion.candidates.empty()) return CC_ERROR;
  std::vector<std::string> candidates;
  for (const std::string &candidate : completion.candidates)
    candidates.push_back(simulator::escape_control_characters(candidate));
  const std::string shown = simulator::concat("\n", simulator::in_columns(candidates, columns_of_terminal()));
  std::fputs(shown.c_str(), stdout);
  return CC_REDISPLAY;
}

}  // namespace command
