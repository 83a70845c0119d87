// A line of text that a service writes, and the one way in which it is written.

#ifndef TTY_PLATFORM_LINE_H
#define TTY_PLATFORM_LINE_H

#include <stdarg.h>
#include <stddef.h>

// A line under construction.  Whatever is put into it, it is one line, and moves nobody's terminal:
// control characters become escapes, \n, \t, \r, or \x and two digits for any other byte, and a
// backslash becomes \\, so that an escape is never mistaken for text.  Well-formed UTF-8 stays.
// A line that is too long is cut after the last whole character or escape that leaves room for
// "...", with which it then ends.
class Line {
 public:
  // Appends printf-style text.
  __attribute__((format(printf, 2, 3))) void print(const char *format, ...);
  void print_list(const char *format, va_list args);

  // Appends text, "<NULL>" for NULL; the second form no more than `size` bytes of it.
  void put(const char *text);
  void put(const char *text, size_t size);

  const char *text();

  // Writes the line and a newline by one call, so that threads never mix within a line.  A file
  // that does not block and has no room is waited for, if at all, for five seconds.  Returns
  // whether the line has been written.
  bool write_to(int fd, bool wait);

  // Writes the line to standard error, or nowhere where there is none.
  void report();

 private:
  void add(const char *bytes, size_t size);
  void put_escape(unsigned char byte);

  char text_[2048];
  size_t length_ = 0;
  size_t last_cut_ = 0;  // the last place at which "..." fits
  bool cut_ = false;
};

#endif  // TTY_PLATFORM_LINE_H
