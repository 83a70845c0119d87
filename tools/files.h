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

// Throws the std::system_error of errno about a path.
[[noreturn]] void fail(const std::string& path);

// The same if errno tells that this process, or the machine, has run out of descriptors or memory:
// what could not be read then is not known to be missing.
void fail_if_exhausted(const std::string& path);

// The text of a regular file, up to the first NUL; none, with errno set, if it cannot be read.  No
// other kind of file is opened.
std::optional<std::string> read_file(int directory, const std::string& path);

// The first 4 KiB of a file that the kernel makes up of one record, and that is of no other kind.
std::optional<std::string> read_record(int directory, const std::string& path);

// The first 4 KiB of a regular file, for a file of one line: without white space at its ends, empty
// if it cannot be read.
std::string read_line(int directory, const std::string& path);

std::unique_ptr<DIR, int (*)(DIR*)> open_directory(int directory, const std::string& path);

// Calls visit(directory descriptor, name) for each name in a directory but the hidden ones. Returns
// false, with errno set, if the directory cannot be read.
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
