// Tests of tty-lines: the built program, against machines made of files.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>

namespace {

namespace fs = std::filesystem;

// The program, started by a shell that tells the process id first and then becomes it.
class Program {
 public:
  explicit Program(const std::string& args)
      : pipe_(popen(("echo $$; exec '" TTY_LINES_PATH "' " + args).c_str(), "re")) {
    await("\n");
  }
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program() {
    if (pipe_ != nullptr) finish(SIGKILL);
  }

  // Reads output until it holds a text, and keeps what comes behind; false if it does not come.
  bool await(const std::string& text) {
    pollfd more = {fileno(pipe_), POLLIN, 0};
    for (;;) {
      const std::size_t found = seen_.find(text);
      if (found != std::string::npos) {
        if (pid_ == 0) pid_ = std::stoi(seen_);
        seen_.erase(0, found + text.size());
        return true;
      }
      if (poll(&more, 1, 20000) != 1 || !read_some()) return false;
    }
  }

  std::string rest() {
    while (read_some()) continue;
    return seen_;
  }

  // Sends a signal, if any, closes the output and returns the exit status, or -1 after a signal.
  int finish(int signal_number = 0) {
    if (signal_number != 0) {
      kill(pid_, signal_number);
      rest();  // a closed output would end the program too
    }
    const int status = pclose(std::exchange(pipe_, nullptr));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  bool read_some() {
    char buffer[4096];
    const ssize_t size = read(fileno(pipe_), buffer, sizeof buffer);
    if (size > 0) seen_.append(buffer, static_cast<std::size_t>(size));
    return size > 0;
  }

  FILE* pipe_;
  pid_t pid_ = 0;
  std::string seen_;
};

struct Result {
  int status;
  std::string out;
  std::string err;
};

class TtyLines : public testing::Test {
 protected:
  TtyLines() {
    std::string name = testing::TempDir() + "tty-lines-XXXXXX";
    root_ = mkdtemp(name.data());
    for (const char* path : {"class/tty", "tty", "pts"}) fs::create_directories(root_ / path);
    std::ofstream(root_ / "tty/drivers") << R"(/dev/tty    /dev/tty     5 0      system:/dev/tty
serial      /dev/ttyS    4 64-95  serial
uart "x"    /dev/ttyX    204 0-9  serial
usb         /dev/ttyUSB  188 0-9  serial
)";
  }
  ~TtyLines() override { fs::remove_all(root_); }

  // Adds lines to the kernel's list, given as names and devices; each comes all at once.
  void add(const std::string& lines) const {
    std::istringstream words(lines);
    for (std::string name, device; words >> name >> device;) {
      fs::create_directory(root_ / "new");
      std::ofstream(root_ / "new/dev") << device << '\n';
      fs::rename(root_ / "new", root_ / "class/tty" / name);
    }
  }
  void remove(const std::string& name) const {
    fs::rename(root_ / "class/tty" / name, root_ / "old");
    fs::remove_all(root_ / "old");
  }

  std::string roots() const {
    return " --sysfs " + root_.string() + " --proc " + root_.string() + " --dev " + root_.string();
  }
  Result run(const std::string& args) const {
    Program program(roots() + ' ' + args + " 2>" + (root_ / "err").string());
    const std::string out = program.rest();
    const int status = program.finish();
    std::ifstream err(root_ / "err");
    return {status, out, {std::istreambuf_iterator<char>(err), {}}};
  }

  fs::path root_;
};

TEST_F(TtyLines, ListsEachLineOnceOrReportsIt) {
  add("tty 5:0 tty12 4:12 ttyS0 4:64 ttyX0 204:0 ttyX3 204:3 ttyZ1 9:1 console 5:1 odd x "
      "ttyUSB10000 188:1 ttyUSB10001 188:2 hvc2 229:2");
  fs::create_directory(root_ / "class/tty/vanished");
  for (const char* name : {"pts/7", "pts/ptmx"}) std::ofstream(root_ / name) << "";
  const Result table = run("");
  EXPECT_EQ(table.status, 0);
  EXPECT_EQ(
      table.out,
      "CATEGORY     ID  NAME         DEVICE  DRIVER    SIZE  SPEED  FOREGROUND\n"
      "       0     12  tty12        4:12    -            -      -           -\n"
      "       1      0  ttyS0        4:64    serial       -      -           -\n"
      "       1      3  ttyX3        204:3   uart \"x\"     -      -           -\n"
      "       2  10000  ttyUSB10000  188:1   usb          -      -           -\n"
      "       3      7  pts/7        0:0     -            -      -           -\n"
      "       4      2  hvc2         229:2   -            -      -           -\n"
      "       5      0  console      5:1     -            -      -           -\n"
      "       5      1  tty          5:0     /dev/tty     -      -           -\n"
      "       5      2  ttyZ1        9:1     -            -      -           -\n"
      "9 lines, 6 blocks; by category 0: 1, 1: 2, 2: 1, 3: 1, 4: 1, 5: 3; 3 not registrable\n");
  EXPECT_EQ(table.err,
            "tty-lines: odd: not registrable: its device numbers cannot be read\n"
            "tty-lines: ttyUSB10001: not registrable: its number is above 10000\n"
            "tty-lines: ttyX0: not registrable: category 1, id 0 is taken by ttyS0\n");
  EXPECT_EQ(run("--json --category 1").out,
            R"({
  "lines": [
    {"category": 1, "id": 0, "name": "ttyS0", "device": "4:64", "driver": "serial", "size": null, "speed": null, "foreground": null},
    {"category": 1, "id": 3, "name": "ttyX3", "device": "204:3", "driver": "uart \"x\"", "size": null, "speed": null, "foreground": null}],
  "totals": {"lines": 9, "blocks": 6, "by_category": [1, 2, 1, 1, 1, 3], "not_registrable": 3}
}
)");
}

