// What every service of the stand-in does alike: it leaves its caller undisturbed, and shares what
// it keeps with other threads and with a child of fork.

#ifndef TTY_PLATFORM_SERVICE_H
#define TTY_PLATFORM_SERVICE_H

#include <errno.h>
#include <pthread.h>

// The call of a service.  The library makes it with its locks held, so that the thread must not be
// cancelled in the midst of it, however much the service opens, writes and waits; errno stays what
// it was.  The type goes with the state, since a cancellation that is on its way when the state
// changes may look at the type alone.
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

// Holds a mutex.  REQUIRES: a ServiceCall around it.
class Lock {
 public:
  explicit Lock(pthread_mutex_t &mutex) : mutex_(mutex) { pthread_mutex_lock(&mutex_); }
  ~Lock() { pthread_mutex_unlock(&mutex_); }
  Lock(const Lock &) = delete;
  Lock &operator=(const Lock &) = delete;

 private:
  pthread_mutex_t &mutex_;
};

// Sees to it that no thread holds `mutex` while the process forks: the child finds it free, and
// whole what it guards.  `in_child` runs in the child.
template <pthread_mutex_t &mutex, void (*in_child)()>
void survive_fork() {
  const auto release = [] { pthread_mutex_unlock(&mutex); };
  pthread_atfork([] { pthread_mutex_lock(&mutex); }, release, release);
  pthread_atfork(nullptr, nullptr, in_child);
}

#endif  // TTY_PLATFORM_SERVICE_H
