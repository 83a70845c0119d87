// A host for the library under test: it provides the platform services, records what the library
// asks of them, and makes calls that the library makes fail on demand.

#ifndef TTY_DB_TESTS_SUPPORT_HOST_H
#define TTY_DB_TESTS_SUPPORT_HOST_H

#include <string>
#include <vector>

#include "tty_db.h"

namespace host {

// What the library has asked for, in order, since the last clear():
//   trace     "block routine", if it has changed, then "> text" (entry line) or ". text" (other
//             line)
//   assertion "assert routine", "! expression"
//   message   "message MNEMONIC 3 text"
//   wait      "wait routine" and "wait over"
// A pointer that name() has named is printed by that name, any other as "..", NULL as "0".
// An exit line that closes the entry line of its routine and has the usual form is not recorded;
// any other is: "< text".
std::vector<std::string> log();
std::string log_text();
void clear();
void name(const void *pointer, const std::string &name);

// Turns recording of trace lines on and off; off at first.
void trace(bool on);
// Whether only the first line of each trace point is recorded; off at first.
void trace_once(bool on);
// Says whether all lines since the last clear() were sound, and every routine that has entered has
// left.
bool trace_is_sound();
// The result in the latest exit line.
unsigned long traced_result();

// What a failed assertion does: it is recorded and returns, or ends the process (at first).
void assertions_return(bool on);
// How many have failed since the last clear().
int num_assertions();

// How many threads have announced that they wait for a mutex.
int num_waiting();

// Makes one call of the calling thread fail: the nth of a function from now, or of any function if
// that is empty.  A failing allocation returns NULL, any other call EINVAL, having done nothing.
void fail_call(const std::string &function, int nth = 1);
// Ends that.  Returns the function whose call has failed, or "".
std::string end_failing();

// From now on writes messages, and "failing FUNCTION" whenever a call is made to fail, to standard
// error.
void announce_to_stderr();

// How many calls of a function were passed on.
long calls(const std::string &function);

// Allocations of the library that are not freed yet.
size_t live_allocations();

// Watches a record until it is freed.
void watch(const void *record, size_t size);
// Whether the record was freed with all its bytes zero.
bool watched_was_zero();

// The thirteen results, by their names without the prefix, and 0 as "OK".
std::string result_name(uint32_t rc);

}  // namespace host

#endif  // TTY_DB_TESTS_SUPPORT_HOST_H
