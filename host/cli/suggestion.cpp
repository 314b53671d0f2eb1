#include "suggestion.h"

#include <algorithm>
#include <numeric>

namespace fendrel::host {
namespace {

// The number of letters to change, add, remove, or swap with the next one.
std::size_t slipsBetween(const std::string& one, const std::string& other) {
  std::vector<std::size_t> before, last(other.size() + 1), row(other.size() + 1);
  std::iota(last.begin(), last.end(), std::size_t{0});
  for (std::size_t i = 1; i <= one.size(); ++i) {
    row[0] = i;
    for (std::size_t j = 1; j <= other.size(); ++j) {
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (one[i - 1] != other[j - 1])});
      if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1])
        row[j] = std::min(row[j], before[j - 2] + 1);
    }
    before = last;
    last = row;
  }
  return last.back();
}

}  // namespace

std::string closestWord(const std::string& word, const std::vector<std::string>& known) {
  std::string closest;
  std::size_t fewest = word.size() < 5 ? 2 : 3;  // more makes it another word
  for (const std::string& each : known)
    if (const std::size_t slips = slipsBetween(word, each); slips < fewest) {
      fewest = slips;
      closest = each;
    }
  return closest;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& known) {
  const std::string closest = closestWord(word, known);
  return closest.empty() ? "" : "; did you mean '" + closest + "'?";
}

}  // namespace fendrel::host
