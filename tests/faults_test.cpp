// Every call that the library makes of the heap and of the POSIX locks fails in turn.
//
// Each operation is done once for each of its calls, in a process of its own, and the test
// checks the outcome.  An operation that fails has changed nothing, the same operation then
// succeeds, and nothing is left allocated in the end.

#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "support/database.h"

namespace {

struct World {
  explicit World(uint32_t options) : db(options) {}
  ~World() {
    if (created != nullptr) tty_db_destroy(created);
  }
  Database db;
  tty_db_type *created = nullptr;
  tty_db_block_type *block = nullptr;
  tty_db_tty_type *tty = nullptr;
};

struct Operation {
  uint32_t options = 0;
  std::function<void(World &)> prepare = [](World &) {};
  std::function<uint32_t(World &)> run;
};

// The locks that have been created and not destroyed.
long live_locks() {
  return host::calls("pthread_mutex_init") - host::calls("pthread_mutex_destroy") +
         host::calls("pthread_rwlock_init") - host::calls("pthread_rwlock_destroy");
}

// Does an operation with its nth call failing, and writes the outcome to standard error.
void run_with_failure(const Operation &operation, int nth) {
  World world(operation.options);
  operation.prepare(world);
  host::assertions_return(true);
  host::clear();
  const auto lines = world.db.lines();
  const auto counts = world.db.counts();
  const size_t allocations = host::live_allocations();
  const long locks = live_locks();
  host::fail_call("", nth);
  const uint32_t rc = operation.run(world);
  const bool failed = !host::end_failing().empty();
  if (failed) {
    fprintf(stderr, "outcome %s", host::result_name(rc).c_str());
    if (host::num_assertions() > 0) fprintf(stderr, ", assertion");
    if (host::log_text().find("message") != std::string::npos) fprintf(stderr, ", message");
    fprintf(stderr, "\n");
  }
  if (rc != 0) {
    EXPECT_EQ(world.db.lines(), lines);
    EXPECT_EQ(world.db.counts(), counts);
    EXPECT_EQ(host::live_allocations(), allocations);
    EXPECT_EQ(live_locks(), locks);
    EXPECT_EQ(operation.run(world), 0u);
  }
}

// The rest of the row of `text` that begins with `key`, or "".
std::string row_after(const std::string &text, const std::string &key) {
  const size_t at = text.find(key);
  if (at == std::string::npos) return "";
  return text.substr(at + key.size(), text.find('\n', at) - at - key.size());
}

// Runs run_with_failure() in a child process.  Returns "CALL: OUTCOME", or "" if there is no nth
// call.
std::string outcome_of(const Operation &operation, int nth) {
  testing::internal::CaptureStderr();
  const pid_t child = fork();
  if (child == 0) {
    host::announce_to_stderr();
    run_with_failure(operation, nth);
    fflush(stdout);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  const std::string said = testing::internal::GetCapturedStderr();
  const std::string call = row_after(said, "failing ");
  if (call.empty()) return "";
  std::string outcome = row_after(said, "outcome ");
  if (WIFSIGNALED(status)) {
    outcome = said.find("message PANIC") != std::string::npos ? "death, panic" : "death";
  } else {
    EXPECT_EQ(status, 0) << call << " fails: " << said;
  }
  return call + ": " + outcome + "\n";
}

void expect_outcomes(const Operation &operation, const std::string &expected) {
  std::string outcomes;
  std::string outcome;
  fflush(stdout);
  int nth = 0;
  do {
    outcome = outcome_of(operation, ++nth);
    outcomes += outcome;
  } while (!outcome.empty());
  EXPECT_EQ(outcomes, expected);
}

const std::string kWriteLock = "pthread_rwlock_trywrlock: LOCK_FAILED\n";
const std::string kUnlock = "pthread_rwlock_unlock: death, panic\n";
const std::string kCheckWriteLock =
    "pthread_rwlock_trywrlock: OK, assertion\n"
    "pthread_rwlock_timedwrlock: OK, assertion\n";
const std::string kEndEntry =
    "pthread_mutex_trylock: OK\n"
    "pthread_mutex_unlock: OK\n"
    "pthread_mutex_trylock: OK, assertion\n"
    "pthread_mutex_unlock: OK, assertion\n"
    "pthread_mutex_destroy: OK\n";

TEST(Faults, OfCreation) {
  Operation create;
  create.run = [](World &world) { return tty_db_create(0, &world.created); };
  expect_outcomes(create,
                  "calloc: NO_MEMORY\n"
                  "mmap: NO_MEMORY\n"
                  "pthread_rwlock_init: LOCK_INIT, message\n");
}

TEST(Faults, OfAReservation) {
  Operation reserve;
  reserve.run = [](World &world) {
    return tty_db_block_reserve(world.db, 0, 0, 5, "tag", 0, &world.block);
  };
  expect_outcomes(reserve, kWriteLock + kCheckWriteLock +
                               "calloc: NO_MEMORY\n"
                               "strdup: NO_MEMORY\n"
                               "calloc: NO_MEMORY\n" +
                               kUnlock);
}

TEST(Faults, OfTheReleaseOfABlockWithALine) {
  Operation release;
  release.options = kLock;
  release.prepare = [](World &world) {
    world.block = world.db.reserve(0, 0, 5, "tag");
    world.db.add(0, 3);
  };
  release.run = [](World &world) { return tty_db_block_release(world.db, world.block, 0); };
  expect_outcomes(release, kWriteLock + kCheckWriteLock + kCheckWriteLock + kCheckWriteLock +
                               kEndEntry + kUnlock);
}

TEST(Faults, OfTheRegistrationOfALineInANewBlock) {
  Operation add;
  add.options = kLock | kAuto;
  add.run = [](World &world) {
    return tty_db_tty_register(world.db, 0, 7, sizeof(Entry), &world.tty);
  };
  expect_outcomes(add, kWriteLock + kCheckWriteLock + kCheckWriteLock +
                           "calloc: NO_MEMORY\n"
                           "calloc: NO_MEMORY\n"
                           "calloc: NO_MEMORY\n"
                           "pthread_mutex_init: LOCK_INIT, message\n"
                           "pthread_mutex_trylock: LOCK_FAILED, message\n" +
                           kUnlock);
}

TEST(Faults, OfARetrieval) {
  Operation retrieve;
  retrieve.options = kLock | kAuto;
  retrieve.prepare = [](World &world) { world.db.add(0, 7); };
  retrieve.run = [](World &world) { return tty_db_tty_retrieve(world.db, 0, 7, &world.tty); };
  expect_outcomes(retrieve,
                  "pthread_rwlock_rdlock: LOCK_FAILED, message\n"
                  "pthread_mutex_trylock: LOCK_FAILED, message\n" +
                      kUnlock);
}

TEST(Faults, OfTheUnlockingOfAnEntry) {
  Operation unlock;
  unlock.options = kLock | kAuto;
  unlock.prepare = [](World &world) { world.tty = world.db.add_held(0, 7); };
  unlock.run = [](World &world) { return tty_db_tty_unlock(world.db, world.tty); };
  expect_outcomes(unlock,
                  "pthread_mutex_trylock: OK, assertion\n"
                  "pthread_mutex_unlock: death, panic\n");
}

}  // namespace
