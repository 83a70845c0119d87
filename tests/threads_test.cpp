// Many threads at once: nothing is lost or counted wrong, who waits for whom, and what ends the
// process. ThreadSanitizer runs these tests too.

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

#include "support/database.h"

namespace {

// Waits until another thread makes `condition` true.
void wait_until(const std::function<bool()> &condition) {
  while (!condition()) std::this_thread::yield();
}

// Calls a writing operation until it gets the lock, as programs must.
uint32_t insist(const std::function<uint32_t()> &operation) {
  uint32_t rc = TTY_DB_ERR_LOCK_FAILED;
  while (rc == TTY_DB_ERR_LOCK_FAILED) rc = operation();
  return rc;
}

constexpr uint32_t kLines = 40;  // registered all the time
constexpr uint32_t kRounds = 30;

// Retrieves every line again and again.  With entry locking it may write to the entries.
void use_lines(tty_db_type *db, uint32_t key) {
  for (uint32_t use = 0; use < kRounds * kLines; ++use) {
    tty_db_tty_type *tty = nullptr;
    ASSERT_EQ(tty_db_tty_retrieve(db, 0, use % kLines, &tty), 0u);
    if ((db->options & kLock) != 0) {
      ++reinterpret_cast<Entry *>(tty)->value;
      void *item = nullptr;
      ASSERT_EQ(tty_db_item_create(tty, key, 8, &item), 0u);
      ASSERT_EQ(tty_db_item_destroy(tty, key), 0u);
    }
    ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
  }
}

// Adds and removes a line, and resizes the block of all lines if the program has reserved it.
void change_lines(tty_db_type *db, tty_db_block_type *block, uint32_t id) {
  for (uint32_t round = 0; round < 10 * kRounds; ++round) {
    tty_db_tty_type *tty = nullptr;
    ASSERT_EQ(insist([&] { return tty_db_tty_register(db, 0, id, sizeof(Entry), &tty); }), 0u);
    ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
    if (block != nullptr) {
      ASSERT_EQ(insist([&] { return tty_db_block_resize(db, block, 0, 100 + id, 0); }), 0u);
    }
    ASSERT_EQ(insist([&] { return tty_db_tty_deregister(db, 0, id); }), 0u);
  }
}

void hammer(uint32_t options) {
  Database db(options);
  tty_db_block_type *block = (options & kAuto) == 0 ? db.reserve(0, 0, 200) : nullptr;
  for (uint32_t id = 0; id < kLines; ++id) db.add(0, id);
  std::thread threads[] = {
      std::thread([&] { use_lines(db, 1); }),
      std::thread([&] { use_lines(db, 2); }),
      std::thread([&] { change_lines(db, block, 50); }),
      std::thread([&] { change_lines(db, block, 99); }),
  };
  for (uint32_t round = 0; round < kRounds; ++round) EXPECT_GE(db.lines().size(), kLines);
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(db.counts().second, kLines);
  for (uint32_t id = 0; id < kLines; ++id) {
    tty_db_tty_type *tty = nullptr;
    ASSERT_EQ(tty_db_tty_retrieve(db, 0, id, &tty), 0u);
    EXPECT_EQ(reinterpret_cast<Entry *>(tty)->value,
              (options & kLock) != 0 ? 2 * kRounds : 0);  // by two threads
    ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
  }
}

TEST(Threads, HammerADatabaseOfEachKind) {
  for (uint32_t options = 0; options <= TTY_DB_OPT_ALL; ++options) hammer(options);
}

TEST(Threads, AWriterGivesUpAfterTenTriesAndAReaderDoesNot) {
  Database db(kLock | kAuto);
  tty_db_tty_type *held = db.add_held(0, 0);
  std::thread reader([&] {  // keeps the read lock while it waits for the entry
    tty_db_tty_type *tty = nullptr;
    EXPECT_EQ(tty_db_tty_retrieve(db, 0, 0, &tty), 0u);
    EXPECT_TRUE(pthread_equal(tty->lock_owner, pthread_self()));
    EXPECT_EQ(tty_db_tty_unlock(db, tty), 0u);
  });
  wait_until([] { return host::num_waiting() == 1; });
  const long pauses_before = host::calls("usleep");
  EXPECT_EQ(tty_db_tty_deregister(db, 0, 0), TTY_DB_ERR_LOCK_FAILED);
  EXPECT_EQ(host::calls("usleep"), pauses_before + 10);
  EXPECT_EQ(tty_db_destroy(db), TTY_DB_ERR_LOCK_FAILED);
  EXPECT_EQ(tty_db_tty_unlock(db, held), 0u);
  reader.join();
  EXPECT_EQ(db.counts(), std::make_pair(1u, 1u));
}

TEST(Threads, NeitherASignalNorACancellationShortensAWritersPauses) {
  Database db(kAuto);
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  ASSERT_EQ(pthread_rwlock_rdlock(&db.get()->rwlock), 0);
  std::atomic<bool> gave_up{false};
  const auto start = std::chrono::steady_clock::now();
  std::thread writer([&] {
    tty_db_tty_type *tty = nullptr;
    EXPECT_EQ(tty_db_tty_register(db, 0, 1, sizeof(Entry), &tty), TTY_DB_ERR_LOCK_FAILED);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 10 * std::chrono::milliseconds(20));
    gave_up = true;
    pause();  // is cancelled here
    ADD_FAILURE() << "the cancellation is lost";
  });
  ASSERT_EQ(pthread_cancel(writer.native_handle()), 0);
  for (int i = 0; i < 5000 && !gave_up; ++i) {
    pthread_kill(writer.native_handle(), SIGUSR1);
    usleep(2000);
  }
  writer.join();
  EXPECT_TRUE(gave_up);
  EXPECT_EQ(pthread_rwlock_unlock(&db.get()->rwlock), 0);
}

