// The subjects: the library, its floor and its peers.
//
// The floor makes only the calls of the C library that libttydb must make, on records in an array.
// The peers are the containers that a program would use instead.
//
// Every subject allocates with malloc, and has:
//   Key, key(line)       the subject's name for a line
//   add(line)            adds a line for good
//   use(key)             locks a line's record and unlocks it
//   miss(key)            looks for a line that does not exist
//   add_and_remove(key)  adds a line, unlocks its record, and removes it

#ifndef TTY_DB_BENCH_SUBJECTS_H
#define TTY_DB_BENCH_SUBJECTS_H

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <tbb/concurrent_hash_map.h>
#include <time.h>

#include <map>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>

#include "lines.h"

class Library {
 public:
  using Key = Line;
  static Key key(Line line) { return line; }

  explicit Library(uint32_t options = TTY_DB_OPT_ALL) {
    require(tty_db_create(options, &db_) == 0, "create");
  }
  Library(const Library &) = delete;
  Library &operator=(const Library &) = delete;
  ~Library() { tty_db_destroy(db_); }

  tty_db_type *handle() const { return db_; }

  tty_db_block_type *reserve(uint32_t category, uint32_t first, uint32_t count) {
    tty_db_block_type *block = nullptr;
    require(tty_db_block_reserve(db_, category, first, count, nullptr, 0, &block) == 0, "reserve");
    return block;
  }

  tty_db_tty_type *add(Line line) {
    tty_db_tty_type *tty = nullptr;
    require(tty_db_tty_register(db_, line.category, line.id, sizeof(Record), &tty) == 0,
            "register");
    require(tty_db_tty_unlock(db_, tty) == 0, "unlock");
    return tty;
  }

  tty_db_tty_type *use(Key line) {
    tty_db_tty_type *tty = nullptr;
    tty_db_tty_retrieve(db_, line.category, line.id, &tty);
    tty_db_tty_unlock(db_, tty);
    return tty;
  }

  bool miss(Key line) {
    tty_db_tty_type *tty = nullptr;
    return tty_db_tty_retrieve(db_, line.category, line.id, &tty) == TTY_DB_ERR_NOT_REGISTERED;
  }

  bool add_and_remove(Key line) {
    tty_db_tty_type *tty = nullptr;
    return tty_db_tty_register(db_, line.category, line.id, sizeof(Record), &tty) == 0 &&
           tty_db_tty_unlock(db_, tty) == 0 &&
           tty_db_tty_deregister(db_, line.category, line.id) == 0;
  }

  // The same, but removes the line while its entry is held.
  bool add_and_remove_held(Key line) {
    tty_db_tty_type *tty = nullptr;
    return tty_db_tty_register(db_, line.category, line.id, sizeof(Record), &tty) == 0 &&
           tty_db_tty_deregister(db_, line.category, line.id) == 0;
  }

  uint32_t num_blocks() {
    uint32_t count = 0;
    require(tty_db_get_details(db_, &count, nullptr) == 0, "details");
    return count;
  }

 private:
  tty_db_type *db_ = nullptr;
};

// The write lock, and how internal routines assert that it is held: a try, a reading of the clock
// and a timed try.
class WriteLockFloor {
 public:
  explicit WriteLockFloor(pthread_rwlock_t &lock) : lock_(lock) { pthread_rwlock_trywrlock(&lock); }
  ~WriteLockFloor() { pthread_rwlock_unlock(&lock_); }
  WriteLockFloor(const WriteLockFloor &) = delete;
  WriteLockFloor &operator=(const WriteLockFloor &) = delete;

  void assert_held() const {
    if (pthread_rwlock_trywrlock(&lock_) != EBUSY) abort();
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (pthread_rwlock_timedwrlock(&lock_, &now) != EDEADLK) abort();
  }

 private:
  pthread_rwlock_t &lock_;
};

class Floor {
 public:
  using Key = uint32_t;
  static Key key(Line line) { return line.category * kLinesPerCategory + line.id; }

  explicit Floor(uint32_t options = TTY_DB_OPT_ALL) : options_(options) {}
  Floor(const Floor &) = delete;
  Floor &operator=(const Floor &) = delete;
  ~Floor() {
    for (Record *record : records_) destroy_record(record);
  }

  // REQUIRES: lines are added in the order of their keys.
  void add(Line line) {
    require(key(line) == records_.size(), "order of the floor's records");
    records_.push_back(create_record());
  }

  Record *use(Key key) {
    pthread_rwlock_rdlock(&lock_);
    Record *record = records_[key];
    if (pthread_mutex_trylock(&record->head.lock) == EBUSY) {
      pthread_mutex_lock(&record->head.lock);
    }
    pthread_rwlock_unlock(&lock_);
    give_back(record);
    return record;
  }

  bool miss(Key key) {
    pthread_rwlock_rdlock(&lock_);
    pthread_rwlock_unlock(&lock_);
    return key != ~Key{0};
  }

