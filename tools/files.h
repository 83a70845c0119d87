// Reads files and directories of the machine, which may vanish at any time.
#ifndef TTYDB_TOOLS_FILES_H
#define TTYDB_TOOLS_FILES_H

#include <dirent.h>

#include <cerrno>
#include <memory>
#include <optional>
#include <string>

namespace tty_lines {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor();
  int get() const { return fd_; }

 private:
  int fd_;
};

// Throws errno as a std::system_error about a path.
[[noreturn]] void fail(const std::string& path);

// The same, but only if errno says that descriptors or memory ran out: a file that could not be
// read then may still exist.
void fail_if_exhausted(const std::string& path);

// Reads a regular file up to the first NUL.  Returns none, with errno set, if it cannot be read or
// is of another kind, which is not opened.
std::optional<std::string> read_file(int directory, const std::string& path);

// Reads the first 4 KiB of a file, which is known to be a record of the kernel.
std::optional<std::string> read_record(int directory, const std::string& path);

// Reads the first 4 KiB of a regular file, without white space at the ends.  Returns "" if it
// cannot be read.
std::string read_line(int directory, const std::string& path);

std::unique_ptr<DIR, int (*)(DIR*)> open_directory(int directory, const std::string& path);

// Calls visit(directory descriptor, name) for each name in a directory, except hidden ones.
// Returns false, with errno set, if the directory cannot be read.
template <class Visit>
bool for_each_name(int directory, const std::string& path, Visit visit) {
  const auto open = open_directory(directory, path);
  if (open == nullptr) return false;
  for (;;) {
    errno = 0;
    const dirent* found = readdir(open.get());
    if (found == nullptr) break;
    const std::string name = found->d_name;
    if (name[0] != '.') visit(dirfd(open.get()), name);
  }
  fail_if_exhausted(path);
  return errno == 0;
}

}  // namespace tty_lines

#endif  // TTYDB_TOOLS_FILES_H
