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

struct World {
  explicit World(uint32_t options) : db(options) {}
  Database db;
  tty_db_block_type *block = nullptr;
  tty_db_tty_type *tty = nullptr;
  tty_db_iterator_type *iterator = nullptr;
  void *item = nullptr;
  uint32_t category = 0;
  uint32_t id = 0;
  tty_db_type *other_db = nullptr;
};

struct Operation {
  const char *name;
  uint32_t options;
  std::function<void(World &)> prepare;
  std::function<uint32_t(World &)> run;
  std::function<void(World &)> finish;
  // For each call, in order: "call=outcome".  "fine" means that the operation succeeds all the
  // same, "asserts" that it does so after reporting an assertion, "dies" that the process ends with
  // a message.
  std::vector<std::string> outcomes;
};

void nothing(World &) {}

// What the check for a held write lock makes of failed calls.
#define WRITELOCKED_CHECK \
  "pthread_rwlock_trywrlock=asserts", "clock_gettime=dies", "pthread_rwlock_timedwrlock=asserts"
#define TAKE_ENTRY_AND_GIVE_BACK "pthread_mutex_trylock=fine", "pthread_mutex_unlock=fine"

const Operation kOperations[] = {
    {"create",
     0,
     nothing,
     [](World &w) { return tty_db_create(0, &w.other_db); },
     [](World &w) { tty_db_destroy(w.other_db); },
     {"calloc=NO_MEMORY", "pthread_rwlock_init=LOCK_INIT+message"}},

    {"destroy",
     0,
     [](World &w) { tty_db_create(0, &w.other_db); },
     [](World &w) { return tty_db_destroy(w.other_db); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", "pthread_rwlock_unlock=dies+panic",
      "pthread_rwlock_destroy=fine"}},

    {"reserve",
     0,
     nothing,
     [](World &w) { return tty_db_block_reserve(w.db, 0, 0, 5, "tag", 0, &w.block); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, "calloc=NO_MEMORY",
      "strdup=NO_MEMORY", "calloc=NO_MEMORY", "pthread_rwlock_unlock=dies+panic"}},

    {"release with a line",
     kLock,
     [](World &w) {
       w.block = w.db.reserve(0, 0, 5, "tag");
       w.db.add(0, 3);
     },
     [](World &w) { return tty_db_block_release(w.db, w.block, 0); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, WRITELOCKED_CHECK,
      WRITELOCKED_CHECK, TAKE_ENTRY_AND_GIVE_BACK, "pthread_mutex_trylock=asserts",
      "pthread_mutex_unlock=asserts", "pthread_mutex_destroy=fine",
      "pthread_rwlock_unlock=dies+panic"}},

    {"grow",
     0,
     [](World &w) { w.block = w.db.reserve(0, 5, 5); },
     [](World &w) { return tty_db_block_resize(w.db, w.block, 5, 6, 0); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, "calloc=NO_MEMORY",
      "pthread_rwlock_unlock=dies+panic"}},

    {"shrink",
     0,
     [](World &w) { w.block = w.db.reserve(0, 5, 5); },
     [](World &w) { return tty_db_block_resize(w.db, w.block, 6, 4, 1); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, WRITELOCKED_CHECK, "calloc=fine",
      WRITELOCKED_CHECK, "pthread_rwlock_unlock=dies+panic"}},

    {"details",
     0,
     [](World &w) { w.block = w.db.reserve(0, 5, 5); },
     [](World &w) {
       tty_db_block_details_type details;
       const uint32_t rc = tty_db_block_details_from_handle(w.db, w.block, &details);
       EXPECT_EQ(details.block_h, rc == 0 ? w.block : nullptr);
       return rc;
     },
     nothing,
     {"pthread_rwlock_rdlock=LOCK_FAILED+message", "pthread_rwlock_unlock=dies+panic"}},

    {"register in a new block",
     kLock | kAuto,
     nothing,
     [](World &w) {
       const uint32_t rc = tty_db_tty_register(w.db, 0, 7, sizeof(Entry), &w.tty);
       EXPECT_EQ(w.tty == nullptr, rc != 0);
       return rc;
     },
     [](World &w) { tty_db_tty_unlock(w.db, w.tty); },
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, WRITELOCKED_CHECK,
      "calloc=NO_MEMORY", "calloc=NO_MEMORY", "calloc=NO_MEMORY",
      "pthread_mutexattr_init=LOCK_INIT+message", "pthread_mutexattr_settype=LOCK_INIT+message",
      "pthread_mutex_init=LOCK_INIT+message", "pthread_mutexattr_destroy=fine",
      "pthread_mutex_trylock=LOCK_FAILED+message", "pthread_rwlock_unlock=dies+panic"}},

    {"deregister the last line, with an item",
     kLock | kAuto,
     [](World &w) {
       w.tty = w.db.add(0, 7, true);
       tty_db_item_create(w.tty, 1, 1, &w.item);
       tty_db_tty_unlock(w.db, w.tty);
     },
     [](World &w) { return tty_db_tty_deregister(w.db, 0, 7); },
     nothing,
     {"pthread_rwlock_trywrlock=LOCK_FAILED", WRITELOCKED_CHECK, TAKE_ENTRY_AND_GIVE_BACK,
      "pthread_mutex_trylock=asserts", "pthread_mutex_unlock=asserts", "pthread_mutex_destroy=fine",
      WRITELOCKED_CHECK, WRITELOCKED_CHECK, "pthread_rwlock_unlock=dies+panic"}},

    {"retrieve",
     kLock | kAuto,
     [](World &w) { w.db.add(0, 7); },
     [](World &w) { return tty_db_tty_retrieve(w.db, 0, 7, &w.tty); },
     [](World &w) { tty_db_tty_unlock(w.db, w.tty); },
     {"pthread_rwlock_rdlock=LOCK_FAILED+message", "pthread_mutex_trylock=LOCK_FAILED+message",
      "pthread_rwlock_unlock=dies+panic"}},

    {"unlock",
     kLock | kAuto,
     [](World &w) { w.tty = w.db.add(0, 7, true); },
     [](World &w) { return tty_db_tty_unlock(w.db, w.tty); },
     nothing,
     {"pthread_mutex_trylock=asserts", "pthread_mutex_unlock=dies+panic"}},

    {"create an item",
     kAuto,
     [](World &w) { w.tty = w.db.add(0, 7); },
     [](World &w) {
       const uint32_t rc = tty_db_item_create(w.tty, 1, 10, &w.item);
       EXPECT_EQ(w.tty->item_list_head == nullptr, rc != 0);
       return rc;
     },
     nothing,
     {"calloc=NO_MEMORY"}},

    {"advance an iterator",
     kAuto,
     [](World &w) {
       w.db.add(0, 7);
       tty_db_iterate_start(w.db, 0, 0, 5, 0, &w.iterator);
     },
     [](World &w) {
       const uint32_t rc = tty_db_iterate_next(w.iterator, &w.category, &w.id);
       EXPECT_EQ(std::make_pair(w.category, w.id),
                 rc == 0 ? std::make_pair(0u, 7u) : std::make_pair(5u, 0u));
       return rc;
     },
     [](World &w) { tty_db_iterate_end(w.iterator); },
     {"pthread_rwlock_rdlock=LOCK_FAILED+message", "pthread_rwlock_unlock=dies+panic"}},
};

