// The terminal lines that the workloads use, and the order of use.

#ifndef TTY_DB_BENCH_LINES_H
#define TTY_DB_BENCH_LINES_H

#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#include <algorithm>
#include <random>
#include <vector>

#include "tty_db.h"

// A line's record, 64 bytes for every subject.
struct Record {
  tty_db_tty_type head;
  uint64_t payload;
};

struct Line {
  uint16_t category;
  uint16_t id;
};

constexpr uint32_t kLinesPerCategory = 10000;

// Returns the first `count` lines, kLinesPerCategory of each category.
inline std::vector<Line> first_lines(uint32_t count) {
  std::vector<Line> lines;
  for (uint32_t i = 0; i < count; ++i) {
    lines.push_back({static_cast<uint16_t>(i / kLinesPerCategory),
                     static_cast<uint16_t>(i % kLinesPerCategory)});
  }
  return lines;
}

// A sequence that repeats forever.  Its length is a power of two.
template <typename T>
class Cycle {
 public:
  // Draws values at random, with equal chances, at least as many as there are values.  Every call
  // draws the same sequence.
  static Cycle draws(const std::vector<T> &values) {
    Cycle cycle;
    std::mt19937 random(20);
    std::uniform_int_distribution<size_t> any(0, values.size() - 1);
    size_t length = size_t{1} << 14;
    while (length < values.size()) length *= 2;
    while (cycle.steps_.size() < length) cycle.steps_.push_back(values[any(random)]);
    return cycle;
  }

  // Returns the sequence with every step converted.
  template <typename Convert>
  auto convert(Convert &&to) const {
    Cycle<decltype(to(T{}))> converted;
    for (const T &step : steps_) converted.steps_.push_back(to(step));
    return converted;
  }

  const T &operator[](size_t index) const { return steps_[index & (steps_.size() - 1)]; }
  size_t size() const { return steps_.size(); }

 private:
  template <typename U>
  friend class Cycle;
  std::vector<T> steps_;
};

// Ends the program if a step of a set-up fails.
inline void require(bool holds, const char *what) {
  if (holds) return;
  fprintf(stderr, "failed: %s\n", what);
  abort();
}

#endif  // TTY_DB_BENCH_LINES_H
