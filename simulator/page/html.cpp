#include "simulator/page/html.h"

#include "simulator/text/text.h"
#include "simulator/text/xml.h"

namespace simulator::page {

namespace {

// Everything but letters, digits and a few signs, as a browser compares it.
std::string percent_encoded(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  constexpr std::string_view kPlain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/:@";
  std::string encoded;
  for (const char character : text) {
    if (kPlain.find(character) != std::string_view::npos) {
      encoded += character;
      continue;
    }
    const auto byte = static_cast<unsigned char>(character);
    encoded += '%';
    encoded += kDigits[byte / 16];
    encoded += kDigits[byte % 16];
  }
  return encoded;
}

}  // namespace

Html Html::made_elsewhere(std::string html) {
  Html made;
  made.html_ = std::move(html);
  return made;
}

Html &Html::operator+=(const Html &more) {
  html_ += more.html_;
  return *this;
}

Html text(std::string_view text) {
  Html html;
  html.html_ = xml_text(text);
  return html;
}

Html element(std::string_view name, const Attributes &attributes, const Html &content) {
  Html html;
  html.html_ = concat("<", name);
  for (const auto &[attribute, value] : attributes)
    html.html_ += concat(" ", attribute, "=\"", xml_text(value), "\"");
  html.html_ += ">";
  // These never contain anything and have no end.
  const bool is_void = name == "input" || name == "meta";
  if (!is_void) html.html_ += concat(content.html_, "</", name, ">");
  return html;
}

Html element(std::string_view name, const Html &content) {
  return element(name, {}, content);
}

Html element(std::string_view name, std::string_view content) {
  return element(name, {}, text(content));
}

Html join(std::initializer_list<Html> pieces) {
  Html all;
  for (const Html &piece : pieces)
    all += piece;
  return all;
}

Html link_to(const std::string &id, std::string_view shown) {
  return element("a", {{"href", concat("#", percent_encoded(id))}}, text(shown));
}

Html foldable(Fold fold, const Attributes &attributes, const Html &summary, const Html &content) {
  Attributes all = attributes;
  if (fold == Fold::open) all.emplace_back("open", "");
  return element("details", all, join({element("summary", summary), content}));
}

Table::Table(std::string_view caption, const std::vector<std::string_view> &headings) {
  Html cells;
  for (const std::string_view heading : headings)
    cells += element("th", {{"scope", "col"}}, text(heading));
  head_ = join({element("caption", caption), element("thead", element("tr", cells))});
}

void Table::add_row(const std::vector<Html> &cells, const Attributes &attributes) {
  Html row;
  for (const Html &cell : cells)
    row += cell;
  rows_ += element("tr", attributes, row);
  rows_ += Html::made_elsewhere("\n");
}

Html Table::html(const Attributes &attributes) const {
  return element("div", {{"class", "scrolls"}, {"tabindex", "0"}},
                 element("table", attributes, join({head_, element("tbody", rows_)})));
}

Html cell(const Html &content) {
  return element("td", content);
}

Html cell(std::string_view content) {
  return element("td", content);
}

Html number_cell(size_t number) {
  return element("td", {{"class", "number"}}, text(std::to_string(number)));
}

Html row_heading(const Html &content) {
  return element("th", {{"scope", "row"}}, content);
}

}  // namespace simulator::page