// Runs an operation with its nth call failing, and writes the outcome to standard error.
void run_with_failure(const Operation &operation, int nth) {
  World world(operation.options);
  operation.prepare(world);
  host::assertions_return(true);
  host::clear();
  const auto lines = world.db.lines();
  const auto counts = world.db.counts();
  const size_t allocations = host::live_allocations();
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
    EXPECT_EQ(world.db.lines(), lines);
    EXPECT_EQ(world.db.counts(), counts);
    EXPECT_EQ(host::live_allocations(), allocations);
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

// As run_with_failure, in a process of its own.  Returns "call=outcome", or "" where there is no
// nth call.
std::string outcome_of(const Operation &operation, int nth) {
  int ends[2];
  EXPECT_EQ(pipe(ends), 0);
  fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    dup2(ends[1], STDERR_FILENO);
    host::announce_failures();
    run_with_failure(operation, nth);
    fflush(stdout);
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  close(ends[1]);
  std::string said;
  char buffer[256];
  for (ssize_t got = 0; (got = read(ends[0], buffer, sizeof(buffer))) > 0;) {
    said.append(buffer, static_cast<size_t>(got));
  }
  close(ends[0]);
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  std::string outcome = word_after(said, "outcome ");
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) {
    outcome = said.find("message PANIC") != std::string::npos ? "dies+panic" : "dies";
  } else {
    EXPECT_EQ(status, 0) << operation.name << ", call " << nth << ": " << said;
  }
  const std::string failed = word_after(said, "failing ");
  return failed.empty() ? "" : failed + "=" + outcome;
}

TEST(Faults, OfEveryCall) {
  for (const Operation &operation : kOperations) {
    SCOPED_TRACE(operation.name);
    std::vector<std::string> outcomes;
    for (std::string outcome;
         !(outcome = outcome_of(operation, static_cast<int>(outcomes.size()) + 1)).empty();) {
      outcomes.push_back(outcome);
    }
    EXPECT_EQ(outcomes, operation.outcomes);
  }
}

}  // namespace
