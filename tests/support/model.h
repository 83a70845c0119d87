// A model of a database, made of plain containers, and the operations that are done to both: on
// lines, items and blocks, in both block modes, with and without entry locking, at times while a
// call of the heap or of a lock fails.  After each operation the database is compared with the
// model.
//
// The model test draws the operations at random, the fuzzer from bytes.

#ifndef TTY_DB_TESTS_SUPPORT_MODEL_H
#define TTY_DB_TESTS_SUPPORT_MODEL_H

#include <algorithm>
#include <functional>
#include <map>

#include "block/block.h"
#include "item/item.h"
#include "support/database.h"

using host::result_name;

struct ModelLine {
  tty_db_tty_type *tty = nullptr;
  std::map<uint32_t, char *> items;  // keys and data
};

// The ids from `first` up to, but not including, `end`.
struct Range {
  uint32_t first = 0;
  uint32_t end = 0;
  uint32_t size() const { return end - first; }
  bool contains(uint32_t id) const { return id >= first && id < end; }
  bool overlaps(Range other) const { return first < other.end && other.first < end; }
};

struct ModelBlock {
  Range range;
  std::string tag;  // "" for none
  tty_db_block_type *handle = nullptr;
  bool operator<(const ModelBlock &other) const { return range.first < other.range.first; }
};

// Draws a number below a bound.
using Draw = std::function<uint32_t(uint32_t bound)>;

class Model {
 public:
  Model(uint32_t options, Draw draw)
      : db_(options),
        locking_((options & kLock) != 0),
        automatic_((options & kAuto) != 0),
        draw_(std::move(draw)) {
    host::assertions_return(true);
  }
  Model(const Model &) = delete;
  Model &operator=(const Model &) = delete;
  ~Model() {
    // The database is destroyed while this thread holds an entry.
    if (!lines().empty()) {
      tty_db_tty_type *held = nullptr;
      EXPECT_EQ(tty_db_tty_retrieve(db_, category_, lines().begin()->first, &held), 0u);
    }
  }

  // Does one operation, with a line or a block of one category.
  void step() {
    category_ = one_in(5) ? below(TTY_CATEGORY_MAX + 1) : 1;
    id_ = below(120);                                  // few, so that operations meet
    if (one_in(20)) id_ = 4095 * below(3) + below(3);  // around the groups of the bitmaps
    if (one_in(20)) id_ = TTY_PORT_MAX - below(25);
    host::clear();
    operate();
  }

  // Compares all that the database holds with the model.
  void check() {
    EXPECT_TRUE(host::trace_is_sound());
    host::clear();
    check_lines();
    check_blocks();
    check_details_by_id(id_);
    check_details_by_tag();
    check_line();
    EXPECT_EQ(host::num_assertions(), 0);
    EXPECT_TRUE(host::trace_is_sound());
  }

 private:
  uint32_t below(uint32_t bound) { return draw_(bound); }
  bool one_in(uint32_t number) { return below(number) == 0; }
  std::map<uint32_t, ModelLine> &lines() { return lines_[category_]; }
  std::vector<ModelBlock> &blocks() { return blocks_[category_]; }

  ModelBlock *block_of(uint32_t id) {
    for (ModelBlock &block : blocks()) {
      if (block.range.contains(id)) return &block;
    }
    return nullptr;
  }
  // A block that the program may change, or NULL.
  ModelBlock *any_block() {
    if (automatic_ || blocks().empty()) return nullptr;
    return &blocks()[below(static_cast<uint32_t>(blocks().size()))];
  }
  bool overlaps_another(Range range, const ModelBlock *but) {
    for (const ModelBlock &block : blocks()) {
      if (&block != but && block.range.overlaps(range)) return true;
    }
    return false;
  }
  void add_block(const ModelBlock &block) {
    blocks().push_back(block);
    std::sort(blocks().begin(), blocks().end());
  }
  void erase_block(const ModelBlock *block) {
    blocks().erase(blocks().begin() + (block - blocks().data()));
  }
  uint32_t num_lines(Range range) {
    uint32_t count = 0;
    for (const auto &line : lines()) count += range.contains(line.first) ? 1 : 0;
    return count;
  }
  void erase_lines(Range range) {
    for (uint32_t id = range.first; id < range.end; ++id) lines().erase(id);
  }
  uint32_t any_key() { return below(6) - 1; }  // 0 to 4, or the largest
  std::string any_tag() { return one_in(2) ? "" : "tag" + std::to_string(below(4)); }
  static const char *tag_argument(const std::string &tag) {
    return tag.empty() ? nullptr : tag.c_str();
  }

