#include "line.h"

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static_assert(sizeof(off_t) == 8, "files grow larger than 2 GiB");

namespace {

// If the process starts without standard error, descriptor 2 may later be another file: no lines
// are written there.
bool has_standard_error = true;

__attribute__((constructor)) void look_for_standard_error() {
  has_standard_error = fcntl(STDERR_FILENO, F_GETFD) != -1;
}

// Writes, and discards the signals SIGPIPE (the pipe has no reader) and SIGXFSZ (the file is at its
// size limit): failing to write a line must not end the process.
ssize_t write_quietly(int fd, const char *bytes, size_t size) {
  sigset_t signals;
  sigset_t pending;
  sigset_t mask;
  sigemptyset(&pending);
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  sigaddset(&signals, SIGXFSZ);
  pthread_sigmask(SIG_BLOCK, &signals, &mask);
  if (sigismember(&mask, SIGPIPE) == 1 || sigismember(&mask, SIGXFSZ) == 1) sigpending(&pending);
  const ssize_t written = write(fd, bytes, size);
  const int error = errno;
  const int raised = written >= 0 ? 0 : error == EPIPE ? SIGPIPE : error == EFBIG ? SIGXFSZ : 0;
  if (raised != 0 && sigismember(&pending, raised) == 0) {  // not if it was pending before
    constexpr timespec kNoWait = {0, 0};
    sigemptyset(&signals);
    sigaddset(&signals, raised);
    sigtimedwait(&signals, nullptr, &kNoWait);
  }
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  errno = error;
  return written;
}

struct Character {
  uint32_t code;
  size_t length;  // in bytes
};

// Decodes the first character of NUL-terminated `bytes`.  A byte that does not begin well-formed
// UTF-8 is taken as Latin-1.
Character decode(const unsigned char *bytes) {
  constexpr uint32_t kLowest[] = {0, 0, 0x80, 0x800, 0x10000};  // by length
  const Character byte = {bytes[0], 1};
  if (byte.code < 0xc0 || byte.code > 0xf4) return byte;
  Character character = {0, byte.code < 0xe0 ? 2u : byte.code < 0xf0 ? 3u : 4u};
  character.code = byte.code & (0x7fu >> character.length);
  for (size_t i = 1; i < character.length; ++i) {
    if ((bytes[i] & 0xc0u) != 0x80) return byte;
    character.code = character.code << 6 | (bytes[i] & 0x3fu);
  }
  const bool surrogate = character.code >= 0xd800 && character.code <= 0xdfff;
  const bool overlong = character.code < kLowest[character.length];
  return surrogate || overlong || character.code > 0x10ffff ? byte : character;
}

bool is_control(uint32_t code) { return code < 0x20 || (code >= 0x7f && code < 0xa0); }

}  // namespace

void Line::add(const char *bytes, size_t size) {
  constexpr char kMark[] = {'.', '.', '.'};
  constexpr size_t kRoom = sizeof(text_) - 1;  // the last byte is for the newline
  if (cut_) return;
  cut_ = size > kRoom - length_;
  if (cut_) {
    memcpy(text_ + last_cut_, kMark, sizeof(kMark));
    length_ = last_cut_ + sizeof(kMark);
    return;
  }
  memcpy(text_ + length_, bytes, size);
  length_ += size;
  if (length_ <= kRoom - sizeof(kMark)) last_cut_ = length_;
}

void Line::put_escape(unsigned char byte) {
  constexpr char kDigits[] = "0123456789abcdef";
  const char letter = byte == '\n'   ? 'n'
                      : byte == '\t' ? 't'
                      : byte == '\r' ? 'r'
                      : byte == '\\' ? '\\'
                                     : 'x';
  const char escape[] = {'\\', letter, kDigits[byte >> 4], kDigits[byte & 0xf]};
  add(escape, letter == 'x' ? 4 : 2);
}

void Line::put(const char *text, size_t size) {
  for (const char *const end = text + size; text < end && !cut_;) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(text);
    const Character character = decode(bytes);
    if (is_control(character.code) || character.code == '\\') {
      put_escape(*bytes);
      ++text;
    } else {
      add(text, character.length);
      text += character.length;
    }
  }
}

void Line::put(const char *text) {
  if (text == nullptr) text = "<NULL>";
  put(text, strlen(text));
}

void Line::print_list(const char *format, va_list args) {
  char text[sizeof(text_) + MB_LEN_MAX];  // cut beyond the end of the line
  text[0] = '\0';
  vsnprintf(text, sizeof(text), format, args);
  put(text);
}

void Line::print(const char *format, ...) {
  va_list args;
  va_start(args, format);
  print_list(format, args);
  va_end(args);
}

const char *Line::text() {
  text_[length_] = '\0';
  return text_;
}

bool Line::write_to(int fd, bool wait) {
  static_assert(sizeof(text_) <= PIPE_BUF);  // a pipe takes a whole line or nothing
  if (fd == STDERR_FILENO && !has_standard_error) return false;
  text_[length_] = '\n';
  for (size_t done = 0; done <= length_;) {
    const ssize_t written = write_quietly(fd, text_ + done, length_ + 1 - done);
    if (written > 0) {
      done += static_cast<size_t>(written);
    } else if (written == 0 || (errno != EAGAIN && errno != EINTR)) {
      return false;
    } else if (errno == EAGAIN) {
      const timespec patience = {wait ? 5 : 0, 0};
      pollfd room = {fd, POLLOUT, 0};
      sigset_t all;
      sigfillset(&all);  // a signal would end the wait
      if (ppoll(&room, 1, &patience, &all) <= 0) return false;
    }
  }
  return true;
}

void Line::report() { write_to(STDERR_FILENO, true); }