TEST(Threads, RemovalWaitsForTheHolderOfTheEntry) {
  using Operation = std::function<uint32_t(tty_db_type *, tty_db_block_type *)>;
  const Operation operations[] = {
      [](auto *db, auto *) { return tty_db_tty_deregister(db, 0, 3); },
      [](auto *db, auto *block) { return tty_db_block_release(db, block, 0); },
      [](auto *db, auto *block) { return tty_db_block_resize(db, block, 4, 10, 0); },
  };
  for (const Operation &operation : operations) {
    Database db(kLock);
    tty_db_block_type *block = db.reserve(0, 0, 10);
    tty_db_tty_type *tty = db.add_held(0, 3);
    void *item = nullptr;
    ASSERT_EQ(tty_db_item_create(tty, 1, 1, &item), 0u);
    host::clear();
    std::atomic<bool> done{false};
    std::thread other([&] {
      EXPECT_EQ(operation(db, block), 0u);
      done = true;
    });
    wait_until([] { return host::num_waiting() == 1; });
    EXPECT_EQ(host::log_text(), "wait tty_db_cleanup_entry\n");
    EXPECT_FALSE(done);
    EXPECT_EQ(tty_db_item_get(tty, 1, &item), 0u) << "the holder's items are still there";
    EXPECT_EQ(tty_db_tty_unlock(db, tty), 0u);
    other.join();
    EXPECT_EQ(db.counts().second, 0u);
  }
}

void unlock_by_another_thread() {
  host::announce_to_stderr();
  host::assertions_return(true);
  Database db(kLock | kAuto);
  tty_db_tty_type *tty = db.add_held(0, 0);
  std::thread([&] { tty_db_tty_unlock(db, tty); }).join();
}

TEST(ThreadsDeathTest, OnlyTheHolderUnlocksAnEntry) {
  EXPECT_DEATH(unlock_by_another_thread(),
               "KERNEL_ERROR .*Release TTY lock \\(1\\)\nmessage PANIC The TTY DB library has "
               "encountered a critical error and must restart the process");
}

}  // namespace