  // At times makes a call of the next operation fail, but none whose failure ends the process.
  void maybe_fail_a_call() {
    static const char *const calls[] = {"calloc", "strdup", "pthread_rwlock_trywrlock",
                                        "pthread_mutex_init", "pthread_mutex_trylock"};
    if (!one_in(5)) return;
    const char *call = calls[below(5)];
    host::fail_call(call, 1 + static_cast<int>(below(3)));
  }

  // Compares a result with the expected one.  If a call was made to fail, the result may be
  // that of the failure instead.  Returns whether the operation has taken effect.
  bool took_effect(uint32_t rc, const std::string &expected) {
    const std::string failed = host::end_failing();
    const std::string result = result_name(rc);
    const bool lock_failed = failed.rfind("pthread_", 0) == 0;
    if (lock_failed && (result == "LOCK_FAILED" || result == "LOCK_INIT")) return false;
    if (!lock_failed && !failed.empty() && result == "NO_MEMORY") return false;
    EXPECT_EQ(result, expected) << "failed: " << failed;
    EXPECT_TRUE(lock_failed || host::num_assertions() == 0) << host::log_text();
    return rc == 0;
  }

  void operate() {
    const uint32_t choice = below(100);
    if (choice < 35) return add_line();
    if (choice < 50) return remove_line();
    if (choice < 60) return create_item();
    if (choice < 70) return destroy_item();
    if (choice < 80) return reserve();
    if (choice < 95) return resize();
    release();
  }

