/**
 * @file
 * The services that the library calls.
 *
 * The host provides them: the program, which defines some or all of these functions, or a library
 * that is loaded in place of libttyplatform.  libttyplatform is the stand-in: it
 * provides the services that the program does not define.  The library calls the first definition
 * in the process.
 *
 * The library calls tty_debug_initialize() and qerr_register_dll() only when it is loaded,
 * tty_debug_cleanup() only when it is unloaded, and __in_dlclose() at its unload and at the exit of
 * the process.  It calls the other services from any thread at any time, with locks held: a service
 * must not be a cancellation point and must not call the library.
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

/** A trace category of a client.  A client is a library that traces; this library is "db". */
typedef struct tty_trace_category {
  const char *client; /**< the name given to tty_debug_initialize() */
  const char *name;   /**< its own name */
  uintptr_t enabled;  /**< not 0: tracing is on; may change at any time, by an atomic store */
} tty_trace_category;

/** The trace context of a client. */
typedef struct tty_trace_context {
  tty_trace_category *categories; /**< in the order in which the client named them */
  uint32_t num_categories;        /**< number of categories */
} tty_trace_context;

/**
 * Sets up tracing for a client.
 * @param name the client's name
 * @param registration the second word of the registration slot: 0
 * @param categories the names of the client's categories, ended by NULL; valid until
 *   tty_debug_cleanup()
 * @param registration_slot two words for the host to use, initially 0
 * @param flags 0
 * @param[out] context the context; NULL on failure
 * @param[out] enabled 0 if no category will ever be on, else not 0; never changes afterwards
 */
TTY_PLATFORM_API void tty_debug_initialize(const char *name, uintptr_t registration,
                                           const char *const *categories,
                                           uintptr_t *registration_slot, int flags,
                                           tty_trace_context **context, uintptr_t *enabled);

/** Ends tracing for a client and frees its context.  The stand-in ignores a context that it did not
 * create. */
TTY_PLATFORM_API void tty_debug_cleanup(const char *name, tty_trace_context *context,
                                        uintptr_t enabled);

/**
 * Writes one trace line.
 * @param category the category's record in the client's context
 * @param level always 5
 * @param flags always 0
 * @param registration the second word of the client's registration slot
 * @param kind 1: the first line of a routine, 2: its last line, 0: any other line
 * @param routine the routine that traces the line
 * @param line the source line
 * @param format printf-style, with the conversions s, d, lu, X and x.  The argument of an s is a
 *   pointer; every other argument is a 64-bit word, on 32-bit machines too
 */
TTY_PLATFORM_API void tty_trace(tty_trace_category *category, int level, int flags,
                                uintptr_t registration, int kind, const char *routine, int line,
                                const char *format, ...);

/** Reports a failed assertion.  It may return or end the process. */
TTY_PLATFORM_API void tty_ltrace_assert(const char *routine, int line, const char *expression);

/**
 * Makes the texts of a component's result codes available.  The library ignores the result.
 * @param component bits 15 to 27 of the component's result codes
 * @param path where a host may find the texts: "qerrno/libttydb_error.dll".  The stand-in does not
 *   use it
 * @return 0, or an error number
 */
TTY_PLATFORM_API int qerr_register_dll(uint32_t component, const char *path);

/** The text of a result code.  @return NULL if there is none or its component is not registered */
TTY_PLATFORM_API const char *qerr_strerror(uint32_t code);

/** The record by which the logger limits a message. */
typedef struct tty_db_msg_limit_type {
  uint32_t words[8]; /**< initially 1 and zeros */
} tty_db_msg_limit_type;

/** A system message. */
typedef struct tty_db_msg_rec_type {
  void *reserved;               /**< not used */
  const char *format;           /**< printf-style */
  tty_db_msg_limit_type *limit; /**< the limit record of this message */
  const char *facility;         /**< the component that raises it */
  const char *group;            /**< a part of the component */
  const char *mnemonic;         /**< the name of the message */
  uint16_t version;             /**< the version of this record */
  uint16_t severity;            /**< 2: critical, 3: error */
  uint32_t padding[3];          /**< not used */
  uint32_t id;                  /**< the number of the message */
  uint32_t padding_end;         /**< not used */
} tty_db_msg_rec_type;

/**
 * Raises a system message.
 * @param record a tty_db_msg_rec_type
 * @param severity the record's severity, followed by the arguments of the record's format
 * @return 0; the library ignores it
 */
TTY_PLATFORM_API int kel_errmsg(const void *record, int severity, ...);

/** Announces that the calling thread is about to wait for `mutex` in `routine`, at `line`. */
TTY_PLATFORM_API void ptd_set_mutex_block(pthread_mutex_t *mutex, const char *routine, int line);

/** Announces that the wait of the calling thread is over. */
TTY_PLATFORM_API void ptd_unset_mutex_block(void);

/** Called by a library's destructor.  @return not 0 if the library is being unloaded, 0 if the
 * process exits */
TTY_PLATFORM_API int __in_dlclose(void);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* TTY_PLATFORM_H */