TEST_F(TtyLines, TellsTheStateOfAPseudoTerminal) {
  const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (master < 0) GTEST_SKIP() << "no pseudo-terminals here";
  const winsize size = {50, 132, 0, 0};
  ASSERT_TRUE(grantpt(master) == 0 && unlockpt(master) == 0);
  ASSERT_EQ(ioctl(master, TIOCSWINSZ, &size), 0);
  fs::create_symlink(ptsname(master), root_ / "pts/4");
  const Result listed = run("--json");
  close(master);
  EXPECT_NE(listed.out.find(R"("name": "pts/4", "device": "136:)"), std::string::npos);
  EXPECT_NE(listed.out.find(R"("size": {"columns": 132, "rows": 50}, "speed": 38400)"),
            std::string::npos);
}

TEST_F(TtyLines, DisplacesADriverWhoseRangeOverlaps) {
  add("ttyS0 4:64 ttyX1 204:1 ttyS4 4:68 console 5:1");
  const Result listed = run("--by-driver --json");
  EXPECT_EQ(
      listed.err,
      "tty-lines: driver 'uart \"x\"' (/dev/ttyX): range in category 1 overlaps another's; its "
      "lines are in category 5\n");
  EXPECT_NE(listed.out.find(R"(
    {"category": 1, "first": 0, "size": 5, "registered": 2, "tag": "serial"},
    {"category": 5, "first": 0, "size": 1, "registered": 1, "tag": null},
    {"category": 5, "first": 1, "size": 1, "registered": 1, "tag": "uart \"x\""}],)"),
            std::string::npos)
      << listed.out;
}

TEST_F(TtyLines, FollowsTheMachineUntilASignal) {
  add("ttyS2 4:66 console 5:1");
  for (const int signal_number : {SIGINT, SIGTERM}) {
    Program program(roots() + " --by-driver --watch 0.01 2>/dev/null");
    ASSERT_TRUE(program.await(" 1      2     1           1  serial\n"));
    add("ttyS5 4:69");
    ASSERT_TRUE(program.await("+ 1 5 ttyS5 4:69 serial\n"));
    ASSERT_TRUE(program.await(" 1      2     4           2  serial\n"));
    add("ttyX3 204:3");
    ASSERT_TRUE(program.await("+ 5 1 ttyX3 204:3 uart \"x\"\n"));
    remove("ttyS5");
    ASSERT_TRUE(program.await("- 1 5 ttyS5 4:69 serial\n"));
    ASSERT_TRUE(program.await(" 1      2     1           1  serial\n"));
    remove("ttyX3");
    ASSERT_TRUE(program.await("- 5 1 ttyX3 204:3 uart \"x\"\n"));
    EXPECT_EQ(program.finish(signal_number), 0);
  }
}

TEST_F(TtyLines, EndsWithAStatusThatTellsWhy) {
  const std::string none = (root_ / "none").string();
  const std::tuple<std::string, int, std::string> cases[] = {
      {"--bogus", 2, "usage: "},
      {"word", 2, "usage: "},
      {"--category 6", 2, "usage: "},
      {"--category 1x", 2, "usage: "},
      {"--watch=0", 2, "usage: "},
      {"--watch nan", 2, "usage: "},
      {"--watch 1s", 2, "usage: "},
      {"--sysfs " + none, 1, none + "/class/tty: "},
      {"--proc " + none, 1, none + "/tty/drivers: "},
      {"--dev " + none, 1, none + "/pts: "},
      {">/dev/full", 1, "standard output: "},
      {"--version", 0, ""},
  };
  for (const auto& [args, status, message] : cases) {
    const Result result = run(args);
    EXPECT_EQ(result.status, status) << args;
    EXPECT_NE(result.err.find(message), std::string::npos) << args << ": " << result.err;
  }
  Program program(roots() + " --watch 60");
  EXPECT_TRUE(program.await("not registrable\n"));
  EXPECT_EQ(program.finish(), 0) << "a closed pipe ends the program, which sleeps";
}

}  // namespace
