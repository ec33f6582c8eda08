#pragma once
// A test program that links test_support::home runs in a temporary home: SERVICE_BUSINESS_HOME points at
// a fresh directory before the first test, so logs, settings and caches never reach the real one.

#include <QString>

namespace test_support {

// The temporary home of this test program.
QString homeDir();

}  // namespace test_support
