// The services of the stand-in, one by one.

#include <errno.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "tty_platform.h"
#include "tty_thread_block.h"

namespace {

// Sets a variable of the environment, or removes it for NULL.
void set_variable(const char *name, const char *value) {
  unsetenv(name);
  if (value != nullptr) setenv(name, value, 1);
}

// A client of the trace facility.
struct Client {
  Client(const char *setting, const char *file) {
    set_variable("TTY_TRACE", setting);
    set_variable("TTY_TRACE_FILE", file);
    tty_debug_initialize("db", 0, kNames, slot, 0, &context, &enabled);
  }
  Client(const Client &) = delete;
  ~Client() { tty_debug_cleanup("db", context, enabled); }

  static constexpr const char *kNames[] = {"global", "block", "tty", nullptr};
  uintptr_t slot[2] = {0, 0};
  tty_trace_context *context = nullptr;
  uintptr_t enabled = 0;
};

// What an action writes to standard error.
template <typename Action>
std::string stderr_of(Action action) {
  testing::internal::CaptureStderr();
  action();
  return testing::internal::GetCapturedStderr();
}

TEST(Trace, EnvironmentChoosesCategories) {
  const struct {
    const char *setting;
    const char *wanted;  // the last is the global switch
    const char *complaint;
  } cases[] = {
      {nullptr, "0000", ""},
      {"", "0000", ""},
      {"other", "0000", ""},
      {"dbx,d", "0000", ""},
      {"db", "1111", ""},
      {"db:block+tty", "0111", ""},
      {"other:global,db:tty", "0011", ""},
      {"other:x,db", "1111", ""},
      {"db:block,other", "0101", ""},
      {"db:block+none+tty", "0111", "TTY_TRACE: db has no category 'none'\n"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.setting != nullptr ? c.setting : "unset");
    EXPECT_EQ(stderr_of([&c] {
                const Client client(c.setting, nullptr);
                ASSERT_EQ(client.context->num_categories, 3u);
                std::string wanted;
                for (uint32_t i = 0; i < 3; ++i)
                  wanted += client.context->categories[i].enabled != 0 ? '1' : '0';
                EXPECT_EQ(wanted + (client.enabled != 0 ? '1' : '0'), c.wanted);
              }),
              c.complaint);
  }
}

TEST(Trace, LineTellsTimeThreadSourceAndText) {
  Client client("db", nullptr);
  tty_trace_category *category = &client.context->categories[1];
  const std::string line = stderr_of([category] {
    tty_trace(category, 5, 0, 0, 1, "routine", 12, "%s %s %d %lu %x %X %X 100%%", "text",
              static_cast<const char *>(nullptr), int64_t{-1}, uint64_t{1} << 63, uint64_t{0xab},
              uint64_t{0xab}, reinterpret_cast<void *>(uintptr_t{0x123456789abc}));
  });
  EXPECT_TRUE(std::regex_match(
      line, std::regex("[0-2]\\d:[0-5]\\d:[0-6]\\d\\.\\d{6} " + std::to_string(gettid()) +
                       " db/block routine:12 text <NULL> -1 9223372036854775808 ab AB "
                       "123456789ABC 100%\n")))
      << line;

  const std::string cut = stderr_of([category] {
    tty_trace(category, 5, 0, 0, 0, "routine", 12, "%s", std::string(5000, 'x').c_str());
  });
  EXPECT_LT(cut.size(), 5000u);
  EXPECT_EQ(cut.substr(cut.size() - 2), "x\n");
}

TEST(Trace, LineThatCannotBeWrittenLeavesNoError) {
  Client client("db", "/dev/full");
  errno = EBUSY;
  tty_trace(&client.context->categories[0], 5, 0, 0, 0, "routine", 1, "lost");
  EXPECT_EQ(errno, EBUSY);
}

// Line for line, whatever was there and however many threads write.
TEST(Trace, FileIsAppendedTo) {
  std::string path = testing::TempDir() + "traceXXXXXX";
  close(mkstemp(path.data()));
  for (const char first : {'a', 'c'}) {
    Client client("db", path.c_str());
    const auto write_lines = [&client](char letter) {
      const std::string text(500, letter);
      for (int n = 0; n < 300; ++n)
        tty_trace(&client.context->categories[2], 5, 0, 0, 0, "routine", 1, "<%s", text.c_str());
    };
    std::thread one(write_lines, first);
    std::thread other(write_lines, first + 1);
    one.join();
    other.join();
  }
  std::ifstream file(path);
  unlink(path.c_str());
  size_t count = 0;
  for (std::string line; std::getline(file, line); ++count) {
    const std::string text = line.substr(line.find('<') + 1);
    ASSERT_EQ(text, std::string(500, text[0]));
  }
  EXPECT_EQ(count, 1200u);
}

TEST(Assertion, EndsTheProcessUnlessToldToReport) {
  const char *const report = "Assertion failed in routine, line 7: a != b\n";
  for (const char *mode : {static_cast<const char *>(nullptr), "other"}) {
    set_variable("TTY_ASSERT", mode);
    EXPECT_EXIT(tty_ltrace_assert("routine", 7, "a != b"), testing::KilledBySignal(SIGABRT),
                report);
  }
  set_variable("TTY_ASSERT", "report");
  EXPECT_EQ(stderr_of([] { tty_ltrace_assert("routine", 7, "a != b"); }), report);
}

TEST(ErrorTexts, AreInForceOnceRegistered) {
  constexpr uint32_t kComponent = 0xc2580000u;
  EXPECT_NE(qerr_register_dll(1201, "path"), 0);
  EXPECT_EQ(qerr_strerror(kComponent | 1 << 9), nullptr);
  ASSERT_EQ(qerr_register_dll(1200, "path"), 0);
  std::set<std::string> texts;
  for (uint32_t number = 1; number <= 13; ++number) {
    const char *text = qerr_strerror(kComponent | number << 9);
    ASSERT_NE(text, nullptr) << number;
    texts.insert(text);
  }
  EXPECT_EQ(texts.size(), 13u);
  for (const uint32_t code : {0u, kComponent, kComponent | 14 << 9, kComponent + (1 << 15) + 512})
    EXPECT_EQ(qerr_strerror(code), nullptr) << code;
}

TEST(Messages, AreCopiedToStandardError) {
  tty_db_msg_rec_type record = {};
  record.format = "%s failed (%d)";
  record.facility = "FACILITY";
  record.mnemonic = "MNEMONIC";
  EXPECT_EQ(stderr_of([&record] { EXPECT_EQ(kel_errmsg(&record, 3, "It", 16), 0); }),
            "FACILITY MNEMONIC: It failed (16)\n");
}

TEST(ThreadBlocks, ListTheWaitingThreads) {
  pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  ptd_unset_mutex_block();  // nothing announced: nothing happens
  ptd_set_mutex_block(&mutex, "outer", 1);
  ptd_mutex_block blocks[2] = {};
  std::thread([&] {
    ptd_set_mutex_block(&mutex, "inner", 2);
    EXPECT_EQ(ptd_list_mutex_blocks(blocks, 1), 2u);
    EXPECT_EQ(blocks[1].mutex, nullptr) << "no more than there is room for";
    EXPECT_EQ(ptd_list_mutex_blocks(blocks, 2), 2u);
    EXPECT_EQ(blocks[0].thread_id, gettid());
    ptd_unset_mutex_block();
  }).join();
  EXPECT_STREQ(blocks[0].routine, "inner");
  EXPECT_EQ(std::make_tuple(blocks[1].mutex, blocks[1].line, blocks[1].thread_id),
            std::make_tuple(&mutex, 1, gettid()));
  EXPECT_EQ(ptd_list_mutex_blocks(nullptr, 0), 1u);
  ptd_unset_mutex_block();
  EXPECT_EQ(ptd_mutex_block_list, nullptr);
}

}  // namespace
