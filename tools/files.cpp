#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <system_error>

namespace tty_lines {

Descriptor::~Descriptor() {
  if (fd_ >= 0) close(fd_);
}

void fail(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

void fail_if_exhausted(const std::string& path) {
  if (errno == EMFILE || errno == ENFILE || errno == ENOMEM) fail(path);
}

namespace {

bool is_regular(int directory, const std::string& path) {
  struct stat status = {};
  if (fstatat(directory, path.c_str(), &status, 0) != 0) {
    fail_if_exhausted(path);
    return false;
  }
  errno = EINVAL;
  return S_ISREG(status.st_mode);
}

// Reads a whole file, or its start in one read.
std::optional<std::string> read_text(int directory, const std::string& path, bool whole) {
  // O_NONBLOCK: since it was checked, the file may have been replaced by one that blocks.
  const Descriptor file(
      openat(directory, path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
  std::string text;
  std::array<char, 4096> buffer;
  ssize_t size = file.get() < 0 ? -1 : 1;
  for (bool more = size >= 0; more && size > 0; more = whole) {
    size = read(file.get(), buffer.data(), buffer.size());
    if (size > 0) text.append(buffer.data(), static_cast<std::size_t>(size));
  }
  if (size < 0) {
    fail_if_exhausted(path);
    return std::nullopt;
  }
  if (const std::size_t end = text.find('\0'); end != std::string::npos) text.resize(end);
  return text;
}

}  // namespace

std::optional<std::string> read_file(int directory, const std::string& path) {
  return is_regular(directory, path) ? read_text(directory, path, true) : std::nullopt;
}

std::optional<std::string> read_record(int directory, const std::string& path) {
  return read_text(directory, path, false);
}

std::string read_line(int directory, const std::string& path) {
  if (!is_regular(directory, path)) return "";
  constexpr const char* kSpace = " \t\r\n";
  const std::string text = read_text(directory, path, false).value_or("");
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::unique_ptr<DIR, int (*)(DIR*)> open_directory(int directory, const std::string& path) {
  const int fd = openat(directory, path.c_str(), O_RDONLY | O_CLOEXEC | O_DIRECTORY);
  DIR* const open = fd < 0 ? nullptr : fdopendir(fd);
  if (open == nullptr) {
    const int error = errno;
    if (fd >= 0) close(fd);
    errno = error;
    fail_if_exhausted(path);
  }
  return {open, &closedir};
}

}  // namespace tty_lines
