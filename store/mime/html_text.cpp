#include "html_text.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace fendrel::mime {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f'; }

// Of the tag between "<" and ">", lower case: "p", "/p".
std::string tagName(std::string_view tag) {
  std::string name;
  for (const char c : tag) {
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    if (!isLetter && !(name.empty() && c == '/')) break;
    name += c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  return name;
}

bool beginsLine(std::string_view name) {
  if (name.starts_with('/')) name.remove_prefix(1);
  constexpr std::string_view blocks[] = {"p",  "div", "br", "tr", "li", "ul", "ol", "h1",  "h2",    "h3",
                                         "h4", "h5",  "h6", "hr", "dt", "dd", "th", "pre", "table", "blockquote"};
  return std::ranges::find(blocks, name) != std::end(blocks);
}

void appendUtf8(std::string& text, std::uint32_t code) {
  if (code == 0 || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) code = 0xFFFD;
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  const int more = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr unsigned char leads[] = {0, 0xC0, 0xE0, 0xF0};
  text += static_cast<char>(leads[more] | (code >> (6 * more)));
  for (int at = more - 1; at >= 0; --at) text += static_cast<char>(0x80 | ((code >> (6 * at)) & 0x3F));
}

// The reference between "&" and ";"; false if it is not a known one.
bool appendReference(std::string& text, std::string_view name) {
  constexpr std::pair<std::string_view, std::string_view> known[] = {{"amp", "&"},   {"lt", "<"},   {"gt", ">"},
                                                                     {"quot", "\""}, {"apos", "'"}, {"nbsp", " "}};
  for (const auto& [word, meaning] : known) {
    if (name != word) continue;
    text += meaning;
    return true;
  }
  if (!name.starts_with('#')) return false;
  name.remove_prefix(1);
  const bool isHex = name.starts_with('x') || name.starts_with('X');
  if (isHex) name.remove_prefix(1);
  std::uint32_t code = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), code, isHex ? 16 : 10);
  if (error != std::errc() || end != name.data() + name.size()) return false;
  appendUtf8(text, code);
  return true;
}

// Gathers text: blanks become one, and lines are not empty.
class Lines {
 public:
  void blank() { isBlankDue_ = true; }
  void lineEnd() { isLineDue_ = true; }
  std::string& next() {
    if (isLineDue_ && !text_.empty())
      text_ += "\r\n";
    else if (isBlankDue_ && !text_.empty())
      text_ += ' ';
    isBlankDue_ = isLineDue_ = false;
    return text_;
  }
  std::string take() {
    if (!text_.empty()) text_ += "\r\n";
    return std::move(text_);
  }

 private:
  std::string text_;
  bool isBlankDue_ = false, isLineDue_ = false;
};

// The position after `what`, or the end.
std::size_t after(std::string_view text, std::string_view what, std::size_t from) {
  const std::size_t at = text.find(what, from);
  return at == std::string_view::npos ? text.size() : at + what.size();
}

// The position after the tag at `at`, and after what the tag says to leave out.
std::size_t takeTag(std::string_view html, std::size_t at, Lines& lines) {
  if (html.substr(at).starts_with("<!--")) return after(html, "-->", at + 4);
  const std::size_t end = after(html, ">", at);
  const std::string name = tagName(html.substr(at + 1, end - at - 1));
  if (beginsLine(name)) lines.lineEnd();
  if (name != "style" && name != "script") return end;
  for (std::size_t next = html.find("</", end); next != std::string_view::npos; next = html.find("</", next + 2)) {
    if (tagName(html.substr(next + 1, name.size() + 2)) == "/" + name) return after(html, ">", next);
  }
  return html.size();
}

}  // namespace

std::string textOfHtml(std::string_view html) {
  constexpr std::size_t longestReference = 10;
  Lines lines;
  for (std::size_t at = 0; at < html.size();) {
    const char c = html[at];
    if (c == '<' && at + 1 < html.size() && !isBlank(html[at + 1])) {
      at = takeTag(html, at, lines);
    } else if (isBlank(c)) {
      lines.blank();
      ++at;
    } else {
      std::string& text = lines.next();
      const std::size_t end = c == '&' ? html.substr(at, longestReference).find(';') : std::string_view::npos;
      if (end != std::string_view::npos && appendReference(text, html.substr(at + 1, end - 1))) {
        at += end + 1;
      } else {
        text += c;
        ++at;
      }
    }
  }
  return lines.take();
}

}  // namespace fendrel::mime
