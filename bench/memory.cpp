// The memory that the subjects take.  The heap is what malloc hands out, with its own eight bytes a
// chunk.  Of the library the resident memory is measured too, in processes of their own: pages that
// nobody has touched take none.  Prints JSON.

#include <fcntl.h>
#include <malloc.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <new>

#include "subjects.h"

namespace {

size_t heap_in_use = 0;  // the program has one thread

constexpr size_t kChunkHeader = 8;

void *counted(void *memory) {
  if (memory != nullptr) heap_in_use += malloc_usable_size(memory) + kChunkHeader;
  return memory;
}

}  // namespace

// The allocator's calls, with the count around them.
extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *memory, size_t size);
void *__libc_memalign(size_t alignment, size_t size);
void __libc_free(void *memory);

void *malloc(size_t size) { return counted(__libc_malloc(size)); }
void *calloc(size_t count, size_t size) { return counted(__libc_calloc(count, size)); }
void free(void *memory) {
  if (memory != nullptr) heap_in_use -= malloc_usable_size(memory) + kChunkHeader;
  __libc_free(memory);
}
void *realloc(void *memory, size_t size) {
  const size_t before = memory != nullptr ? malloc_usable_size(memory) + kChunkHeader : 0;
  void *const moved = __libc_realloc(memory, size);
  if (moved != nullptr) heap_in_use -= before;
  return counted(moved);
}
void *aligned_alloc(size_t alignment, size_t size) {
  return counted(__libc_memalign(alignment, size));
}
}

namespace {

std::vector<Line> every_tenth(const std::vector<Line> &lines) {
  std::vector<Line> kept;
  for (const Line line : lines) {
    if (line.id % TTY_DB_AUTO_BLOCK_SIZE == 0) kept.push_back(line);
  }
  return kept;
}

// What a subject takes with the given lines in it.
template <typename Subject>
size_t heap_with(const std::vector<Line> &lines) {
  const size_t before = heap_in_use;
  const auto subject = std::make_unique<Subject>();
  for (const Line line : lines) subject->add(line);
  return heap_in_use - before;
}

// Prints what a subject takes while it is empty, and what each line adds.
template <typename Subject>
void print(const char *name, const char *separator) {
  const size_t before = heap_in_use;
  const size_t empty = heap_with<Subject>({});
  const auto a_line = [empty](const std::vector<Line> &lines) {
    return static_cast<double>(heap_with<Subject>(lines) - empty) /
           static_cast<double>(lines.size());
  };
  printf("  \"%s\": {\"empty\": %zu, \"dense_10k\": %.1f, \"dense_60k\": %.1f, ", name, empty,
         a_line(first_lines(10000)), a_line(first_lines(60000)));
  printf("\"sparse_1k\": %.1f}%s\n", a_line(every_tenth(first_lines(10000))), separator);
  require(heap_in_use == before, "everything is freed");
}

// The memory of this process that is resident, in bytes.
long resident() {
  static char text[4096];
  const int file = open("/proc/self/smaps_rollup", O_RDONLY);
  const ssize_t length = read(file, text, sizeof(text) - 1);
  close(file);
  const char *const line = length > 0 ? strstr(text, "\nRss:") : nullptr;
  require(line != nullptr, "/proc/self/smaps_rollup");
  return strtol(line + 5, nullptr, 10) * 1024;
}

void add_lines(const Library &library, const std::vector<Line> &lines) {
  for (const Line line : lines) {
    tty_db_tty_type *tty = nullptr;
    require(tty_db_tty_register(library.handle(), line.category, line.id, 128, &tty) == 0 &&
                tty_db_tty_unlock(library.handle(), tty) == 0,
            "register");
  }
}

// What a database with the given lines, of 128-byte entries, adds to the resident memory of a
// process.
long resident_with(const std::vector<Line> &lines) {
  int result[2];
  require(pipe(result) == 0, "pipe");
  if (fork() == 0) {
    const Library other;  // brings in the code
    add_lines(other, {{0, 0}});
    resident();
    const long before = resident();
    const Library library;
    add_lines(library, lines);
    const long added = resident() - before;
    _exit(write(result[1], &added, sizeof(added)) == sizeof(added) ? 0 : 1);
  }
  long added = 0;
  require(read(result[0], &added, sizeof(added)) == sizeof(added) && wait(nullptr) > 0, "child");
  close(result[0]);
  close(result[1]);
  return added;
}

}  // namespace

int main() {
  static char buffer[4096];
  setvbuf(stdout, buffer, _IOFBF, sizeof(buffer));
  printf("{\n");
  const long empty = resident_with({});
  const auto lines = first_lines(10000);
  const auto a_line = static_cast<double>(resident_with(lines) - empty) / 10000;
  printf("  \"resident\": {\"empty\": %ld, \"line\": %.1f},\n", empty, a_line);
  print<Library>("library", ",");
  print<StdMap>("std_map", ",");
  print<StdUnorderedMap>("std_unordered_map", ",");
  print<ConcurrentHashMap>("tbb_hash_map", "");
  printf("}\n");
  return 0;
}
