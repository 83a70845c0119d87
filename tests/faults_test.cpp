// Every call that the library makes of the heap and of the POSIX locks is made to fail in turn.
//
// Each operation is run once for each call that it makes, in a process of its own, and the test
// spells out what follows from the failure of that call.  Whatever it is: an operation that fails
// has changed nothing, the same operation then succeeds, and nothing is left allocated in the end.

#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "support/database.h"

namespace {

struct World : Handles {
  explicit World(uint32_t options) : database(options) { db = database; }
  Database database;
  tty_db_type *made = nullptr;
};
using Step = std::function<void(World &)>;

struct Operation {
  const char *name;
  uint32_t options;
  // For each call, in order: "call=outcome".  "fine" means that the operation succeeds all the
  // same, "asserts" that it does so after reporting an assertion, "dies" that the process ends.
  std::string outcomes;
  std::function<uint32_t(World &)> run;
  Step prepare = [](World &) {};
  Step finish = [](World &) {};
};

#define READ_LOCK "rwlock_rdlock=LOCK_FAILED+message "
#define WRITE_LOCK "rwlock_trywrlock=LOCK_FAILED "
#define HELD_FOR_WRITING "rwlock_trywrlock=asserts clock_gettime=dies rwlock_timedwrlock=asserts "
#define WAIT_FOR_HOLDER "mutex_trylock=fine mutex_unlock=fine "
#define CLEAN_UP_ENTRY "mutex_trylock=asserts mutex_unlock=asserts mutex_destroy=fine "
#define UNLOCK "rwlock_unlock=dies+panic "

const Operation kOperations[] = {
    {"create", 0, "calloc=NO_MEMORY mmap=NO_MEMORY rwlock_init=LOCK_INIT+message ",
     [](World &w) { return tty_db_create(0, &w.made); }, [](World &) {},
     [](World &w) { tty_db_destroy(w.made); }},

    {"destroy", 0, WRITE_LOCK UNLOCK "rwlock_destroy=fine ",
     [](World &w) { return tty_db_destroy(w.made); }, [](World &w) { tty_db_create(0, &w.made); }},

    {"reserve", 0,
     WRITE_LOCK HELD_FOR_WRITING "calloc=NO_MEMORY strdup=NO_MEMORY calloc=NO_MEMORY " UNLOCK,
     [](World &w) { return tty_db_block_reserve(w.db, 0, 0, 5, "tag", 0, &w.block); }},

    {"release with a line", kLock,
     WRITE_LOCK HELD_FOR_WRITING HELD_FOR_WRITING HELD_FOR_WRITING WAIT_FOR_HOLDER CLEAN_UP_ENTRY
         UNLOCK,
     [](World &w) { return tty_db_block_release(w.db, w.block, 0); },
     [](World &w) {
       w.block = w.database.reserve(0, 0, 5, "tag");
       w.database.add(0, 3);
     }},

    {"shrink", 0,
     WRITE_LOCK HELD_FOR_WRITING HELD_FOR_WRITING "calloc=fine " HELD_FOR_WRITING UNLOCK,
     [](World &w) { return tty_db_block_resize(w.db, w.block, 6, 4, 1); },
     [](World &w) { w.block = w.database.reserve(0, 5, 5); }},

    {"register in a new block", kLock | kAuto,
     WRITE_LOCK HELD_FOR_WRITING HELD_FOR_WRITING
     "calloc=NO_MEMORY calloc=NO_MEMORY calloc=NO_MEMORY mutexattr_init=LOCK_INIT+message "
     "mutexattr_settype=LOCK_INIT+message mutex_init=LOCK_INIT+message mutexattr_destroy=fine "
     "mutex_trylock=LOCK_FAILED+message " UNLOCK,
     [](World &w) { return tty_db_tty_register(w.db, 0, 7, sizeof(Entry), &w.tty); },
     [](World &) {}, [](World &w) { tty_db_tty_unlock(w.db, w.tty); }},

    {"deregister the last line, with an item", kLock | kAuto,
     WRITE_LOCK HELD_FOR_WRITING WAIT_FOR_HOLDER CLEAN_UP_ENTRY HELD_FOR_WRITING HELD_FOR_WRITING
         UNLOCK,
     [](World &w) { return tty_db_tty_deregister(w.db, 0, 7); },
     [](World &w) {
       w.tty = w.database.add(0, 7, true);
       tty_db_item_create(w.tty, 1, 1, &w.item);
       tty_db_tty_unlock(w.db, w.tty);
     }},

    {"retrieve", kLock | kAuto, READ_LOCK "mutex_trylock=LOCK_FAILED+message " UNLOCK,
     [](World &w) { return tty_db_tty_retrieve(w.db, 0, 7, &w.tty); },
     [](World &w) { w.database.add(0, 7); }, [](World &w) { tty_db_tty_unlock(w.db, w.tty); }},

    {"unlock", kLock | kAuto, "mutex_trylock=asserts mutex_unlock=dies+panic ",
     [](World &w) { return tty_db_tty_unlock(w.db, w.tty); },
     [](World &w) { w.tty = w.database.add(0, 7, true); }},

    {"advance an iterator", kAuto, READ_LOCK UNLOCK,
     [](World &w) {
       const uint32_t rc = tty_db_iterate_next(w.iterator, &w.category, &w.id);
       EXPECT_EQ(std::make_pair(w.category, w.id),
                 rc == 0 ? std::make_pair(0u, 7u) : std::make_pair(5u, 0u));
       return rc;
     },
     [](World &w) {
       w.database.add(0, 7);
       tty_db_iterate_start(w.db, 0, 0, 5, 0, &w.iterator);
     },
     [](World &w) { tty_db_iterate_end(w.iterator); }},
};

// The locks that have been created and not destroyed.
long live_locks() {
  return host::calls("pthread_mutex_init") - host::calls("pthread_mutex_destroy") +
         host::calls("pthread_rwlock_init") - host::calls("pthread_rwlock_destroy");
}

// Runs an operation with its nth call failing, and writes the outcome to standard error.
void run_with_failure(const Operation &operation, int nth) {
  World world(operation.options);
  operation.prepare(world);
  host::assertions_return(true);
  host::clear();
  const auto lines = world.database.lines();
  const auto counts = world.database.counts();
  const size_t allocations = host::live_allocations();
  const long locks = live_locks();
  host::fail_call(nth, "", EINVAL);
  const uint32_t rc = operation.run(world);
  if (host::end_failing().empty()) {
    operation.finish(world);
    return;
  }

  const std::string log = host::log_text();
  std::string outcome = rc != 0 ? host::result_name(rc) : "fine";
  if (log.find("assert") != std::string::npos) outcome = rc == 0 ? "asserts" : outcome + "+assert";
  if (log.find("message") != std::string::npos) outcome += "+message";
  fprintf(stderr, "outcome %s\n", outcome.c_str());
  if (rc != 0) {
    EXPECT_EQ(world.database.lines(), lines);
    EXPECT_EQ(world.database.counts(), counts);
    EXPECT_EQ(host::live_allocations(), allocations);
    EXPECT_EQ(live_locks(), locks);
    EXPECT_EQ(operation.run(world), 0u);
  }
  operation.finish(world);
}

// The word that follows `key` in a text, or "".
std::string word_after(const std::string &text, const std::string &key) {
  const size_t at = text.find(key);
  if (at == std::string::npos) return "";
  return text.substr(at + key.size(), text.find('\n', at) - at - key.size());
}

// As run_with_failure, in a process of its own.  Returns "call=outcome ", with the call's
// "pthread_" left out, or "" where there is no nth call.
std::string outcome_of(const Operation &operation, int nth) {
  fflush(stdout);
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

  std::string outcome = word_after(said, "outcome ");
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) {
    outcome = said.find("message PANIC") != std::string::npos ? "dies+panic" : "dies";
  } else {
    EXPECT_EQ(status, 0) << operation.name << ", call " << nth << ": " << said;
  }
  const std::string failed = word_after(said, "failing ");
  const size_t prefix = failed.rfind("pthread_", 0) == 0 ? 8 : 0;
  return failed.empty() ? "" : failed.substr(prefix) + "=" + outcome + " ";
}

TEST(Faults, OfEveryCall) {
  for (const Operation &operation : kOperations) {
    SCOPED_TRACE(operation.name);
    std::string outcomes;
    std::string outcome;
    for (int nth = 1; nth == 1 || !outcome.empty(); ++nth) {
      outcome = outcome_of(operation, nth);
      outcomes += outcome;
    }
    EXPECT_EQ(outcomes, operation.outcomes);
  }
}

}  // namespace
