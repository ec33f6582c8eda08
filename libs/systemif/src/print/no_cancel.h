#pragma once
//
//  This header is not part of systemif's API.
//
//  Print workers are killed with QThread::terminate, which on Linux cancels the thread at its next
//  cancellation point and unwinds it. A library call interrupted half-way leaves that library's state
//  (libcups' connection buffers, libusb's bus list) torn and its allocations lost, and a destructor that
//  meets a cancellation point (close) would abort the process. So calls into those libraries and the
//  destructors of the owners of their resources run with cancellation held off; the worker dies at its
//  next sleep instead, after every owner has been unwound.
//

#include <pthread.h>

namespace systemif {
namespace print {

class NoCancelScope {
public:
    NoCancelScope() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_previous); }
    ~NoCancelScope() { pthread_setcancelstate(m_previous, nullptr); }
    NoCancelScope(const NoCancelScope&) = delete;
    NoCancelScope& operator=(const NoCancelScope&) = delete;

private:
    int m_previous = PTHREAD_CANCEL_ENABLE;
};

}  // namespace print
}  // namespace systemif
