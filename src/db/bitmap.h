// A set of the numbers below `N`, one bit each.  All zeros is the empty set.

#ifndef TTY_DB_DB_BITMAP_H
#define TTY_DB_DB_BITMAP_H

#include <stdint.h>

#include <algorithm>

template <uint32_t N>
class tty_db_bitmap {
 public:
  bool has(uint32_t number) const { return (words_[number / 64] >> number % 64 & 1) != 0; }

  // Puts a number in, or takes it out.
  void set(uint32_t number, bool in) {
    const uint64_t bit = uint64_t{1} << number % 64;
    words_[number / 64] = in ? words_[number / 64] | bit : words_[number / 64] & ~bit;
  }

  // Puts the numbers from `from` up to, but not including, `to` in, or takes them out.
  void set_range(uint32_t from, uint32_t to, bool in) {
    while (from < to) {
      const uint32_t word = from / 64;
      const uint32_t end = std::min(to, (word + 1) * 64);
      const uint64_t mask = ~uint64_t{0} << from % 64 & ~uint64_t{0} >> (64 - (end - word * 64));
      words_[word] = in ? words_[word] | mask : words_[word] & ~mask;
      from = end;
    }
  }

  // Returns the first number from `from` on that is in, or, where that is none below `end`, a
  // number that is not below `end`.
  uint32_t next(uint32_t from, uint32_t end) const {
    if (from >= end) return end;
    uint32_t index = from / 64;
    uint64_t word = words_[index] & ~uint64_t{0} << from % 64;
    while (word == 0) {
      if (++index * 64 >= end) return end;
      word = words_[index];
    }
    return index * 64 + static_cast<uint32_t>(__builtin_ctzll(word));
  }

 private:
  static constexpr uint32_t kWords = (N + 63) / 64;
  uint64_t words_[kWords];
};

#endif  // TTY_DB_DB_BITMAP_H
