// A set of numbers below `N`: a bitmap with two levels.  A search skips empty stretches of 4,096
// numbers at a time.  All zeros is the empty set.

#ifndef TTY_DB_DB_BITMAP_H
#define TTY_DB_DB_BITMAP_H

#include <stdint.h>

template <uint32_t N>
class tty_db_bitmap {
 public:
  void insert(uint32_t number) {
    words_[number / 64] |= bit(number);
    groups_[number / 4096] |= bit(number / 64);
  }
  void erase(uint32_t number) {
    words_[number / 64] &= ~bit(number);
    if (words_[number / 64] == 0) groups_[number / 4096] &= ~bit(number / 64);
  }

  // Returns the first member from `from` on, or N if there is none.
  uint32_t first_from(uint32_t from) const {
    if (from >= N) return N;
    uint32_t word = from / 64;
    uint64_t rest = words_[word] >> from % 64;
    if (rest != 0) return from + lowest(rest);
    word = first_word_from(word + 1);
    return word < kWords ? word * 64 + lowest(words_[word]) : N;
  }

  // Returns the last member below `bound`, or N if there is none.  REQUIRES: bound <= N.
  uint32_t last_below(uint32_t bound) const {
    uint32_t word = bound / 64;
    uint64_t rest = words_[word] & (bit(bound) - 1);
    if (rest == 0) {
      word = last_word_below(word);
      if (word == kWords) return N;
      rest = words_[word];
    }
    return word * 64 + highest(rest);
  }

 private:
  // Large enough for the searches, which may read the word of N and the group of kWords.
  static constexpr uint32_t kWords = N / 64 + 1;
  static constexpr uint32_t kGroups = kWords / 64 + 1;

  static uint64_t bit(uint32_t number) { return uint64_t{1} << number % 64; }
  static uint32_t lowest(uint64_t bits) { return static_cast<uint32_t>(__builtin_ctzll(bits)); }
  static uint32_t highest(uint64_t bits) {
    return 63 - static_cast<uint32_t>(__builtin_clzll(bits));
  }

  // Returns the first nonzero word from `from` on, or kWords.
  uint32_t first_word_from(uint32_t from) const {
    uint32_t group = from / 64;
    uint64_t rest = groups_[group] & ~(bit(from) - 1);
    while (rest == 0) {
      if (++group == kGroups) return kWords;
      rest = groups_[group];
    }
    return group * 64 + lowest(rest);
  }
  // Returns the last nonzero word below `bound`, or kWords.
  [[gnu::noinline]] uint32_t last_word_below(uint32_t bound) const {
    uint32_t group = bound / 64;
    uint64_t rest = groups_[group] & (bit(bound) - 1);
    while (rest == 0) {
      if (group-- == 0) return kWords;
      rest = groups_[group];
    }
    return group * 64 + highest(rest);
  }

  uint64_t words_[kWords];
  uint64_t groups_[kGroups];  // a bit for each nonzero word
};

#endif  // TTY_DB_DB_BITMAP_H
