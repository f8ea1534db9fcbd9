// Included before every source: takes back what the C++ library found out about glibc when it was configured.
#ifndef RC_MUSL_WITHOUT_GLIBC_H
#define RC_MUSL_WITHOUT_GLIBC_H

#ifdef __cplusplus
#include <bits/c++config.h>

// These functions of POSIX threads are newer than this musl. <mutex> and others would call them.
#undef _GLIBCXX_USE_PTHREAD_COND_CLOCKWAIT
#undef _GLIBCXX_USE_PTHREAD_MUTEX_CLOCKLOCK
#undef _GLIBCXX_USE_PTHREAD_RWLOCK_CLOCKLOCK
#endif

#endif
