// A line of text that a service writes.

#ifndef TTY_PLATFORM_LINE_H
#define TTY_PLATFORM_LINE_H

#include <stdarg.h>
#include <stddef.h>

// A line under construction.  Control characters become escapes, so that it stays one line and does
// not control a terminal: \n, \t, \r, or \x and two digits.  A backslash becomes \\, so that an
// escape is never mistaken for text.  Well-formed UTF-8 stays.  A line that is too long is cut
// between two characters or escapes and ends with "...".
class Line {
 public:
  // Appends printf-style text.
  __attribute__((format(printf, 2, 3))) void print(const char *format, ...);
  void print_list(const char *format, va_list args);

  // Appends text, or "<NULL>" for NULL.  The second form appends `size` bytes.
  void put(const char *text);
  void put(const char *text, size_t size);

  const char *text();

  // Writes the line and a newline in one call, so that the lines of threads do not mix.  If a
  // non-blocking file has no room, waits up to five seconds if `wait` is set, else not at all.
  // Returns whether the line was written.
  bool write_to(int fd, bool wait);

  // Writes the line to standard error, if the process has one.
  void report();

 private:
  void add(const char *bytes, size_t size);
  void put_escape(unsigned char byte);

  char text_[2048];
  size_t length_ = 0;
  size_t last_cut_ = 0;  // where "..." replaces the rest
  bool cut_ = false;
};

#endif  // TTY_PLATFORM_LINE_H
