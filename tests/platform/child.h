// A child process, in which a test calls the stand-in.

#ifndef TTY_DB_TESTS_PLATFORM_CHILD_H
#define TTY_DB_TESTS_PLATFORM_CHILD_H

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>

using Variables = std::map<std::string, std::string>;

// Runs `actions` in a child process that has these environment variables.  Returns what the child
// writes to standard output and standard error, and how it ends unless with exit status 0.
inline std::string printed_by(const Variables &variables, const std::function<void()> &actions) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0) return "no pipe";
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    dup2(pipe_ends[1], STDOUT_FILENO);
    dup2(pipe_ends[1], STDERR_FILENO);
    close(pipe_ends[0]);
    close(pipe_ends[1]);
    setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    for (const auto &[name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
    actions();
    exit(0);
  }
  close(pipe_ends[1]);
  std::string printed;
  char bytes[4096];
  ssize_t size = 0;
  do {
    printed.append(bytes, static_cast<size_t>(size));
    size = read(pipe_ends[0], bytes, sizeof(bytes));
  } while (size > 0);
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) printed += "wait status " + std::to_string(status);
  return printed;
}

// A test in an empty directory of its own.
class InADirectory : public testing::Test {
 protected:
  void SetUp() override {
    std::string directory = testing::TempDir() + "platform_XXXXXX";
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    std::filesystem::current_path(directory);
  }
  void TearDown() override {
    const auto directory = std::filesystem::current_path();
    std::filesystem::current_path("/");
    std::filesystem::remove_all(directory);
  }

  static std::string contents(const char *path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
  }
};

#endif  // TTY_DB_TESTS_PLATFORM_CHILD_H
