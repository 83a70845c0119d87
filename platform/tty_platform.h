/**
 * @file
 * What the library asks of its host, and only that.
 *
 * The library calls these services through ordinary undefined symbols: whatever the process
 * provides first is what runs.  libttyplatform is the stand-in for a host that has no services of
 * its own; a host that has them replaces that library, or defines single functions in its program.
 *
 * The library calls tty_debug_initialize(), tty_debug_cleanup(), qerr_register_dll() and
 * __in_dlclose() from its load and unload hooks alone, any other service from any thread at any
 * time.  It holds locks when it calls one: a service is no cancellation point, and does not call
 * the library.
 */
#ifndef TTY_PLATFORM_H
#define TTY_PLATFORM_H

#include <pthread.h>
#include <stdint.h>

#if !defined(TTY_PLATFORM_API)
#if defined(__GNUC__)
#define TTY_PLATFORM_API __attribute__((visibility("default")))
#else
#define TTY_PLATFORM_API
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** One trace category of a client.  A client reads `enabled` before it builds a trace line; the
 * facility may change it at any time, by an atomic store. */
typedef struct tty_trace_category {
  const char *client; /**< the name given to tty_debug_initialize() */
  const char *name;   /**< its own name */
  uintptr_t enabled;  /**< not 0: lines of this category are wanted */
} tty_trace_category;

/** What the trace facility keeps for a client. */
typedef struct tty_trace_context {
  tty_trace_category *categories; /**< in the order in which the client named them */
  uint32_t num_categories;        /**< how many they are */
} tty_trace_context;

/**
 * Sets up tracing for a client.
 * @param name the client's name
 * @param registration the second word of the registration slot
 * @param categories the names of its categories, closed by NULL; they outlive the tracing
 * @param registration_slot two words of the client's for the facility to use
 * @param flags 0
 * @param[out] context the context; NULL if tracing could not be set up
 * @param[out] enabled the global switch: 0 if no line of any category is ever wanted.  Set for good
 *   when the call returns
 */
TTY_PLATFORM_API void tty_debug_initialize(const char *name, uintptr_t registration,
                                           const char *const *categories,
                                           uintptr_t *registration_slot, int flags,
                                           tty_trace_context **context, uintptr_t *enabled);

/** Ends the tracing that tty_debug_initialize() set up, and frees the context.  The stand-in leaves
 * a context alone that it has not made. */
TTY_PLATFORM_API void tty_debug_cleanup(const char *name, tty_trace_context *context,
                                        uintptr_t enabled);

/**
 * Writes one trace line.
 * @param category the category's record in the client's context
 * @param level always 5
 * @param flags always 0
 * @param registration the second word of the client's registration slot
 * @param kind 0: a line inside a routine, 1: a routine's first line, 2: its last
 * @param routine where the line comes from
 * @param line its number in the source
 * @param format printf-style, with the conversions s, d, lu, X and x; the string of an s is passed
 *   as a pointer, every other argument as a 64-bit word, on 32-bit machines too
 */
TTY_PLATFORM_API void tty_trace(tty_trace_category *category, int level, int flags,
                                uintptr_t registration, int kind, const char *routine, int line,
                                const char *format, ...);

/** Reports that `expression`, which should hold, does not.  It may return or end the process. */
TTY_PLATFORM_API void tty_ltrace_assert(const char *routine, int line, const char *expression);

/** Puts the texts of a component's result codes in force.  @return 0, or an error number */
TTY_PLATFORM_API int qerr_register_dll(uint32_t component, const char *path);

/** The text of a result code.  @return NULL if its component is not registered or has none */
TTY_PLATFORM_API const char *qerr_strerror(uint32_t code);

/** Guards a message against floods.  The logger, whose record it is, finds 1 and zeros. */
typedef struct tty_db_msg_limit_type {
  uint32_t words[8]; /**< 1 and zeros, before the logger has used them */
} tty_db_msg_limit_type;

/** A system message: its text, who raises it and how severe it is. */
typedef struct tty_db_msg_rec_type {
  void *reserved;               /**< not used */
  const char *format;           /**< printf-style */
  tty_db_msg_limit_type *limit; /**< a record of its own */
  const char *facility;         /**< who raises it */
  const char *group;            /**< a part of that */
  const char *mnemonic;         /**< its name */
  uint16_t version;             /**< of this record */
  uint16_t severity;            /**< 2: critical, 3: error */
  uint32_t padding[3];          /**< not used */
  uint32_t id;                  /**< its number */
  uint32_t padding_end;         /**< not used */
} tty_db_msg_rec_type;

/**
 * Raises a system message.
 * @param record a tty_db_msg_rec_type
 * @param severity the record's severity, followed by the arguments of the record's format
 * @return 0; the library does not look at it
 */
TTY_PLATFORM_API int kel_errmsg(const void *record, int severity, ...);

/** Announces that the calling thread is about to wait for `mutex`, and where. */
TTY_PLATFORM_API void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *routine, int line);

/** Withdraws the calling thread's announcement: its wait is over. */
TTY_PLATFORM_API void ptd_unset_mutex_block(void);

/** Asked from a library's destructor: not 0 while an explicit unload runs it, 0 once the process
 * exits. */
TTY_PLATFORM_API int __in_dlclose(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_PLATFORM_H */
