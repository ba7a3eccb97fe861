// The library's locks: mutex, recursive_mutex and lock_guard (POSIX threads).
#ifndef VYK_THREAD_MUTEX_H
#define VYK_THREAD_MUTEX_H

#include "vyk/thread/Mutex_pthread.h"

#endif
