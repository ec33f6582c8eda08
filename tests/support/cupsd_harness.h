#pragma once
// A private CUPS scheduler for tests: its own cupsd, configured in a fresh temporary directory and reached
// only through DIR/cups.sock, so tests never see or touch the machine's printers.
//
//   test_support::CupsdHarness cups;
//   if (!test_support::CupsdHarness::unavailableReason().isEmpty()) GTEST_SKIP() << ...;
//   ASSERT_TRUE(cups.start()) << cups.error().toStdString();
//   ASSERT_TRUE(cups.addRawQueue("Kitchen", CupsdHarness::socketUri(printer.port())));
//
// While it runs, CUPS_SERVER names its socket, so every CUPS client of the process (and of the programs it
// starts) talks to it. Queues are raw: jobs reach the device byte for byte. Its backends are the machine's,
// and the escpos backend of this build.
// Works as root (cupsd runs its backends as the "lp" user, so the directory is made world-readable).

#include <QList>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace test_support {

// cupsd as a child that ends with the test process, also when the test crashes.
class CupsdProcess : public QProcess {
protected:
    void setupChildProcess() override;
};

class CupsdHarness {
public:
    // Why the harness cannot run on this machine ("cupsd not found"); empty when it can.
    static QString unavailableReason();
    // The device URI of a raw socket printer on 127.0.0.1:port.
    static QString socketUri(int port);
    // The same printer through the escpos backend of this build, which confirms each job with the printer.
    static QString escposUri(int port);

    CupsdHarness();
    // Stops cupsd if it runs.
    ~CupsdHarness();
    CupsdHarness(const CupsdHarness&) = delete;
    CupsdHarness& operator=(const CupsdHarness&) = delete;

    // Writes the configuration, starts cupsd and waits until it answers on its socket. False, with
    // error() saying why, when it does not come up.
    bool start();
    // Stops cupsd (SIGTERM, then SIGKILL after a grace period) and restores CUPS_SERVER.
    void stop();
    // Freezes cupsd (SIGSTOP), as a scheduler that stops answering, and lets it go on (SIGCONT).
    bool freeze();
    bool thaw();

    QString dir() const;
    QString socketPath() const;
    QString error() const { return m_error; }
    // The scheduler's error log, for failure messages.
    QString errorLog() const;

    // lpadmin -p NAME -E -v URI -m raw: an enabled raw queue that accepts jobs.
    bool addRawQueue(const QString& name, const QString& deviceUri);
    bool deleteQueue(const QString& name);
    // cupsdisable / cupsenable: the queue holds its jobs, or prints them again.
    bool stopQueue(const QString& name);
    bool startQueue(const QString& name);
    // cupsreject / cupsaccept: the queue refuses new jobs, or takes them again.
    bool rejectJobs(const QString& name);
    bool acceptJobs(const QString& name);
    // The IPP job-state of a job (3 pending ... 7 canceled, 8 aborted, 9 completed); 0 when unknown.
    int jobState(int jobId) const;
    // The ids of every job of the queue, ended ones too, oldest first.
    QList<int> jobIds(const QString& name) const;

private:
    bool runTool(const QString& program, const QStringList& arguments);
    bool writeConfiguration();
    bool writeServerBin();
    bool waitUntilAnswering();

    std::unique_ptr<QTemporaryDir> m_dir;
    CupsdProcess m_cupsd;
    QString m_error;
    QByteArray m_previousServer;
    bool m_hadPreviousServer = false;
    bool m_running = false;
};

}  // namespace test_support
