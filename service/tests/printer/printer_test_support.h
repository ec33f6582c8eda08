#pragma once
// Shared by the printing tests. Every test program that links this gets a fresh temporary home
// (SERVICE_BUSINESS_HOME, so logs and settings stay out of the real one); the packages are the build tree's.

#include "printer/dispatch_timing.h"
#include "service_business/print_manager.h"

#include "systemif/print_fake.h"
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

void PrintTo(const QString& text, std::ostream* out);
void PrintTo(const QByteArray& bytes, std::ostream* out);

namespace printer_test {

// A pair of the drivers package's "libusb/supported".
constexpr unsigned short kSupportedVendor = 0x0416;
constexpr unsigned short kSupportedProduct = 0x5011;

// Where the home of this test process is.
QString homeDir();

// What a byte comparison shows on failure: the first differing offset and a hex dump of both around it.
::testing::AssertionResult sameBytes(const QByteArray& expected, const QByteArray& actual);

// The outcomes that callbacks receive, per job tag, from whatever thread they are called on.
class CallbackLog {
public:
    std::function<void(bool)> callback(int tag)
    {
        return [this, tag](bool ok) {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_results[tag] << ok;
            m_order << tag;
            m_changed.notify_all();
        };
    }
    // Every outcome told for the tag, in order.
    QList<bool> results(int tag) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_results.value(tag);
    }
    // The tags in the order they were told.
    QList<int> order() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_order;
    }
    int total() const { return order().size(); }
    // Waits until `count` outcomes in all, or the tag, have been told; false on timeout (a hang guard).
    bool waitForTotal(int count, std::chrono::milliseconds timeout = std::chrono::seconds(30)) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_order.size() >= count; });
    }
    bool waitFor(int tag, std::chrono::milliseconds timeout = std::chrono::seconds(30)) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_results.contains(tag); });
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    QMap<int, QList<bool>> m_results;  // guarded by m_mutex
    QList<int> m_order;                // guarded by m_mutex
};

// A gate a callback can wait at, to hold its worker busy until the test opens it.
class Gate {
public:
    void open()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    // Waits until the gate is open.
    void pass()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived = true;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    // Waits until someone is waiting at the gate; false on timeout.
    bool waitForArrival(std::chrono::milliseconds timeout = std::chrono::seconds(30))
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [this] { return m_arrived; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;     // guarded by m_mutex
    bool m_arrived = false;  // guarded by m_mutex
};

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
