// Long random sequences of operations, checked after every step against a plain model of what a
// database holds.

#include <random>

#include "support/model.h"

namespace {

// The options of the database, and whether tracing is on: then walks visit every id.
class ModelTest : public testing::TestWithParam<std::tuple<uint32_t, bool>> {};

TEST_P(ModelTest, RandomOperationsMatchTheModel) {
  const auto [options, traced] = GetParam();
  host::trace(traced);
  const unsigned seeds = traced ? 2 : 5;
  const int steps = traced ? 400 : 1500;
  for (unsigned seed = 1; seed <= seeds; ++seed) {
    std::mt19937 random(seed);
    Model model(options, [&](uint32_t bound) { return static_cast<uint32_t>(random() % bound); });
    for (int step = 0; step < steps && !HasFailure(); ++step) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", step " << step);
      model.step();
      model.check();
    }
  }
  host::trace(false);
}

INSTANTIATE_TEST_SUITE_P(AllOptions, ModelTest,
                         testing::Combine(testing::Range(0u, TTY_DB_OPT_ALL + 1), testing::Bool()));

}  // namespace
