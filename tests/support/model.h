// A model of a database, and the operations that are done to both: on lines, items and blocks, in
// both block modes, with and without entry locking, at times while a call of the heap or of a lock
// fails.  After each, the database is what the model is, which is made of plain maps.
//
// The model test draws the operations at random, the fuzzer from bytes.

#ifndef TTY_DB_TESTS_SUPPORT_MODEL_H
#define TTY_DB_TESTS_SUPPORT_MODEL_H

#include <algorithm>
#include <deque>
#include <functional>
#include <map>

#include "block/index.h"
#include "support/database.h"

using host::result_name;
using Position = std::pair<uint32_t, uint32_t>;  // category and id

struct ModelLine {
  tty_db_tty_type *tty = nullptr;
  std::deque<std::pair<uint32_t, char *>> items;  // newest first
};

struct ModelBlock {
  uint32_t first = 0;
  uint32_t count = 0;
  std::string tag;  // "" for none
  tty_db_block_type *handle = nullptr;
  bool operator<(const ModelBlock &other) const { return first < other.first; }
  bool holds(uint32_t id) const { return id >= first && id < first + count; }
};

// What the model's steps are drawn from: returns a number below the bound.
using Draw = std::function<uint32_t(uint32_t bound)>;

class Model {
 public:
  Model(uint32_t options, Draw draw)
      : db_(options),
        locking_((options & kLock) != 0),
        automatic_((options & kAuto) != 0),
        draw_(std::move(draw)) {
    host::assertions_return(true);
    start_iterator();
  }
  Model(const Model &) = delete;
  Model &operator=(const Model &) = delete;
  ~Model() {
    EXPECT_EQ(tty_db_iterate_end(iterator_), 0u);
    EXPECT_GE(host::zeros_at_last_free(), 2 * sizeof(Position) + sizeof(void *));
    // The end of the database ends a hold of this thread's.
    const auto &rest = lines_[category_];
    tty_db_tty_type *held = nullptr;
    if (!rest.empty()) tty_db_tty_retrieve(db_, category_, rest.begin()->first, &held);
  }

  // One operation.
  void step() {
    category_ = below(100) < 80 ? 1 : below(TTY_CATEGORY_MAX + 1);
    // Few distinct ids, so that operations meet; at times the ends of the range.
    id_ = below(100) < 90 ? below(120) : below(2) != 0 ? TTY_PORT_MAX - below(25) : below(10001);
    host::clear();
    operate();
    EXPECT_TRUE(host::trace_is_sound());
  }

  // Compares all that the database holds with the model.
  void check() {
    host::clear();
    check_lines();
    check_blocks();
    check_index();
    check_details();
    check_line();
    EXPECT_EQ(host::num_assertions(), 0);
    EXPECT_TRUE(host::trace_is_sound());
  }

 private:
  uint32_t below(uint32_t bound) { return draw_(bound); }
  auto &lines() { return lines_[category_]; }
  auto &blocks() { return blocks_[category_]; }

  ModelBlock *block_of(uint32_t id) {
    for (ModelBlock &block : blocks()) {
      if (block.holds(id)) return &block;
    }
    return nullptr;
  }
  ModelBlock *any_block() {
    return blocks().empty() ? nullptr : &blocks()[below(static_cast<uint32_t>(blocks().size()))];
  }
  bool overlaps(uint32_t first, uint32_t count, const ModelBlock *but) {
    return std::any_of(blocks().begin(), blocks().end(), [&](const ModelBlock &block) {
      return &block != but && first < block.first + block.count && block.first < first + count;
    });
  }
  void add_block(const ModelBlock &block) {
    blocks().push_back(block);
    std::sort(blocks().begin(), blocks().end());
  }
  void erase_block(const ModelBlock *gone) {
    blocks().erase(blocks().begin() + (gone - blocks().data()));
  }
  template <typename Dropped>
  bool any_line(Dropped dropped) {
    return std::any_of(lines().begin(), lines().end(),
                       [&](auto &line) { return dropped(line.first); });
  }
  template <typename Dropped>
  void erase_lines(Dropped dropped) {
    for (auto line = lines().begin(); line != lines().end();) {
      line = dropped(line->first) ? lines().erase(line) : std::next(line);
    }
  }