  bool add_and_remove(Key) {
    const bool brings_block = (options_ & TTY_DB_OPT_AUTO_BLOCKS) != 0;
    const bool locks = (options_ & TTY_DB_OPT_LOCK_ENTRIES) != 0;
    Block *block = nullptr;
    Record *record = nullptr;
    {
      const WriteLockFloor writing(lock_);
      writing.assert_held();  // for the registration
      if (brings_block) {
        writing.assert_held();  // for the reservation
        block = static_cast<Block *>(calloc(1, sizeof(Block)));
        block->slots = static_cast<void **>(calloc(TTY_DB_AUTO_BLOCK_SIZE, sizeof(void *)));
      }
      record = create_record();
      if (locks) pthread_mutex_trylock(&record->head.lock);
    }
    if (locks) give_back(record);
    const WriteLockFloor writing(lock_);
    writing.assert_held();  // for the deregistration
    give_back(record);      // the wait for the holder before the items go
    give_back(record);      // the same before the mutex goes
    destroy_record(record);
    if (brings_block) {
      writing.assert_held();  // for the release
      writing.assert_held();  // for the walk over its ids
      free(block->slots);
      explicit_bzero(block, sizeof(Block));
      free(block);
    }
    return true;
  }

 private:
  // A block's record.
  struct Block {
    void **slots;
    char rest[64];
  };

  // A try and an unlock: the calls of an unlock with its assertion, and of the wait for the holder.
  static void give_back(Record *record) {
    pthread_mutex_trylock(&record->head.lock);
    pthread_mutex_unlock(&record->head.lock);
  }
  static Record *create_record() {
    auto *record = static_cast<Record *>(calloc(1, sizeof(Record)));
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_ERRORCHECK);
    pthread_mutex_init(&record->head.lock, &attributes);
    pthread_mutexattr_destroy(&attributes);
    return record;
  }
  static void destroy_record(Record *record) {
    pthread_mutex_destroy(&record->head.lock);
    free(record);
  }

  pthread_rwlock_t lock_ = PTHREAD_RWLOCK_INITIALIZER;
  uint32_t options_;
  std::vector<Record *> records_;
};

// A standard container under a reader-writer lock, with a mutex in every record.
template <template <typename...> typename Container>
class Locked {
 public:
  struct Entry {
    std::mutex lock;
    char rest[sizeof(Record) - sizeof(std::mutex)] = {};
  };
  using Key = uint32_t;
  static Key key(Line line) { return uint32_t{line.category} << 16 | line.id; }

  void add(Line line) { entries_.try_emplace(key(line)); }

  Entry *use(Key key) {
    Entry *entry;
    {
      const std::shared_lock reading(lock_);
      entry = &entries_.find(key)->second;
      entry->lock.lock();
    }
    entry->lock.unlock();
    return entry;
  }

  bool miss(Key key) {
    const std::shared_lock reading(lock_);
    return entries_.find(key) == entries_.end();
  }

  bool add_and_remove(Key key) {
    Entry *entry;
    {
      const std::unique_lock writing(lock_);
      const auto [place, added] = entries_.try_emplace(key);
      if (!added) return false;
      entry = &place->second;
      entry->lock.lock();
    }
    entry->lock.unlock();
    const std::unique_lock writing(lock_);
    const auto place = entries_.find(key);
    place->second.lock.lock();
    place->second.lock.unlock();
    entries_.erase(place);
    return true;
  }

  // Finds the first line at or above a key, like an iterator that keeps no lock.
  bool next(Key &key) {
    const std::shared_lock reading(lock_);
    const auto place = entries_.lower_bound(key);
    if (place == entries_.end()) return false;
    key = place->first + 1;
    return true;
  }

 private:
  std::shared_mutex lock_;
  Container<Key, Entry> entries_;
};

using StdMap = Locked<std::map>;
using StdUnorderedMap = Locked<std::unordered_map>;

// A concurrent hash map.  Its accessor holds the record.
class ConcurrentHashMap {
 public:
  struct Entry {
    char rest[sizeof(Record)] = {};
  };
  using Key = uint32_t;
  static Key key(Line line) { return StdMap::key(line); }

  void add(Line line) {
    Entries::accessor held;
    entries_.insert(held, key(line));
  }

  const Entry *use(Key key) {
    Entries::accessor held;
    return entries_.find(held, key) ? &held->second : nullptr;
  }

  bool miss(Key key) {
    Entries::accessor held;
    return !entries_.find(held, key);
  }

  bool add_and_remove(Key key) {
    {
      Entries::accessor held;
      if (!entries_.insert(held, key)) return false;
    }
    return entries_.erase(key);
  }

 private:
  using Entries = tbb::concurrent_hash_map<Key, Entry, tbb::tbb_hash_compare<Key>,
                                           std::allocator<std::pair<const Key, Entry>>>;
  Entries entries_;
};

#endif  // TTY_DB_BENCH_SUBJECTS_H
