// A command's result: each fact is given once and shown as text or as JSON.
#pragma once

#include <fmt/format.h>

#include "command_context.h"
#include "text.h"

namespace fendrel::host {

// One fact: its name and value in JSON, its text for display.
struct Fact {
  const char* name;
  Json value;
  std::string words;
};

// "12,345 bytes"; without a unit only the number.
inline Fact numberFact(const char* name, std::uint64_t value, const char* unit = nullptr) {
  return {name, value, unit ? counted(value, unit) : withThousands(value)};
}

class FactSheet {
 public:
  explicit FactSheet(CommandContext& context) : context_(context) {}

  // A line without facts.
  void line(const std::string& words) { context_.line(words); }

  // A line with a {} for the text of each fact.
  template <class... Facts>
  void line(const char* words, const Fact& first, const Facts&... more) {
    lineIf(true, words, first, more...);
  }

  // JSON always has the facts; the line is shown if `isShown`.
  template <class... Facts>
  void lineIf(bool isShown, const char* words, const Facts&... facts) {
    if (isShown) context_.line(fmt::format(fmt::runtime(words), facts.words...));
    (add(facts), ...);
  }

  // The same after a label, in columns.
  template <class... Facts>
  void labelled(const char* label, const char* words, const Facts&... facts) {
    context_.line(fmt::format("{:<15} {}", label, fmt::format(fmt::runtime(words), facts.words...)));
    (add(facts), ...);
  }

  // A fact without text.
  void add(const Fact& fact) { document_[fact.name] = fact.value; }

  // Prints the document if JSON is requested. Call once, at the end.
  void finish() { context_.document(document_); }

 private:
  CommandContext& context_;
  Json document_ = Json::object();
};

}  // namespace fendrel::host
