// Many threads at once: nothing is lost or counted wrong, who waits for whom, and what ends the
// process. ThreadSanitizer runs these tests too.

#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <thread>

#include "support/database.h"

namespace {

// Waits for what another thread is about to do.
void wait_until(const std::function<bool()> &condition) {
  while (!condition()) std::this_thread::yield();
}

// Calls a writing operation until it gets the lock, as callers must.
uint32_t insist(const std::function<uint32_t()> &operation) {
  uint32_t rc = TTY_DB_ERR_LOCK_FAILED;
  while (rc == TTY_DB_ERR_LOCK_FAILED) rc = operation();
  return rc;
}

void insist_on_adding(tty_db_type *db, uint32_t id) {
  tty_db_tty_type *tty = nullptr;
  ASSERT_EQ(insist([&] { return tty_db_tty_register(db, 0, id, sizeof(Entry), &tty); }), 0u);
  ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
}

// Threads that retrieve and change entries, add and remove lines, reshape a block and iterate, all
// at once.
void hammer(uint32_t options) {
  constexpr uint32_t kLines = 40;  // registered throughout; ids above come and go
  constexpr int kRounds = 300;
  Database db(options);
  tty_db_block_type *block = (options & kAuto) == 0 ? db.reserve(0, 0, 200) : nullptr;
  for (uint32_t id = 0; id < kLines; ++id) db.add(0, id);
  std::atomic<uint64_t> added{0};

  const auto user = [&](unsigned seed) {
    std::mt19937 random(seed);
    for (int i = 0; i < kRounds * 4; ++i) {
      tty_db_tty_type *tty = nullptr;
      ASSERT_EQ(tty_db_tty_retrieve(db, 0, static_cast<uint32_t>(random() % kLines), &tty), 0u);
      if ((options & kLock) != 0) {
        ++reinterpret_cast<Entry *>(tty)->value;
        ++added;
        void *item = nullptr;
        if (tty_db_item_create(tty, seed, 8, &item) != 0) {
          ASSERT_EQ(tty_db_item_destroy(tty, seed), 0u);
        }
      }
      ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
    }
  };
  const auto writer = [&](uint32_t id) {
    for (int i = 0; i < kRounds; ++i) {
      insist_on_adding(db, id);
      if (block != nullptr) {
        const uint32_t size = 150 + id % 50;
        ASSERT_EQ(insist([&] { return tty_db_block_resize(db, block, 0, size, 0); }), 0u);
      }
      ASSERT_EQ(insist([&] { return tty_db_tty_deregister(db, 0, id); }), 0u);
    }
  };
  const auto walker = [&] {
    for (int i = 0; i < kRounds / 10; ++i) ASSERT_GE(db.lines().size(), kLines);
  };
  std::thread threads[] = {std::thread(user, 1), std::thread(user, 2), std::thread(writer, 100),
                           std::thread(writer, 149), std::thread(walker)};
  for (std::thread &thread : threads) thread.join();

  uint64_t sum = 0;
  for (uint32_t id = 0; id < kLines; ++id) {
    tty_db_tty_type *tty = nullptr;
    ASSERT_EQ(tty_db_tty_retrieve(db, 0, id, &tty), 0u);
    sum += reinterpret_cast<Entry *>(tty)->value;
    ASSERT_EQ(tty_db_tty_unlock(db, tty), 0u);
  }
  EXPECT_EQ(sum, added);
  EXPECT_EQ(db.counts().second, kLines);
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
  const long pauses = host::calls("usleep");
  tty_db_tty_type *tty = held;
  EXPECT_EQ(tty_db_tty_register(db, 0, 1, sizeof(Entry), &tty), TTY_DB_ERR_LOCK_FAILED);
  EXPECT_EQ(tty, nullptr);
  ASSERT_EQ(host::calls("usleep"), pauses + 10);
  EXPECT_EQ(tty_db_destroy(db), TTY_DB_ERR_LOCK_FAILED);

  // One that comes while the lock is about to be free gets it.
  std::thread writer([&] { insist_on_adding(db, 2); });
  wait_until([&] { return host::calls("usleep") >= pauses + 22; });
  EXPECT_EQ(tty_db_tty_unlock(db, held), 0u);
  writer.join();
  reader.join();
  EXPECT_EQ(db.counts(), std::make_pair(1u, 2u));
}

TEST(Threads, NeitherASignalNorACancellationShortensAWritersPauses) {
  Database db(kAuto);
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  ASSERT_EQ(sigaction(SIGUSR1, &action, nullptr), 0);
  ASSERT_EQ(pthread_rwlock_rdlock(&db.get()->rwlock), 0);
  const auto start = std::chrono::steady_clock::now();
  std::atomic<bool> gave_up{false};
  std::atomic<bool> ended{false};
  std::thread writer([&] {
    const std::shared_ptr<void> at_end(nullptr, [&](void *) { ended = true; });
    tty_db_tty_type *tty = nullptr;
    EXPECT_EQ(tty_db_tty_register(db, 0, 1, sizeof(Entry), &tty), TTY_DB_ERR_LOCK_FAILED);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    gave_up = true;
    pthread_testcancel();
    ADD_FAILURE() << "the cancellation is lost";
  });
  ASSERT_EQ(pthread_cancel(writer.native_handle()), 0);
  while (!ended) {
    pthread_kill(writer.native_handle(), SIGUSR1);
    usleep(2000);
  }
  writer.join();
  EXPECT_TRUE(gave_up);
  EXPECT_EQ(pthread_rwlock_unlock(&db.get()->rwlock), 0);
}

TEST(Threads, WhateverDeregistersAnEntryWaitsForItsHolder) {
  using Step = std::function<uint32_t(tty_db_type *, tty_db_block_type *)>;
  const Step steps[] = {
      [](auto *db, auto *) { return tty_db_tty_deregister(db, 0, 3); },
      [](auto *db, auto *block) { return tty_db_block_release(db, block, 0); },
      [](auto *db, auto *block) { return tty_db_block_resize(db, block, 4, 10, 0); },
  };
  for (const Step &step : steps) {
    Database db(kLock);
    tty_db_block_type *block = db.reserve(0, 0, 10);
    tty_db_tty_type *tty = db.add_held(0, 3);
    void *item = nullptr;
    ASSERT_EQ(tty_db_item_create(tty, 1, sizeof(int), &item), 0u);
    host::clear();
    std::atomic<bool> done{false};
    std::thread other([&] {
      EXPECT_EQ(step(db, block), 0u);
      done = true;
    });
    wait_until([] { return host::num_waiting() == 1; });
    EXPECT_EQ(host::log_text(), "wait tty_db_cleanup_entry\n");
    EXPECT_FALSE(done);
    // The holder's entry and items are whole while it holds them.
    ++*static_cast<int *>(item);
    EXPECT_EQ(tty_db_item_get(tty, 1, &item), 0u);
    EXPECT_EQ(*static_cast<int *>(item), 1);
    EXPECT_EQ(tty_db_tty_unlock(db, tty), 0u);
    other.join();
    EXPECT_EQ(db.counts().second, 0u);
  }
}

void release_by_another_thread() {
  host::announce_to_stderr();
  host::assertions_return(true);
  Database db(kLock | kAuto);
  tty_db_tty_type *tty = db.add_held(0, 0);
  std::thread([&] { tty_db_tty_unlock(db, tty); }).join();
}

TEST(ThreadsDeathTest, OnlyTheHolderGivesAnEntryBack) {
  EXPECT_DEATH(release_by_another_thread(),
               "KERNEL_ERROR .*Release TTY lock \\(1\\)\nmessage PANIC The TTY DB library has "
               "encountered a critical error and must restart the process");
}

}  // namespace
