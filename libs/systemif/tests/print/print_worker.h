#pragma once
// What a job's callback told, and a print worker as the print threads have one, for the print layer's tests.

#include "systemif/print.h"

#include <QByteArray>
#include <QString>
#include <QThread>

#include <atomic>

namespace print_test {

using namespace systemif::print;

struct Told {
    std::atomic<int> calls{0};
    std::atomic<int> jobId{-1};
    std::atomic<bool> done{false};
    JobCallback callback()
    {
        return [this](int id, const QString&, bool isDone) {
            jobId = id;
            done = isDone;
            ++calls;
        };
    }
};

// A print worker as the print threads have one: a slot bound to its thread, one document to print.
class Worker : public QThread {
public:
    Worker(const QString& printer, const QByteArray& bytes) : m_printer(printer), m_bytes(bytes) { start(); }
    ~Worker() override { wait(30000); }
    PrintJobSlot slot;
    Told told;
    std::atomic<int> returned{-1};

protected:
    void run() override
    {
        PrintJobSlot::Binding binding(slot);
        returned = PrintServics::printBySystemPrinter(m_printer, "receipt", Document(m_bytes), told.callback());
    }

private:
    QString m_printer;
    QByteArray m_bytes;
};

}  // namespace print_test
