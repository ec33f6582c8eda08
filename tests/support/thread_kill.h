#pragma once
// Tests that kill a thread the way QThread::terminate does (pthread_cancel, which unwinds the thread).
//
// GCC 12's AddressSanitizer aborts while a cancelled thread unwinds (a CHECK in its stack bookkeeping,
// reached from __asan_handle_no_return), whatever the code under test does; clang's sanitizer runtime
// unwinds such threads correctly. Under GCC's sanitizer these tests skip with that reason, and the
// sanitizer check of thread kills is made with clang (CC=clang CXX=clang++ -DSB_SANITIZE=ON).

#include <gtest/gtest.h>

#if defined(__SANITIZE_ADDRESS__) && !defined(__clang__)
#define SB_SKIP_IF_THREAD_KILL_UNSUPPORTED()                                                                     \
    GTEST_SKIP() << "GCC's AddressSanitizer cannot unwind a cancelled thread; run the sanitizer build with clang"
#else
#define SB_SKIP_IF_THREAD_KILL_UNSUPPORTED() static_cast<void>(0)
#endif
