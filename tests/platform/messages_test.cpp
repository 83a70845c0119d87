// The system-message logger of the stand-in.

#include <syslog.h>

#include <thread>
#include <vector>

#include "child.h"
#include "tty_platform.h"

namespace {

constexpr int kCritical = 2;
constexpr int kError = 3;

tty_db_msg_limit_type limit = {{1}};
tty_db_msg_limit_type other_limit = {{1}};

void send(int severity, const char *text, int times = 1, tty_db_msg_limit_type *kind = &limit) {
  const tty_db_msg_rec_type record = {nullptr, "%s (%d)", kind, "HOST", "", "KIND", 1, 3, {}, 0, 0};
  for (int i = 0; i < times; ++i) kel_errmsg(&record, severity, text, 16);
}

std::string repeated(const std::string &line, int times) {
  return times == 0 ? "" : line + repeated(line, times - 1);
}
const std::string kTenFloods = repeated("HOST KIND: flood (16)\n", 10);

TEST(Messages, GoToStandardErrorAndToTheSystemLogByTheirSeverity) {
  const auto log_one_priority = [](int priority) {
    return printed_by({}, [priority] {
      openlog("syslog", LOG_PERROR, LOG_USER);  // prints what goes to the log
      setlogmask(LOG_MASK(priority));
      send(kCritical, "critical");
      send(kError, "error");
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

TEST(Messages, OfAKindAreRaisedTenTimesAndThenCounted) {
  const std::string printed = printed_by({}, [] {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([] { send(kError, "flood", 25); });
    for (std::thread &thread : threads) thread.join();
    send(kError, "another kind", 1, &other_limit);
    send(kError, "no limit", 11, nullptr);
  });
  EXPECT_EQ(printed, kTenFloods + "HOST KIND: another kind (16)\n" +
                         repeated("HOST KIND: no limit (16)\n", 11) +
                         "System messages: 90 more were left out\n");
}

TEST(Messages, AreRaisedAgainAfterTenSeconds) {
  const std::string printed = printed_by({}, [] {
    send(kError, "flood", 15);
    sleep(11);
    send(kError, "flood", 11);
  });
  EXPECT_EQ(printed, kTenFloods + "HOST KIND: 5 more were left out\n" + kTenFloods +
                         "System messages: 1 more were left out\n");
}

// The message before a critical one may be the reason.
TEST(Messages, ThatAreCriticalBringTheLastOneLeftOut) {
  const std::string printed = printed_by({}, [] {
    send(kError, "flood", 15);
    send(kError, "reason");
    send(kCritical, "end");
  });
  EXPECT_EQ(printed, kTenFloods +
                         "System messages: 5 more were left out\n"
                         "HOST KIND: reason (16)\n"
                         "HOST KIND: end (16)\n");
}

}  // namespace
