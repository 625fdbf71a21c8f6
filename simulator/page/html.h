// HTML, piece by piece.
//
// Texts become HTML only by text(), which escapes them, so that nothing in a policy file can become an element or a
// script.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator::page {

// A piece of a document: whole elements and texts.
class Html {
 public:
  Html() = default;

  // A piece that is HTML already, such as a picture by graphviz.
  static Html made_elsewhere(std::string html);

  Html &operator+=(const Html &more);
  bool empty() const { return html_.empty(); }
  const std::string &string() const { return html_; }

 private:
  friend Html text(std::string_view text);
  friend Html element(std::string_view name, const std::vector<std::pair<std::string_view, std::string>> &attributes,
                      const Html &content);

  std::string html_;
};

using Attributes = std::vector<std::pair<std::string_view, std::string>>;

// Control characters are shown as in messages.
Html text(std::string_view text);
// The values of attributes are texts.
Html element(std::string_view name, const Attributes &attributes, const Html &content);
Html element(std::string_view name, const Html &content);
Html element(std::string_view name, std::string_view content);
// One after the other.
Html join(std::initializer_list<Html> pieces);

// A link to an element of the page by its id, which may have any characters.
Html link_to(const std::string &id, std::string_view shown);

// A part of the page that can be folded.
enum class Fold : bool { closed, open };
Html foldable(Fold fold, const Attributes &attributes, const Html &summary, const Html &content);

// A table with a caption. Cells of numbers stand on the right.
class Table {
 public:
  Table(std::string_view caption, const std::vector<std::string_view> &headings);

  // Cells are complete <td> or <th> elements.
  void add_row(const std::vector<Html> &cells, const Attributes &attributes = {});
  bool empty() const { return rows_.empty(); }
  // In a frame that scrolls if the page is too narrow.
  Html html(const Attributes &attributes = {}) const;

 private:
  Html head_;
  Html rows_;
};

Html cell(const Html &content);
Html cell(std::string_view content);
Html number_cell(size_t number);
// The name of the row.
Html row_heading(const Html &content);

}  // namespace simulator::page
