// "Did you mean ...?"
#pragma once

#include <string>
#include <vector>

namespace fendrel::host {

// The known word that differs from this one by a typing mistake or two; empty if there is none.
std::string closestWord(const std::string& word, const std::vector<std::string>& known);

// "; did you mean 'retries'?", or empty.
std::string didYouMean(const std::string& word, const std::vector<std::string>& known);

}  // namespace fendrel::host
