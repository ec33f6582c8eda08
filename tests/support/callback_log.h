#pragma once
// What asynchronous callbacks told, recorded from whatever thread they run on, and a gate that holds a
// callback's thread until the test opens it. Every wait has a bound, so a hang fails the test instead of
// stopping the suite.

#include <QList>
#include <QMap>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace test_support {

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

}  // namespace test_support
