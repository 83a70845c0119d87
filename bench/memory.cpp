// Measures the resident memory of the subjects, each figure in a process of its own.  Prints JSON.

#include <fcntl.h>
#include <malloc.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

#include "subjects.h"

namespace {

// Returns the resident anonymous memory of this process, in bytes.
long resident() {
  static char text[4096];
  const int file = open("/proc/self/smaps_rollup", O_RDONLY);
  const ssize_t length = read(file, text, sizeof(text) - 1);
  close(file);
  const char *const line = length > 0 ? strstr(text, "\nAnonymous:") : nullptr;
  require(line != nullptr, "/proc/self/smaps_rollup");
  return strtol(strchr(line, ':') + 1, nullptr, 10) * 1024;
}

template <typename Subject>
std::unique_ptr<Subject> subject_with(const std::vector<Line> &lines) {
  auto subject = std::make_unique<Subject>();
  for (const Line line : lines) subject->add(line);
  return subject;
}

// Returns the bytes that each of `count` subjects adds to a process, after `rounds` replacements of
// a random one by a new one.
template <typename Subject>
double memory_of_each(size_t count, const std::vector<Line> &lines, int rounds = 0) {
  int result[2];
  require(pipe(result) == 0, "pipe");
  if (fork() == 0) {
    const auto other = subject_with<Subject>({{0, 0}});  // first-use costs
    std::vector<std::unique_ptr<Subject>> subjects(count);
    std::mt19937 random(20);
    malloc_trim(0);  // subjects must not reuse freed memory
    const long before = resident();
    for (auto &subject : subjects) subject = subject_with<Subject>(lines);
    for (int round = 0; round < rounds; ++round) {
      auto &subject = subjects[random() % count];
      subject.reset();
      subject = subject_with<Subject>(lines);
    }
    const double each = static_cast<double>(resident() - before) / static_cast<double>(count);
    _exit(write(result[1], &each, sizeof(each)) == sizeof(each) ? 0 : 1);
  }
  double each = 0;
  require(read(result[0], &each, sizeof(each)) == sizeof(each) && wait(nullptr) > 0, "child");
  close(result[0]);
  close(result[1]);
  return each;
}

std::vector<Line> every_tenth(const std::vector<Line> &lines) {
  std::vector<Line> kept;
  for (const Line line : lines) {
    if (line.id % TTY_DB_AUTO_BLOCK_SIZE == 0) kept.push_back(line);
  }
  return kept;
}

template <typename Subject>
void print(const char *name, const char *separator) {
  const std::vector<Line> five = {{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}};
  const auto of_a_line = [](const std::vector<Line> &lines) {
    return memory_of_each<Subject>(1, lines) / static_cast<double>(lines.size());
  };
  printf("  \"%s\": {\"empty\": %.0f, \"five_lines\": %.0f, \"five_lines_churned\": %.0f, ", name,
         memory_of_each<Subject>(200, {}), memory_of_each<Subject>(200, five),
         memory_of_each<Subject>(200, five, 2000));
  printf("\"dense_10k\": %.1f, \"dense_60k\": %.1f, \"sparse_1k\": %.1f}%s\n",
         of_a_line(first_lines(10000)), of_a_line(first_lines(60000)),
         of_a_line(every_tenth(first_lines(10000))), separator);
}

}  // namespace

int main() {
  setvbuf(stdout, nullptr, _IONBF, 0);  // or the children would print the buffer too
  printf("{\n");
  print<Library>("library", ",");
  print<StdMap>("std_map", ",");
  print<StdUnorderedMap>("std_unordered_map", ",");
  print<ConcurrentHashMap>("tbb_hash_map", "");
  printf("}\n");
  return 0;
}