  std::string random_tag() { return below(2) == 0 ? "" : "tag" + std::to_string(below(4)); }

  // At times makes a call fail that the next operation makes of the heap or of a lock: a call whose
  // failure does not end the process.
  void disturb_at_times() {
    static const char *const calls[] = {
        "calloc",         "calloc",     "strdup",        "rwlock_trywrlock", "rwlock_timedwrlock",
        "mutexattr_init", "mutex_init", "mutex_trylock", "mutex_lock",       "mutex_destroy"};
    if (below(5) != 0) return;
    const int nth = 1 + static_cast<int>(below(3));
    const uint32_t call = below(10);
    host::fail_call(nth, std::string(call < 3 ? "" : "pthread_") + calls[call]);
  }

  // Compares a result with the expected one.  An operation that a failed call keeps from it says so
  // instead, and where the call has been on a lock, assertions may have failed.  Returns whether
  // the operation has taken effect.
  bool took_effect(uint32_t rc, const std::string &expected) {
    const std::string failed = host::end_failing();
    const bool on_lock = failed.rfind("pthread_", 0) == 0;
    const std::string result = result_name(rc);
    const bool hindered = on_lock ? result == "LOCK_FAILED" || result == "LOCK_INIT"
                                  : !failed.empty() && result == "NO_MEMORY";
    EXPECT_TRUE(result == expected || hindered) << result << ", not " << expected << " " << failed;
    EXPECT_TRUE(on_lock || host::num_assertions() == 0) << host::log_text();
    return rc == 0;
  }

  void operate() {
    const uint32_t choice = below(100);
    if (choice < 35) return add_line();
    if (choice < 50) return remove_line();
    if (choice < 70) return change_items();
    if (choice < 80) return reserve();
    if (choice < 95) return resize();
    release();
  }

