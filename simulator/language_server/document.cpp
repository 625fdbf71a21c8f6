#include "simulator/language_server/document.h"

#include <algorithm>

#include "simulator/language_server/convert.h"

namespace simulator::language_server {

namespace {

using editing::Span;

// False: the edit touches it.
bool move(Span &span, Span edit, size_t new_size) {
  if (span.end < edit.begin) return true;
  if (span.begin < edit.end || (edit.size() == 0 && span.contains(edit.begin))) return false;
  span.begin = span.begin - edit.size() + new_size;
  span.end = span.end - edit.size() + new_size;
  return true;
}

}  // namespace

Document::Document(std::string uri, std::string text)
    : uri_(std::move(uri)), path_(path_of_uri(uri_)), text_(std::move(text)) {}

void Document::replace(editing::Point from, editing::Point to, std::string_view by) {
  const size_t begin = text_.offset_of(from);
  const Span span = {begin, std::max(begin, text_.offset_of(to))};
  text_.replace(from, to, by);
  changed(span, by.size());
  edited_at_ = begin;
}

void Document::replace_all(std::string text) {
  const size_t old_size = text_.bytes().size();
  text_ = editing::Text(std::move(text));
  changed({0, old_size}, text_.bytes().size());
  edited_at_.reset();
}

void Document::changed(Span span, size_t new_size) {
  ++revision_;
  analysis_.reset();
  std::erase_if(studied_.problems, [&](editing::Problem &problem) {
    std::erase_if(problem.related, [&](editing::RelatedPlace &place) { return !move(place.span, span, new_size); });
    return !move(problem.span, span, new_size);
  });
}

const editing::Analysis &Document::analysis() {
  if (!analysis_) {
    analysis_ = editing::analyse(path_, text_.bytes(), edited_at_);
    set_checked(editing::check(*analysis_));
  }
  return *analysis_;
}

const PolicyFile *Document::last_valid() {
  if (analysis().file) return &*analysis_->file;
  if (!has_valid_text_) return nullptr;
  if (!valid_) valid_ = editing::analyse(path_, valid_text_, std::nullopt);
  return &*valid_->file;
}

const editing::Names &Document::names() {
  if (!has_names_) analysis();
  return names_;
}

void Document::set_checked(editing::Checked checked) {
  checked_ = revision_;
  is_valid_ = checked.is_valid;
  errors_ = std::move(checked.problems);
  // A text that cannot be read at all has no names: the earlier ones are more useful then.
  const bool is_empty =
      std::all_of(checked.names.begin(), checked.names.end(), [](const auto &each) { return each.empty(); });
  if (!is_empty || !has_names_) names_ = std::move(checked.names);
  has_names_ = true;
  if (!is_valid_) return;
  valid_text_ = text_.bytes();
  has_valid_text_ = true;
  valid_.reset();
}

void Document::set_studied(editing::Studied studied) {
  studied_revision_ = revision_;
  studied_ = std::move(studied);
}

const editing::Studied *Document::studied() const {
  return studied_revision_ == revision_ ? &studied_ : nullptr;
}

std::vector<editing::Problem> Document::problems() const {
  std::vector<editing::Problem> all = errors_;
  all.insert(all.end(), studied_.problems.begin(), studied_.problems.end());
  return all;
}

}  // namespace simulator::language_server