  void add_line() {
    ModelBlock *block = block_of(id_);
    std::string expected = "OK";
    if (block == nullptr && !automatic_) expected = "NO_BLOCK";
    if (lines().count(id_) != 0) expected = "TTY_EXISTS";
    tty_db_tty_type *tty = nullptr;
    maybe_fail_a_call();
    const uint32_t rc = tty_db_tty_register(db_, category_, id_, sizeof(Entry) + below(100), &tty);
    if (!took_effect(rc, expected)) {
      EXPECT_EQ(tty, nullptr);
      return;
    }
    lines()[id_].tty = tty;
    if (block == nullptr) {
      const uint32_t first = id_ - id_ % 10;
      add_block({{first, std::min(first + 10, TTY_PORT_MAX + 1)}, "", nullptr});
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
  }

  void remove_line() {
    ModelBlock *block = block_of(id_);
    std::string expected = "OK";
    if (lines().count(id_) == 0) expected = "NOT_REGISTERED";
    if (block == nullptr) expected = "NO_BLOCK";
    tty_db_tty_type *held = nullptr;
    if (one_in(3)) tty_db_tty_retrieve(db_, category_, id_, &held);
    maybe_fail_a_call();
    if (!took_effect(tty_db_tty_deregister(db_, category_, id_), expected)) {
      if (held != nullptr) tty_db_tty_unlock(db_, held);
      return;
    }
    lines().erase(id_);
    if (automatic_ && num_lines(block->range) == 0) erase_block(block);
  }

  // Retrieves the entry of a line.  Returns NULL if the line is not registered.
  tty_db_tty_type *retrieve() {
    tty_db_tty_type *tty = nullptr;
    const bool known = lines().count(id_) != 0;
    const uint32_t rc = tty_db_tty_retrieve(db_, category_, id_, &tty);
    EXPECT_EQ(rc, known ? 0 : TTY_DB_ERR_NOT_REGISTERED);
    return tty;
  }

  void create_item() {
    tty_db_tty_type *tty = retrieve();
    if (tty == nullptr) return;
    auto &items = lines()[id_].items;
    const uint32_t key = any_key();
    void *data = nullptr;
    maybe_fail_a_call();
    const uint32_t rc = tty_db_item_create(tty, key, 1 + below(50), &data);
    if (took_effect(rc, items.count(key) != 0 ? "ITEM_EXISTS" : "OK")) {
      char *bytes = static_cast<char *>(data);
      EXPECT_EQ(*bytes, 0);
      EXPECT_EQ(reinterpret_cast<uintptr_t>(bytes) % alignof(max_align_t), 0u);
      *bytes = static_cast<char>(key + 1);
      items[key] = bytes;
      EXPECT_EQ(tty->item_list_head->key, key);
    } else {
      EXPECT_EQ(data, nullptr);
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
  }

  void destroy_item() {
    tty_db_tty_type *tty = retrieve();
    if (tty == nullptr) return;
    auto &items = lines()[id_].items;
    const uint32_t key = any_key();
    const bool known = items.erase(key) != 0;
    tty_db_item_type *newest = tty->item_list_head;
    const bool frees_newest = known && newest->key == key;
    if (frees_newest) host::watch(newest, sizeof(*newest));
    EXPECT_EQ(result_name(tty_db_item_destroy(tty, key)), known ? "OK" : "NO_ITEM");
    EXPECT_TRUE(!frees_newest || host::watched_was_zero());
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
  }

  void reserve() {
    const uint32_t count = 1 + below(one_in(5) ? 200 : 12);
    const Range range = {id_, id_ + count};
    std::string expected = "OK";
    if (overlaps_another(range, nullptr)) expected = "OVERLAP";
    if (automatic_) expected = "WRONG_MODE";
    if (range.end > TTY_PORT_MAX + 1) expected = "INVALID_ARG";
    std::string tag = any_tag();
    tty_db_block_type *handle = nullptr;
    maybe_fail_a_call();
    const uint32_t rc =
        tty_db_block_reserve(db_, category_, id_, count, tag_argument(tag), id_, &handle);
    if (took_effect(rc, expected)) add_block({range, tag, handle});
    EXPECT_EQ(handle == nullptr, rc != 0);
    tag.assign("overwritten");  // the library has a copy
  }

  void resize() {
    ModelBlock *block = any_block();
    if (block == nullptr) return;
    const Range old = block->range;
    // Mostly a few ids away from the old range, so that lines stay.
    const uint32_t first = one_in(4) ? id_ : std::max(old.first + below(12), 6u) - 6;
    const uint32_t count = one_in(4) ? 1 + below(300) : std::max(old.size() + below(12), 7u) - 6;
    const Range wanted = {first, first + count};
    const Range below_wanted = {old.first, std::min(old.end, wanted.first)};
    const Range above_wanted = {std::max(old.first, wanted.end), old.end};
    const uint32_t options = below(2);
    std::string expected = "OK";
    if (overlaps_another(wanted, block)) expected = "OVERLAP";
    if (options != 0 && num_lines(below_wanted) + num_lines(above_wanted) != 0) {
      expected = "TTYS_REGISTERED";
    }
    if (wanted.end > TTY_PORT_MAX + 1) expected = "INVALID_ARG";
    if (one_in(2)) host::fail_call("calloc");
    const uint32_t rc = tty_db_block_resize(db_, block->handle, first, count, options);
    EXPECT_TRUE(rc != TTY_DB_ERR_NO_MEMORY || wanted.size() > old.size());
    if (!took_effect(rc, expected)) return;
    erase_lines(below_wanted);
    erase_lines(above_wanted);
    block->range = wanted;
    std::sort(blocks().begin(), blocks().end());
  }

  void release() {
    ModelBlock *block = any_block();
    if (block == nullptr) return;
    const uint32_t options = below(2);
    const bool refused = options != 0 && num_lines(block->range) != 0;
    host::watch(block->handle, sizeof(*block->handle));
    const uint32_t rc = tty_db_block_release(db_, block->handle, options);
    if (!took_effect(rc, refused ? "TTYS_REGISTERED" : "OK")) return;
    EXPECT_TRUE(host::watched_was_zero());
    erase_lines(block->range);
    erase_block(block);
  }

  Position any_position() {
    return {below(TTY_CATEGORY_MAX + 1), one_in(2) ? below(130) : TTY_PORT_MAX - below(25)};
  }

  // The counts, and walks over all lines and over some.
  void check_lines() {
    const Position start = any_position();
    const Position end = any_position();
    uint32_t num_blocks = 0;
    uint32_t num_lines = 0;
    std::vector<Position> all;
    std::vector<Position> between;
    for (uint32_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
      for (const auto &line : lines_[category]) {
        const Position position(category, line.first);
        all.push_back(position);
        if (position >= start && position <= end) between.push_back(position);
        ++num_lines;
      }
      num_blocks += static_cast<uint32_t>(blocks_[category].size());
    }
    EXPECT_EQ(db_.counts(), std::make_pair(num_blocks, num_lines));
    EXPECT_EQ(db_.lines(), all);
    EXPECT_EQ(db_.lines(start, end), between);
  }

  // The category's list: order, ranges, tags, counts, empty slots.
  void check_blocks() {
    using Block = std::tuple<uint32_t, uint32_t, std::string, uint32_t, ptrdiff_t>;
    std::vector<Block> found;
    const tty_db_block_type *block = db_.get()->block_lists[category_];
    for (; block != nullptr; block = block->next_block) {
      const tty_db_block_details_type &details = block->details;
      found.emplace_back(details.first_tty, tty_db_block_end(block),
                         details.tag_name != nullptr ? details.tag_name : "",
                         details.num_registered,
                         std::count(block->ttys, block->ttys + details.capacity, nullptr));
    }
    std::vector<Block> expected;
    for (const auto &[range, tag, handle] : blocks()) {
      const uint32_t registered = num_lines(range);
      expected.emplace_back(range.first, range.end, tag, registered, range.size() - registered);
    }
    EXPECT_EQ(found, expected);
  }

  void check_details_by_id(uint32_t id) {
    tty_db_block_details_type details;
    const uint32_t rc = tty_db_block_details_from_tty(db_, category_, id, &details);
    check_details(rc, details, block_of(id));
  }

  void check_details_by_tag() {
    const std::string tag = any_tag();
    const ModelBlock *first = nullptr;
    for (const auto &blocks : blocks_) {
      for (const ModelBlock &block : blocks) {
        if (first == nullptr && block.tag == tag) first = &block;
      }
    }
    tty_db_block_details_type details;
    const uint32_t rc = tty_db_block_details_from_tag(db_, tag_argument(tag), &details);
    check_details(rc, details, first);
  }

  void check_details(uint32_t rc, const tty_db_block_details_type &details,
                     const ModelBlock *block) {
    std::string expected = block != nullptr ? "OK" : "NO_BLOCK";
    if (automatic_) expected = "WRONG_MODE";
    EXPECT_EQ(result_name(rc), expected);
    tty_db_block_details_type by_handle = {};
    if (expected == "OK") tty_db_block_details_from_handle(db_, block->handle, &by_handle);
    EXPECT_EQ(fields(details), fields(by_handle));
    EXPECT_EQ(details.block_h, expected == "OK" ? block->handle : nullptr);
  }

  // The line of the step: its entry, who holds it, and its items.
  void check_line() {
    tty_db_tty_type *tty = retrieve();
    if (tty == nullptr) return;
    const ModelLine &line = lines()[id_];
    EXPECT_EQ(tty, line.tty);
    EXPECT_TRUE(pthread_equal(tty->lock_owner, pthread_self()));
    tty_db_tty_type *again = nullptr;
    EXPECT_EQ(tty_db_tty_retrieve(db_, category_, id_, &again),
              locking_ ? TTY_DB_ERR_LOCK_FAILED : 0);
    EXPECT_EQ(again, tty);
    for (const auto &[key, bytes] : line.items) {
      void *data = nullptr;
      EXPECT_EQ(tty_db_item_get(tty, key, &data), 0u);
      EXPECT_EQ(data, bytes);
      EXPECT_EQ(*bytes, static_cast<char>(key + 1));
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
    EXPECT_TRUE(pthread_equal(tty->lock_owner, locking_ ? 0xFFFFFFFF : pthread_self()));
  }

  Database db_;
  bool locking_;
  bool automatic_;
  Draw draw_;
  uint32_t category_ = 0;
  uint32_t id_ = 0;
  std::map<uint32_t, ModelLine> lines_[TTY_CATEGORY_MAX + 1];
  std::vector<ModelBlock> blocks_[TTY_CATEGORY_MAX + 1];  // in the order of their ids
};

#endif  // TTY_DB_TESTS_SUPPORT_MODEL_H
