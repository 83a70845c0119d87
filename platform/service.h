// What the services of the stand-in share: protection of the caller's errno and cancellation state,
// locking, and fork.

#ifndef TTY_PLATFORM_SERVICE_H
#define TTY_PLATFORM_SERVICE_H

#include <errno.h>
#include <pthread.h>

// The scope of a service call.  Preserves errno.  Disables cancellation, because the library calls
// services with its locks held.  Also makes cancellation deferred: the C library may cancel a
// thread that is just disabling cancellation if the type is asynchronous.
class ServiceCall {
 public:
  ServiceCall() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
    pthread_setcanceltype(PTHREAD_CANCEL_DEFERRED, &cancel_type_);
  }
  ~ServiceCall() {
    errno = errno_;
    pthread_setcanceltype(cancel_type_, nullptr);
    pthread_setcancelstate(cancel_state_, nullptr);
  }
  ServiceCall(const ServiceCall &) = delete;
  ServiceCall &operator=(const ServiceCall &) = delete;

 private:
  int errno_ = errno;
  int cancel_state_ = PTHREAD_CANCEL_ENABLE;
  int cancel_type_ = PTHREAD_CANCEL_DEFERRED;
};

// Holds a mutex.  REQUIRES: a ServiceCall in an enclosing scope.
class Lock {
 public:
  explicit Lock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~Lock() { pthread_mutex_unlock(&mutex_); }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;

 private:
  pthread_mutex_t &mutex_;
};

// Holds `mutex` during every fork, so that in the child it is free and its data consistent.  Then
// calls `in_child` in the child.
template <pthread_mutex_t &mutex, void (*in_child)()>
void tty_survive_fork() {
  const auto release = [] { pthread_mutex_unlock(&mutex); };
  pthread_atfork([] { pthread_mutex_lock(&mutex); }, release, release);
  pthread_atfork(nullptr, nullptr, in_child);
}

#endif  // TTY_PLATFORM_SERVICE_H
