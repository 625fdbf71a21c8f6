#include "tool/shell/editor.h"

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace tool::shell {

namespace {

char *prompt(EditLine *) {
  static char text[] = "zar> ";
  return text;
}

void note_nothing(int) {}

// An interrupt gives up the line that is being typed, not the session.
void let_interrupts_end_reading() {
  struct sigaction action {};
  action.sa_handler = note_nothing;
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace

Editor::Editor(Complete complete)
    : complete_(std::move(complete)), line_(el_init("zar", stdin, stdout, stderr)), history_(history_init()) {
  constexpr int kRemembered = 1000;
  HistEvent event;
  history(history_, &event, H_SETSIZE, kRemembered);
  history(history_, &event, H_SETUNIQUE, 1);
  el_set(line_, EL_CLIENTDATA, this);
  el_set(line_, EL_PROMPT, prompt);
  el_set(line_, EL_EDITOR, "emacs");
  el_set(line_, EL_HIST, history, history_);
  el_set(line_, EL_ADDFN, "complete-word", "Complete the word before the cursor", complete_word);
  el_set(line_, EL_BIND, "^I", "complete-word", nullptr);
  el_set(line_, EL_BIND, "^R", "em-inc-search-prev", nullptr);
  let_interrupts_end_reading();
}

Editor::~Editor() {
  el_end(line_);
  history_end(history_);
}

std::optional<std::string> Editor::read() {
  for (;;) {
    int count = 0;
    errno = 0;
    const char *text = el_gets(line_, &count);
    if (!text && errno == EINTR) {
      std::fputs("\n", stdout);
      el_reset(line_);
      continue;
    }
    if (!text || count <= 0) {
      std::fputs("\n", stdout);
      std::fflush(stdout);
      return std::nullopt;
    }
    std::string line(text, static_cast<size_t>(count));
    while (line.ends_with('\n') || line.ends_with('\r'))
      line.pop_back();
    HistEvent event;
    if (!line.empty()) history(history_, &event, H_ENTER, line.c_str());
    return line;
  }
}

unsigned char Editor::complete_word(EditLine *line, int) {
  void *client = nullptr;
  el_get(line, EL_CLIENTDATA, &client);
  const LineInfo *info = el_line(line);
  const Completion completion =
      static_cast<Editor *>(client)->complete_({info->buffer, static_cast<size_t>(info->cursor - info->buffer)});
  if (!completion.insertion.empty()) {
    return el_insertstr(line, completion.insertion.c_str()) == 0 ? CC_REFRESH : CC_ERROR;
  }
  if (completion.candidates.empty()) return CC_ERROR;
  std::fputs("\n", stdout);
  for (const std::string &candidate : completion.candidates)
    std::fprintf(stdout, "%s  ", candidate.c_str());
  std::fputs("\n", stdout);
  return CC_REDISPLAY;
}

}  // namespace tool::shell
