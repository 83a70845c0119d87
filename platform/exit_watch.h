// Distinguishes the exit of the process from the unload of a library.

#ifndef TTY_PLATFORM_EXIT_WATCH_H
#define TTY_PLATFORM_EXIT_WATCH_H

// Sets the exit handler if a library was opened after the start of the program.  Every service that
// a library's constructor calls must call it.
void tty_watch_for_exit();

// Returns whether the library that contains the address `caller` is being unloaded; if not, the
// process exits.  REQUIRES: the library's destructor calls it.
bool tty_is_unloaded(const void *caller);

#endif  // TTY_PLATFORM_EXIT_WATCH_H
