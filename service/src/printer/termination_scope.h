#pragma once
//
//  Not part of the library's interface: shared inside service_business and with its tests only.
//
// Print workers are killed with QThread::terminate, which here cancels the thread at its next cancellation
// point (a sleep, a read or write) and unwinds it. Code that must not be cut off half-way holds termination
// off: a log record, written by a destructor (a cancellation unwinding out of a destructor aborts the
// process). The worker lets termination in only while a job prints.
// The previous state comes back at the end of the scope, so scopes nest.

#include <pthread.h>

namespace service_business {

class TerminationScope {
public:
    enum Mode { HoldOff, Allow };

    explicit TerminationScope(Mode mode)
    {
        pthread_setcancelstate(mode == Allow ? PTHREAD_CANCEL_ENABLE : PTHREAD_CANCEL_DISABLE, &m_previous);
    }
    ~TerminationScope() { pthread_setcancelstate(m_previous, nullptr); }
    TerminationScope(const TerminationScope&) = delete;
    TerminationScope& operator=(const TerminationScope&) = delete;

private:
    int m_previous = PTHREAD_CANCEL_ENABLE;
};

}  // namespace service_business
