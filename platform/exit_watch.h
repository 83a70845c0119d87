// How the stand-in learns that the process has begun to exit.

#ifndef TTY_PLATFORM_EXIT_WATCH_H
#define TTY_PLATFORM_EXIT_WATCH_H

// Watches for the exit of the process, unless the program is still being started.  Called where a
// library's constructor calls the stand-in.
void tty_watch_for_exit();

// Says whether the library that the address `caller` lies in is being unloaded.  Called from that
// library's destructor: if not, the process exits.
bool tty_is_unloaded(const void *caller);

#endif  // TTY_PLATFORM_EXIT_WATCH_H
