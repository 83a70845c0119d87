// The trace facility of the stand-in.

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <memory>
#include <thread>
#include <vector>

#include "child.h"
#include "client.h"

namespace {

std::string traced(const std::string &text) { return "client/block routine:12 " + text + "\n"; }
const std::string kLine = traced("text");

Variables trace_to(const std::string &path) {
  return {{"TTY_TRACE", "client"}, {"TTY_TRACE_FILE", path}};
}

void trace_a_line() { Client().trace("text"); }

void print_categories() {
  const Client client;
  if (client.enabled == 0) puts("tracing is off");
  for (uint32_t i = 0; i < 3; ++i) {
    const tty_trace_category &category = client.context->categories[i];
    if (category.enabled != 0) puts(category.name);
  }
}

TEST(Tracing, IsTurnedOnByClientAndCategory) {
  const std::map<std::string, std::string> cases = {
      {"client", "global\nblock\ntty\n"},
      {"client:block", "block\n"},
      {"client:block+tty", "block\ntty\n"},
      {"client:tty,other,client:global", "global\ntty\n"},
      {"client:tty,client", "global\nblock\ntty\n"},
      {"other:tty,client:block", "block\n"},
      {"client:", "tracing is off\n"},
      {"clients,clien", "tracing is off\n"},
      {"client:no+tty+no", "TTY_TRACE: client has no category 'no'\ntty\n"},
  };
  for (const auto &[variable, printed] : cases) {
    EXPECT_EQ(printed_by({{"TTY_TRACE", variable}}, print_categories), printed) << variable;
  }
}

TEST(Tracing, WritesWhereALineComesFromAndItsArguments) {
  const std::string printed = printed_by({{"TTY_TRACE", "client"}}, [] {
    const Client client;
    tty_trace(client.context->categories, 5, 0, 0, 1, "routine", 12, "%s %d %lu %x %X 100%% %",
              static_cast<const char *>(nullptr), int64_t{-1}, uint64_t{1} << 63, uint64_t{0xab},
              uint64_t{0x123456789abc});
  });
  EXPECT_EQ(without_times(printed),
            "client/global routine:12 <NULL> -1 9223372036854775808 ab 123456789ABC 100% \n");
}

using TraceFile = InADirectory;

TEST_F(TraceFile, IsForItsOwnerAndAppendedTo) {
  printed_by(trace_to("trace"), trace_a_line);
  printed_by(trace_to("trace"), trace_a_line);
  EXPECT_EQ(without_times(contents("trace")), kLine + kLine);
  struct stat file;
  ASSERT_EQ(stat("trace", &file), 0);
  EXPECT_EQ(file.st_mode & 0777, 0600u);
}

TEST_F(TraceFile, TakesWholeLinesOfAllThreads) {
  const std::string text(500, 'x');
  printed_by(trace_to("trace"), [&text] {
    Client client;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([&] {
        for (int j = 0; j < 25; ++j) client.trace(text.c_str());
      });
    }
    for (std::thread &thread : threads) thread.join();
  });
  std::string expected;
  for (int i = 0; i < 100; ++i) expected += traced(text);
  EXPECT_EQ(without_times(contents("trace")), expected);
}

TEST_F(TraceFile, ThatCannotBeOpenedIsReportedAndStandardErrorTakesTheLines) {
  EXPECT_EQ(without_times(printed_by(trace_to("no/file"), trace_a_line)),
            "TTY_TRACE_FILE: no/file: No such file or directory\n" + kLine);
}

int lowest_free_descriptor() {
  const int fd = dup(STDERR_FILENO);
  close(fd);
  return fd;
}

TEST_F(TraceFile, GetsNoStandardDescriptorAndIsClosedOnExec) {
  const std::string printed = printed_by(trace_to("trace"), [] {
    const int trace_file = lowest_free_descriptor();
    close(STDIN_FILENO);
    const Client client;
    puts(lowest_free_descriptor() == STDIN_FILENO ? "standard input is free" : "it is taken");
    puts(fcntl(trace_file, F_GETFD) == FD_CLOEXEC ? "closed on exec" : "kept on exec");
  });
  EXPECT_EQ(printed, "standard input is free\nclosed on exec\n");
}

// Daemons close what is open, and then open files of their own.
TEST_F(TraceFile, IsOpenedAnewIfTheProgramClosesItsDescriptor) {
  printed_by(trace_to("trace"), [] {
    auto client = std::make_unique<Client>();
    client->trace("text");
    closefrom(STDERR_FILENO + 1);
    const int own_file = open("own", O_WRONLY | O_CREAT, 0600);
    client->trace("text");
    client.reset();
    write(own_file, "still open", 10);
  });
  EXPECT_EQ(without_times(contents("trace")), kLine + kLine);
  EXPECT_EQ(contents("own"), "still open");
}

bool is_pending(int number) {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, number) == 1;
}

// Writing to a pipe without a reader raises SIGPIPE.
TEST_F(TraceFile, RaisesNoSignalIfItsReaderEnds) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const std::string printed = printed_by(trace_to("pipe"), [] {
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    Client client;
    close(reader);
    client.trace("text");
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    client.trace("text");
    puts(is_pending(SIGPIPE) ? "a signal is left" : "no signal");
    raise(SIGPIPE);
    client.trace("text");
    puts(is_pending(SIGPIPE) ? "the program's signal is left" : "no signal");
  });
  EXPECT_EQ(printed, "no signal\nthe program's signal is left\n");
}

// Reads what is in a pipe now.
std::string read_now(int fd) {
  std::string text(1 << 20, '\0');
  text.resize(static_cast<size_t>(read(fd, text.data(), text.size())));
  return without_times(text);
}

// If the pipe is full, tracing waits once, for some seconds.  Later lines are dropped, and the next
// line that is written is followed by their number.
TEST_F(TraceFile, DropsAndCountsLinesIfItsReaderStops) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const std::string printed = printed_by(trace_to("pipe"), [] {
    const int reader = open("pipe", O_RDONLY | O_NONBLOCK);
    Client client;
    for (int i = 0; i < 3000; ++i) client.trace("text");
    const size_t written = read_now(reader).size() / kLine.size();
    client.trace("text");
    const std::string lost = std::to_string(3000 - written);
    puts(written > 100 ? "many" : "few");
    puts(read_now(reader) == kLine + lost + " trace lines have been lost up to here\n"
             ? "counted"
             : "miscounted");
  });
  EXPECT_EQ(printed, "many\ncounted\n");
}

}  // namespace
