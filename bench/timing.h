// Timing of the benchmarks.
#pragma once

#include <algorithm>
#include <chrono>
#include <vector>

namespace fendrel::bench {

double millisecondsOf(const auto& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

inline double median(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

}  // namespace fendrel::bench
