// A file that is open in the editor, and what is known about its text.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/editing/analysis.h"
#include "simulator/editing/study.h"
#include "simulator/editing/text.h"

namespace simulator::language_server {

class Document {
 public:
  Document(std::string uri, std::string text);

  const std::string &uri() const { return uri_; }
  const editing::Text &text() const { return text_; }
  // Grows with every change.
  uint64_t revision() const { return revision_; }
  std::optional<size_t> edited_at() const { return edited_at_; }

  void replace(editing::Point from, editing::Point to, std::string_view by);
  void replace_all(std::string text);

  // Of the text as it is now. It takes longer the larger the file is, and is made once for each text.
  const editing::Analysis &analysis();
  // The file as it was valid last; NULL if it never was.
  const PolicyFile *last_valid();
  // The names of the file as it was understood last; fast, except the first time.
  const editing::Names &names();

  // The results of a check and of a study, of the text as it is now.
  void set_checked(editing::Checked checked);
  void set_studied(editing::Studied studied);
  bool is_checked() const { return checked_ == revision_; }
  // NULL if none was made of this text.
  const editing::Studied *studied() const;
  // Whether a study of this text will not come, because the text has errors.
  bool is_known_invalid() const { return is_checked() && !is_valid_; }

  // What to show: the problems of the last check, and the findings of the last study as far as no edit touched them.
  std::vector<editing::Problem> problems() const;
  const std::vector<editing::Problem> &findings() const { return studied_.problems; }

 private:
  void changed(editing::Span span, size_t new_size);

  std::string uri_;
  std::string path_;
  editing::Text text_;
  uint64_t revision_ = 1;
  std::optional<size_t> edited_at_;

  std::optional<editing::Analysis> analysis_;  // of the text as it is now
  std::string valid_text_;                     // the last text that was valid
  bool has_valid_text_ = false;
  std::optional<editing::Analysis> valid_;  // of that text
  editing::Names names_;
  bool has_names_ = false;

  uint64_t checked_ = 0;  // the revision
  bool is_valid_ = false;
  std::vector<editing::Problem> errors_;
  uint64_t studied_revision_ = 0;
  editing::Studied studied_;
};

}  // namespace simulator::language_server
