// A command's result, each fact written once and shown as words or as JSON.
#pragma once

#include <fmt/format.h>

#include "command_context.h"
#include "text.h"

namespace fendrel::host {

// One fact: its name in JSON, its value there, its words for a person.
struct Fact {
  const char* name;
  Json value;
  std::string words;
};

// "12,345 bytes"; without a unit the number alone.
inline Fact numberFact(const char* name, std::uint64_t value, const char* unit = nullptr) {
  return {name, value, unit ? counted(value, unit) : withThousands(value)};
}

class FactSheet {
 public:
  explicit FactSheet(CommandContext& context) : context_(context) {}

  // A line without facts.
  void line(const std::string& words) { context_.line(words); }

  // A line with a {} for the words of each fact.
  template <class... Facts>
  void line(const char* words, const Fact& first, const Facts&... more) {
    lineIf(true, words, first, more...);
  }

  // The facts are in JSON always, the line is shown where `isShown` says so.
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

  // A fact without words.
  void add(const Fact& fact) { document_[fact.name] = fact.value; }

  // The document, where JSON is wanted. Call once, at the end.
  void finish() { context_.document(document_); }

 private:
  CommandContext& context_;
  Json document_ = Json::object();
};

}  // namespace fendrel::host
