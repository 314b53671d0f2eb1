// Random steps by MAPI, after which the store must hold what an in-memory model holds. Everything follows from the
// seed; FENDREL_MODEL_SEED and FENDREL_MODEL_STEPS choose another run.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "world.h"

namespace model {
namespace {

constexpr std::size_t stepsBetweenLooks = 20, looksBetweenSessions = 4;

std::uint64_t chosen(const char* variable, std::uint64_t otherwise) {
  const char* const text = std::getenv(variable);
  return text ? std::strtoull(text, nullptr, 10) : otherwise;
}

void run(std::uint64_t seed, std::size_t steps) {
  std::printf("seed %llu, %zu steps\n", static_cast<unsigned long long>(seed), steps);
  World world(seed);
  const auto held = [&](std::size_t step) {
    if (!testing::Test::HasFailure()) return true;
    ADD_FAILURE() << "FENDREL_MODEL_SEED=" << seed << ", after step " << step << " of these:\n" << world.history();
    return false;
  };
  for (std::size_t step = 1; step <= steps; ++step) {
    world.step();
    if (step % stepsBetweenLooks == 0) world.compareSome();
    if (step % (stepsBetweenLooks * looksBetweenSessions) == 0) {
      world.reopen();
      world.compareAll();
    }
    if (!held(step)) return;
  }
  world.compareAll();
  world.reopen();
  world.compareAll();
  held(steps);
}

TEST(StoreModel, HoldsWhatItsModelHolds) {
  const std::size_t steps = chosen("FENDREL_MODEL_STEPS", 160);
  if (std::getenv("FENDREL_MODEL_SEED")) return run(chosen("FENDREL_MODEL_SEED", 1), steps);
  for (const std::uint64_t seed : {1, 2, 3, 4, 5, 6}) {
    run(seed, steps);
    if (HasFailure()) return;
  }
}

}  // namespace
}  // namespace model
