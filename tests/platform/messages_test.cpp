// The system-message logger of the stand-in.

#include <syslog.h>

#include <thread>
#include <vector>

#include "child.h"
#include "tty_platform.h"

namespace {

constexpr int kCritical = 2;
constexpr int kError = 3;

// A kind of message: the messages of a kind share a limit.
class Kind {
 public:
  explicit Kind(const char *mnemonic, bool limited = true)
      : record_{
            nullptr, "%s (%d)", limited ? &limit_ : nullptr, "HOST", "", mnemonic, 1, kError, {},
            0,       0} {}

  void raise(int severity, const char *text, int times = 1) {
    for (int i = 0; i < times; ++i) kel_errmsg(&record_, severity, text, 16);
  }

 private:
  tty_db_msg_limit_type limit_ = {{1}};
  tty_db_msg_rec_type record_;
};

size_t occurrences(const std::string &part, const std::string &text) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(Messages, GoToStandardErrorAndToTheSystemLogByTheirSeverity) {
  const auto log_one_priority = [](int priority) {
    return printed_by({}, [priority] {
      openlog("syslog", LOG_PERROR, LOG_USER);  // shows what goes to the log
      setlogmask(LOG_MASK(priority));
      Kind kind("KIND");
      kind.raise(kCritical, "critical");
      kind.raise(kError, "error");
    });
  };
  EXPECT_EQ(log_one_priority(LOG_CRIT),
            "syslog: HOST KIND: critical (16)\n"
            "HOST KIND: critical (16)\n"
            "HOST KIND: error (16)\n");
  EXPECT_EQ(log_one_priority(LOG_ERR),
            "HOST KIND: critical (16)\n"
            "syslog: HOST KIND: error (16)\n"
            "HOST KIND: error (16)\n");
}

TEST(Messages, AreRaisedTenTimesAndThenCounted) {
  const std::string printed = printed_by({}, [] {
    Kind kind("KIND");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([&] { kind.raise(kError, "flood", 25); });
    for (std::thread &thread : threads) thread.join();
    Kind("OTHER").raise(kError, "a limit of its own");
    Kind("FREE", false).raise(kError, "no limit", 11);
  });
  EXPECT_EQ(occurrences("HOST KIND: flood (16)\n", printed), 10u);
  EXPECT_EQ(occurrences("HOST OTHER: a limit of its own (16)\n", printed), 1u);
  EXPECT_EQ(occurrences("HOST FREE: no limit (16)\n", printed), 11u);
  EXPECT_EQ(occurrences("System messages: 90 more were left out\n", printed), 1u);
}

TEST(Messages, AreRaisedAgainAfterTenSeconds) {
  const std::string printed = printed_by({}, [] {
    Kind kind("KIND");
    kind.raise(kError, "flood", 15);
    sleep(11);
    fputs("ten seconds later\n", stderr);
    kind.raise(kError, "flood", 11);
  });
  EXPECT_EQ(occurrences("HOST KIND: flood (16)\n", printed), 20u);
  EXPECT_EQ(occurrences("ten seconds later\n"
                        "HOST KIND: 5 more were left out\n"
                        "HOST KIND: flood (16)\n",
                        printed),
            1u);
  EXPECT_EQ(occurrences("System messages: 1 more were left out\n", printed), 1u);
}

// The message before a critical one may be the reason.
TEST(Messages, ThatAreCriticalComeAfterTheLatestThatWasLeftOut) {
  const std::string printed = printed_by({}, [] {
    Kind kind("KIND");
    kind.raise(kError, "flood", 15);
    kind.raise(kError, "reason");
    kind.raise(kCritical, "end");
    kind.raise(kCritical, "end again");
  });
  EXPECT_EQ(printed.substr(printed.find("System")),
            "System messages: 5 more were left out\n"
            "HOST KIND: reason (16)\n"
            "HOST KIND: end (16)\n"
            "HOST KIND: end again (16)\n");
}

}  // namespace
