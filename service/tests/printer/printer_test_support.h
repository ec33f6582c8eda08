#pragma once
// Shared by the printing tests. Every test program that links this gets a fresh temporary home
// (SERVICE_BUSINESS_HOME, so logs and settings stay out of the real one); the packages are the build tree's.

#include "printer/dispatch_timing_p.h"
#include "service_business/print_manager.h"

#include "systemif/print_fake.h"

#include "callback_log.h"
#include "qt_print.h"
#include "same_bytes.h"

#include "utility_business/log.h"
#include "utility_business/utility_structs.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>

namespace printer_test {

// A pair of the drivers package's "libusb/supported".
constexpr unsigned short kSupportedVendor = 0x0416;
constexpr unsigned short kSupportedProduct = 0x5011;

using test_support::CallbackLog;
using test_support::Gate;
using test_support::sameBytes;

// Records of the log whose text is exactly `text`.
int countRecords(const utility_business::log::Capture& capture, const std::string& type, const std::string& text);
// Records of the log whose text starts with `prefix`.
int countRecordsStartingWith(const utility_business::log::Capture& capture, const std::string& type,
                             const std::string& prefix);
// Waits until there are at least `count` such records; false on timeout (a hang guard).
bool waitForRecords(const utility_business::log::Capture& capture, const std::string& type, const std::string& text,
                    int count = 1, std::chrono::milliseconds timeout = std::chrono::seconds(30));
// A worker's address as the dispatch records name it, read from its "create printer [id] work thread [...]"
// record; empty when there is none.
std::string workerOf(const utility_business::log::Capture& capture, int printerId);

// A small receipt numbered `number`, and the bytes the printer gets of it.
QByteArray receipt(int number);
QByteArray document(int number);

utility_business::PrinterInfo printerRecord(int id, const QString& name,
                                            utility_business::utility_enum::PrinterType type,
                                            bool connected = true);

// Print dispatch on the fakes: each test starts with no workers and leaves none behind, so one test's
// jobs never reach another's fakes.
class FakeDispatchTest : public ::testing::Test {
protected:
    void SetUp() override { service_business::setDispatchTimingForTesting(service_business::DispatchTiming()); }
    void TearDown() override
    {
        EXPECT_TRUE(service_business::stopDispatchForTesting(10000)) << "a thread of print dispatch still runs";
        service_business::setDispatchTimingForTesting(service_business::DispatchTiming());
    }

    systemif::print::FakePrintSystem m_fake;
    utility_business::log::Capture m_log;
    CallbackLog m_outcomes;
};

}  // namespace printer_test
