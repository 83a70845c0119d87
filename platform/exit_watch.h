// How the stand-in learns that the process has begun to exit.

#ifndef TTY_PLATFORM_EXIT_WATCH_H
#define TTY_PLATFORM_EXIT_WATCH_H

// Watches for the exit of the process on behalf of the library that the address `caller` lies in.
// Called from that library's constructor.
void tty_watch_for_exit(const void *caller);

#endif  // TTY_PLATFORM_EXIT_WATCH_H
