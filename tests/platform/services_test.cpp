// The other services of the stand-in, and what all services promise.

#include <errno.h>
#include <pthread.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>
#include <vector>

#include "child.h"
#include "client.h"
#include "tty_db.h"
#include "tty_thread_block.h"

namespace {

TEST(AssertionsDeathTest, AbortUnlessTheyAreOnlyReported) {
  const std::string report = "Assertion failed in routine, line 7: a == b\n";
  const auto fail = [] {
    tty_ltrace_assert("routine", 7, "a == b");
    puts("went on");
  };
  EXPECT_DEATH(fail(), report);
  EXPECT_EQ(printed_by({{"TTY_ASSERT", "report"}}, fail), report + "went on\n");
}

TEST(Texts, AreThoseOfRegisteredComponents) {
  const std::string printed = printed_by({}, [] {
    puts(qerr_strerror(TTY_DB_ERR_NO_ITEM) == nullptr ? "no text" : "text");
    puts(qerr_register_dll(1201, "") == ENOENT ? "unknown component" : "registered");
    puts(qerr_register_dll(1200, "") == 0 ? "registered" : "refused");
    puts(qerr_strerror(TTY_DB_ERR_NO_ITEM));
    puts(qerr_strerror(TTY_DB_ERR_NO_ITEM + 1) == nullptr ? "no text" : "text");
  });
  EXPECT_EQ(printed, "no text\nunknown component\nregistered\nNo such item\nno text\n");
}

void announce(const char *routine) { ptd_set_mutex_block(nullptr, routine, 1); }

// The routines in which threads wait, latest first.
std::string waiting() {
  ptd_mutex_block blocks[4] = {};
  const size_t count = ptd_list_mutex_blocks(blocks, 4);
  std::string routines;
  for (size_t i = 0; i < count; ++i) routines += std::string(" ") + blocks[i].routine;
  return routines;
}

TEST(WaitingThreads, AreListedUntilTheirWaitOrTheThreadIsOver) {
  announce("first");
  EXPECT_EQ(printed_by({}, [] { puts(waiting().c_str()); }), "\n") << "a child does not wait";
  std::atomic<bool> announced{false};
  std::atomic<bool> may_end{false};
  std::thread second([&] {
    announce("second");
    announced = true;
    while (!may_end) std::this_thread::yield();
  });
  while (!announced) std::this_thread::yield();
  EXPECT_EQ(waiting(), " second first");
  ptd_unset_mutex_block();
  EXPECT_EQ(waiting(), " second");
  may_end = true;
  second.join();
  EXPECT_EQ(waiting(), "");
}

const Variables kTraceToNowhere = {{"TTY_TRACE", "client"}, {"TTY_TRACE_FILE", "/dev/null"}};
tty_db_msg_limit_type limit = {{1}};
const tty_db_msg_rec_type kMessage = {nullptr, "text", &limit, "HOST", "", "KIND", 1, 3, {}, 0, 0};

void use_services(Client *client) {
  announce("use_services");
  client->trace("text");
  kel_errmsg(&kMessage, 3);
  ptd_unset_mutex_block();
}

TEST(Services, LeaveErrnoAndTheCancellationTypeAlone) {
  const std::string printed =
      printed_by({{"TTY_TRACE", "client"}, {"TTY_TRACE_FILE", "no/file"}}, [] {
        int type = 0;
        pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
        errno = EBUSY;
        {
          Client client;
          use_services(&client);
          qerr_register_dll(1201, "");
        }
        const int error = errno;
        pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &type);
        puts(error == EBUSY ? "errno kept" : "errno changed");
        puts(type == PTHREAD_CANCEL_ASYNCHRONOUS ? "cancellation kept" : "cancellation changed");
      });
  EXPECT_EQ(printed.substr(printed.find("errno")), "errno kept\ncancellation kept\n");
}

TEST(Services, WorkInAChildWhileTheParentsThreadsUseThem) {
  const std::string printed = printed_by(kTraceToNowhere, [] {
    Client client;
    std::atomic<bool> done{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
      threads.emplace_back([&] {
        while (!done) use_services(&client);
      });
    }
    int failures = 0;
    for (int i = 0; i < 100; ++i) {
      if (fork() == 0) {
        alarm(30);
        use_services(&client);
        _exit(waiting().empty() ? 0 : 1);
      }
      int status = 0;
      wait(&status);
      if (status != 0) ++failures;
    }
    done = true;
    for (std::thread &thread : threads) thread.join();
    fputs(failures == 0 ? "\nall work\n" : "\nsome fail\n", stderr);
  });
  EXPECT_NE(printed.find("\nall work\n"), std::string::npos) << printed;
}

void *use_until_cancelled(void *client) {
#if !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
  // The sanitizers' own calls must not be cancelled.
  pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, nullptr);
#endif
  while (true) {
    use_services(static_cast<Client *>(client));
    pthread_testcancel();
  }
}

TEST(Services, AreNotCutShortByACancellation) {
  const std::string printed = printed_by(kTraceToNowhere, [] {
    Client client;
    for (useconds_t round = 0; round < 200; ++round) {
      pthread_t thread;
      pthread_create(&thread, nullptr, use_until_cancelled, &client);
      usleep(100 + round);
      pthread_cancel(thread);
      pthread_join(thread, nullptr);
    }
    use_services(&client);
    fputs(waiting().empty() ? "\nnobody waits\n" : "\nsome wait\n", stderr);
  });
  EXPECT_NE(printed.find("\nnobody waits\n"), std::string::npos) << printed;
}

#ifdef TRACED

// A program that starts without standard error gives that descriptor to the first file it opens.
TEST(WithoutStandardError, NoLineGoesToTheFileThatGetsItsDescriptor) {
  const std::string printed = printed_by({{"TTY_TRACE", "client"}}, [] {
    close(STDERR_FILENO);
    execl(TRACED, "traced", nullptr);
  });
  EXPECT_EQ(printed, "file 2 has 0 bytes\n");
}

using SecureExecution = InADirectory;

// A program that runs with a group other than that of whoever starts it.
TEST_F(SecureExecution, IgnoresTheVariablesOfTheStandIn) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may give a program to another group";
  constexpr gid_t kOtherGroup = 65534;
  std::filesystem::copy(TRACED, "traced");
  ASSERT_EQ(chown("traced", 0, kOtherGroup), 0);
  ASSERT_EQ(chmod("traced", 02755), 0);
  const std::string printed =
      printed_by({{"TTY_TRACE", "client"}}, [] { execl("./traced", "traced", nullptr); });
  EXPECT_EQ(printed, "tracing is off\n");
}

#endif

}  // namespace
