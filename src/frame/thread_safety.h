// Annotations for clang's thread-safety analysis (-Wthread-safety); other compilers ignore them.
//
// The capability is the database: TTY_DB_REQUIRES_WRITE(db) means that the calling thread must hold
// the write lock of `db`.  Entry locks are held from one call to the next, which the annotations
// cannot express.

#ifndef TTY_DB_FRAME_THREAD_SAFETY_H
#define TTY_DB_FRAME_THREAD_SAFETY_H

#ifdef __clang__
#define TTY_DB_ATTRIBUTE(attribute) __attribute__((attribute))
#else
#define TTY_DB_ATTRIBUTE(attribute)
#endif

#define TTY_DB_LOCKABLE TTY_DB_ATTRIBUTE(capability("database lock"))
#define TTY_DB_SCOPED_LOCK TTY_DB_ATTRIBUTE(scoped_lockable)
#define TTY_DB_GUARDED TTY_DB_ATTRIBUTE(guarded_by(this))
#define TTY_DB_POINTS_TO_GUARDED TTY_DB_ATTRIBUTE(pt_guarded_by(this))
#define TTY_DB_REQUIRES_WRITE(db) TTY_DB_ATTRIBUTE(requires_capability(db))
#define TTY_DB_REQUIRES_READ(db) TTY_DB_ATTRIBUTE(requires_shared_capability(db))
#define TTY_DB_ACQUIRES_WRITE(db) TTY_DB_ATTRIBUTE(acquire_capability(db))
#define TTY_DB_ACQUIRES_READ(db) TTY_DB_ATTRIBUTE(acquire_shared_capability(db))
#define TTY_DB_RELEASES TTY_DB_ATTRIBUTE(release_generic_capability())
#define TTY_DB_ASSERTS_WRITE(db) TTY_DB_ATTRIBUTE(assert_capability(db))
#define TTY_DB_ASSERTS_READ(db) TTY_DB_ATTRIBUTE(assert_shared_capability(db))
#define TTY_DB_UNCHECKED TTY_DB_ATTRIBUTE(no_thread_safety_analysis)

#endif  // TTY_DB_FRAME_THREAD_SAFETY_H
