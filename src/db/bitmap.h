// A set of the numbers below `N`, in two levels, so that a search passes 4,096 numbers in one step
// where none is in.  All zeros is the empty set.

#ifndef TTY_DB_DB_BITMAP_H
#define TTY_DB_DB_BITMAP_H

#include <stdint.h>

#include <algorithm>

template <uint32_t N>
class tty_db_bitmap {
 public:
  bool has(uint32_t number) const { return (words_[number / 64] >> number % 64 & 1) != 0; }

  void insert(uint32_t number) { insert_bits(number / 64, bit(number)); }
  void erase(uint32_t number) { erase_bits(number / 64, bit(number)); }

  // The same, for the numbers from `first` to `last`.
  void insert_range(uint32_t first, uint32_t last) {
    for (uint32_t word = first / 64; word <= last / 64; ++word) {
      insert_bits(word, bits_in_range(word, first, last));
    }
  }
  void erase_range(uint32_t first, uint32_t last) {
    for (uint32_t word = first / 64; word <= last / 64; ++word) {
      erase_bits(word, bits_in_range(word, first, last));
    }
  }

  // Returns the first number from `from` on that is in, or one that is not below N.
  uint32_t next(uint32_t from) const {
    if (from >= N) return N;
    const uint64_t rest = words_[from / 64] >> from % 64;
    if (rest != 0) return from + lowest(rest);
    const uint32_t word = next_word(from / 64 + 1);
    return word < kWords ? word * 64 + lowest(words_[word]) : N;
  }

 private:
  static constexpr uint32_t kWords = (N + 63) / 64;
  static constexpr uint32_t kGroups = kWords / 64 + 1;

  static uint64_t bit(uint32_t number) { return uint64_t{1} << number % 64; }
  static uint32_t lowest(uint64_t bits) { return static_cast<uint32_t>(__builtin_ctzll(bits)); }

  // The bits of the numbers from `first` to `last` in a word that has some of them.
  static uint64_t bits_in_range(uint32_t word, uint32_t first, uint32_t last) {
    uint64_t bits = ~uint64_t{0};
    if (word == first / 64) bits &= bits << first % 64;
    if (word == last / 64) bits &= ~uint64_t{0} >> (63 - last % 64);
    return bits;
  }

  void insert_bits(uint32_t word, uint64_t bits) {
    words_[word] |= bits;
    groups_[word / 64] |= bit(word);
  }
  void erase_bits(uint32_t word, uint64_t bits) {
    words_[word] &= ~bits;
    if (words_[word] == 0) groups_[word / 64] &= ~bit(word);
  }

  // Returns the first word from `from` on that is not 0, or one that is not below kWords.
  uint32_t next_word(uint32_t from) const {
    uint64_t rest = groups_[from / 64] >> from % 64 << from % 64;
    for (uint32_t group = from / 64;; rest = groups_[group]) {
      if (rest != 0) return group * 64 + lowest(rest);
      if (++group == kGroups) return kWords;
    }
  }

  uint64_t words_[kWords];
  uint64_t groups_[kGroups];  // the words that are not 0
};

#endif  // TTY_DB_DB_BITMAP_H