  void add_line() {
    tty_db_tty_type *tty = nullptr;
    ModelBlock *block = block_of(id_);
    const char *expected = lines().count(id_) != 0           ? "TTY_EXISTS"
                           : block == nullptr && !automatic_ ? "NO_BLOCK"
                                                             : "OK";
    disturb_at_times();
    if (!took_effect(tty_db_tty_register(db_, category_, id_, sizeof(Entry) + below(100), &tty),
                     expected)) {
      EXPECT_EQ(tty, nullptr);
      return;
    }
    lines()[id_].tty = tty;
    if (block == nullptr) {
      const uint32_t first = id_ - id_ % 10;
      add_block({first, std::min(10u, TTY_PORT_MAX - first + 1), "", nullptr});
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
  }

  void remove_line() {
    const bool known = lines().count(id_) != 0;
    ModelBlock *block = block_of(id_);
    tty_db_tty_type *held = nullptr;  // at times by this thread itself
    if (below(3) == 0) tty_db_tty_retrieve(db_, category_, id_, &held);
    disturb_at_times();
    const uint32_t rc = tty_db_tty_deregister(db_, category_, id_);
    if (!took_effect(rc, known ? "OK" : block != nullptr ? "NOT_REGISTERED" : "NO_BLOCK")) {
      if (held != nullptr) tty_db_tty_unlock(db_, held);
      return;
    }
    lines().erase(id_);
    if (known && automatic_ && !any_line([&](uint32_t id) { return block->holds(id); })) {
      erase_block(block);
    }
  }

  void change_items() {
    tty_db_tty_type *tty = nullptr;
    const bool known = lines().count(id_) != 0;
    const uint32_t rc = tty_db_tty_retrieve(db_, category_, id_, &tty);
    EXPECT_EQ(result_name(rc), known ? "OK" : "NOT_REGISTERED");
    if (!known || rc != 0) return;
    auto &items = lines()[id_].items;
    const uint32_t key = below(6) - 1;
    const auto item = std::find_if(items.begin(), items.end(),
                                   [&](const auto &candidate) { return candidate.first == key; });
    void *data = nullptr;
    if (below(2) == 0) {
      disturb_at_times();
      const uint32_t made = tty_db_item_create(tty, key, 1 + below(50), &data);
      if (took_effect(made, item != items.end() ? "ITEM_EXISTS" : "OK")) {
        items.emplace_front(key, static_cast<char *>(data));
        EXPECT_EQ(*static_cast<char *>(data), 0);
        EXPECT_EQ(reinterpret_cast<uintptr_t>(data) % alignof(max_align_t), 0u);
        *static_cast<char *>(data) = static_cast<char>(key + 1);
      } else {
        EXPECT_EQ(data, nullptr);
      }
    } else {
      if (took_effect(tty_db_item_destroy(tty, key), item != items.end() ? "OK" : "NO_ITEM")) {
        EXPECT_GE(host::zeros_at_last_free(), sizeof(void *) + sizeof(key));
        items.erase(item);
      }
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
  }

  void reserve() {
    const uint32_t count = 1 + below(below(5) == 0 ? 200 : 12);
    std::string tag = random_tag();
    tty_db_block_type *handle = nullptr;
    disturb_at_times();
    const uint32_t rc = tty_db_block_reserve(db_, category_, id_, count,
                                             tag.empty() ? nullptr : tag.c_str(), id_, &handle);
    const char *expected = id_ + count - 1 > TTY_PORT_MAX  ? "INVALID_ARG"
                           : automatic_                    ? "WRONG_MODE"
                           : overlaps(id_, count, nullptr) ? "OVERLAP"
                                                           : "OK";
    if (took_effect(rc, expected)) add_block({id_, count, tag, handle});
    EXPECT_EQ(handle == nullptr, rc != 0);
    tag.assign("overwritten");  // the library has a copy
  }

  void resize() {
    ModelBlock *block = automatic_ ? nullptr : any_block();
    if (block == nullptr) return;
    // Mostly near to where the block is, so that ids stay.
    const uint32_t first =
        below(4) == 0 ? id_ : block->first - std::min(block->first, below(6)) + below(6);
    const uint32_t count = below(4) == 0
                               ? 1 + below(300)
                               : 1 + block->count + below(6) - std::min(block->count, below(6));
    const uint32_t options = below(2);
    const auto dropped = [&](uint32_t id) {
      return block->holds(id) && (id < first || id >= first + count);
    };
    const char *expected = first + count - 1 > TTY_PORT_MAX    ? "INVALID_ARG"
                           : options != 0 && any_line(dropped) ? "TTYS_REGISTERED"
                           : overlaps(first, count, block)     ? "OVERLAP"
                                                               : "OK";
    if (below(2) == 0) host::fail_call(1, "calloc");  // what does not grow does without
    const uint32_t rc = tty_db_block_resize(db_, block->handle, first, count, options);
    EXPECT_TRUE(rc != TTY_DB_ERR_NO_MEMORY || count > block->count);
    if (!took_effect(rc, expected)) return;
    erase_lines(dropped);
    block->first = first;
    block->count = count;
    std::sort(blocks().begin(), blocks().end());
  }

  void release() {
    ModelBlock *block = automatic_ ? nullptr : any_block();
    if (block == nullptr) return;
    const uint32_t options = below(2);
    const auto held = [&](uint32_t id) { return block->holds(id); };
    const uint32_t rc = tty_db_block_release(db_, block->handle, options);
    if (!took_effect(rc, options != 0 && any_line(held) ? "TTYS_REGISTERED" : "OK")) return;
    EXPECT_GE(host::zeros_at_last_free(), sizeof(tty_db_block_type));
    erase_lines(held);
    erase_block(block);
  }

  // The counts, and walks over all lines and over some.
  void check_lines() {
    uint32_t num_blocks = 0;
    std::vector<Position> expected;
    for (uint32_t category = 0; category <= TTY_CATEGORY_MAX; ++category) {
      num_blocks += static_cast<uint32_t>(blocks_[category].size());
      for (const auto &line : lines_[category]) expected.emplace_back(category, line.first);
    }
    EXPECT_EQ(db_.counts(), std::make_pair(num_blocks, static_cast<uint32_t>(expected.size())));
    EXPECT_EQ(db_.lines(), expected);
    check_iterator(expected);
    const Position start(below(TTY_CATEGORY_MAX + 1), below(130));
    const Position end(below(TTY_CATEGORY_MAX + 1),
                       below(2) != 0 ? below(130) : TTY_PORT_MAX - below(25));
    const auto outside = [&](const Position &line) { return line < start || line > end; };
    expected.erase(std::remove_if(expected.begin(), expected.end(), outside), expected.end());
    EXPECT_EQ(db_.lines(start.first, start.second, end.first, end.second), expected);
  }

  void start_iterator() {
    EXPECT_EQ(tty_db_iterate_start(db_, 0, 0, TTY_CATEGORY_MAX, TTY_PORT_MAX, &iterator_), 0u);
    next_ = {0, 0};
  }

  // An iterator that lives through many steps: it yields the first line from its position on as the
  // database is now, and none any more once it has found none.
  void check_iterator(const std::vector<Position> &lines) {
    if (below(4) != 0) return;
    const auto line = std::lower_bound(lines.begin(), lines.end(), next_);
    const bool more = line != lines.end();
    Position found;
    EXPECT_EQ(result_name(tty_db_iterate_next(iterator_, &found.first, &found.second)),
              more ? "OK" : "NO_MORE");
    EXPECT_EQ(found, more ? *line : Position(TTY_CATEGORY_MAX, 0));
    next_ = more ? Position(found.first, found.second + 1) : Position(TTY_CATEGORY_MAX + 1, 0);
    if (more || below(10) != 0) return;
    EXPECT_EQ(tty_db_iterate_end(iterator_), 0u);
    start_iterator();
  }

  // The details of the block that holds the step's id, and of the first block with a tag.
  void check_details() {
    tty_db_block_details_type details;
    const uint32_t by_line = tty_db_block_details_from_tty(db_, category_, id_, &details);
    expect_details(block_of(id_), by_line, details);

    const std::string tag = random_tag();
    const ModelBlock *first = nullptr;
    for (const auto &blocks : blocks_) {
      const auto block = std::find_if(blocks.begin(), blocks.end(),
                                      [&](const auto &candidate) { return candidate.tag == tag; });
      if (first == nullptr && block != blocks.end()) first = &*block;
    }
    const char *argument = tag.empty() ? nullptr : tag.c_str();
    expect_details(first, tty_db_block_details_from_tag(db_, argument, &details), details);
  }

  void expect_details(const ModelBlock *block, uint32_t rc,
                      const tty_db_block_details_type &details) {
    const char *expected = automatic_ ? "WRONG_MODE" : block != nullptr ? "OK" : "NO_BLOCK";
    EXPECT_EQ(result_name(rc), expected);
    tty_db_block_details_type wanted = {};
    if (rc == 0) tty_db_block_details_from_handle(db_, block->handle, &wanted);
    EXPECT_EQ(fields(details), fields(wanted));
    EXPECT_EQ(details.block_h, rc == 0 ? block->handle : nullptr);
  }

  // The category's list against the model: order, ranges, counts, slots.
  void check_blocks() {
    const tty_db_block_type *block = db_.get()->block_lists[category_];
    for (const ModelBlock &wanted : blocks()) {
      ASSERT_NE(block, nullptr);
      EXPECT_EQ(std::make_tuple(block->details.first_tty, block->details.capacity),
                std::make_tuple(wanted.first, wanted.count));
      const char *tag = block->details.tag_name;
      EXPECT_EQ(std::string(tag != nullptr ? tag : ""), wanted.tag);
      uint32_t registered = 0;
      for (uint32_t slot = 0; slot < block->details.capacity; ++slot) {
        if (block->ttys[slot] == nullptr) continue;
        ++registered;
        EXPECT_EQ(block->ttys[slot], lines()[wanted.first + slot].tty);
      }
      EXPECT_EQ(block->details.num_registered, registered);
      block = block->next_block;
    }
    EXPECT_EQ(block, nullptr);
  }

  // The index against the list: which block begins at each id, which line is there, and which block
  // contains it.
  void check_index() {
    const tty_db_type *db = db_.get();
    tty_db_category_index &index = db->index->categories[category_];
    std::map<uint32_t, tty_db_block_type *> first_ids;
    tty_db_block_type *block = db->block_lists[category_];
    for (; block != nullptr; block = block->next_block) {
      first_ids[block->details.first_tty] = block;
    }
    for (uint32_t id = 0; id <= TTY_PORT_MAX; ++id) {
      const auto begins = first_ids.find(id);
      const auto line = lines().find(id);
      if (begins != first_ids.end()) block = begins->second;
      if (block != nullptr && id == tty_db_block_end(block)) block = nullptr;
      const bool sound = index.firsts.has(id) == (begins != first_ids.end()) &&
                         index.block(id) == (begins != first_ids.end() ? block : nullptr) &&
                         index.registered.has(id) == (line != lines().end()) &&
                         index.entry(id) == (line != lines().end() ? line->second.tty : nullptr) &&
                         tty_db_index_find_block(db, category_, id) == block;
      EXPECT_TRUE(sound) << "index of id " << id;
    }
  }

  // The line that the step was about: its entry, who holds it, and its items.
  void check_line() {
    const auto line = lines().find(id_);
    tty_db_tty_type *const untouched = reinterpret_cast<tty_db_tty_type *>(this);
    tty_db_tty_type *tty = untouched;
    const uint32_t rc = tty_db_tty_retrieve(db_, category_, id_, &tty);
    EXPECT_EQ(rc, line != lines().end() ? 0 : TTY_DB_ERR_NOT_REGISTERED);
    if (line == lines().end()) {
      EXPECT_EQ(tty, block_of(id_) != nullptr ? nullptr : untouched);
      return;
    }
    EXPECT_EQ(tty, line->second.tty);
    EXPECT_TRUE(pthread_equal(tty->lock_owner, pthread_self()));
    tty_db_tty_type *again = nullptr;
    EXPECT_EQ(result_name(tty_db_tty_retrieve(db_, category_, id_, &again)),
              locking_ ? "LOCK_FAILED" : "OK");
    EXPECT_EQ(again, tty);
    for (const auto &item : line->second.items) {
      void *data = nullptr;
      EXPECT_EQ(tty_db_item_get(tty, item.first, &data), 0u);
      EXPECT_EQ(data, item.second);
      EXPECT_EQ(*item.second, static_cast<char>(item.first + 1));
    }
    EXPECT_EQ(tty_db_tty_unlock(db_, tty), 0u);
    EXPECT_TRUE(pthread_equal(tty->lock_owner, locking_ ? 0xFFFFFFFF : pthread_self()));
  }

  Database db_;
  bool locking_;
  bool automatic_;
  Draw draw_;
  tty_db_iterator_type *iterator_ = nullptr;
  Position next_;  // the iterator's; past the last category once it is exhausted
  uint32_t category_ = 0;
  uint32_t id_ = 0;
  std::map<uint32_t, ModelLine> lines_[TTY_CATEGORY_MAX + 1];
  std::vector<ModelBlock> blocks_[TTY_CATEGORY_MAX + 1];
};

#endif  // TTY_DB_TESTS_SUPPORT_MODEL_H
