#pragma once
// A receipt printer on the network, for tests and for trying the client without paper: it listens on
// 127.0.0.1 as a real printer listens on port 9100, takes one job per connection, and saves each job's
// bytes as DIR/job-0001.bin, DIR/job-0002.bin, ... A job ends when the peer stops sending (it closes or
// half-closes the connection) or after an idle gap with no data; the printer then closes the connection,
// as a real one does. Like a real one it answers real-time status requests (DLE EOT 1 to 4) as their
// bytes arrive, from its status, and does not print them.
//
// Faults on demand, also while it runs:
//   hang        connections are accepted and never read, nor closed (a printer that is jammed or out of
//               paper); when the hang ends, by a call or after the time given, what those connections sent
//               is read and printed, as a printer prints its buffer once it is cleared
//   stall N     each connection is read for its first N bytes only, then hangs (a jam in mid-job)
//   close late  after the peer has sent its last byte the printer waits a while before it closes the
//               connection (one that is slow to say it is done)
//   refuse      the listening socket is closed, so connections are refused (a printer switched off); when
//               the refusal ends, the same port is listened on again
//
// Serving runs on a thread of its own; every member function is safe to call from any thread.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace virtual_printer {

// What the printer answers to status requests.
enum class Status { Ready, PaperNearEnd, PaperOut, CoverOpen, Offline, Error, Silent };
// "ready", "paper-near-end", "paper-out", "cover-open", "offline", "error", "silent".
const char* statusName(Status status);
bool statusFromName(const std::string& name, Status* status);
// The byte a printer in that status answers to DLE EOT n (n from 1 to 4); -1 for none (silent).
int statusAnswer(Status status, int n);

struct Options {
    int port = 0;                                  // 0: a free port, chosen at start
    std::string outDir;                            // made when missing
    bool hang = false;
    std::chrono::milliseconds resumeAfter{0};      // a hang ends by itself after this long; 0: never
    long long stallAfter = -1;                     // bytes read of each connection before it hangs; -1: all
    std::chrono::milliseconds closeDelay{0};       // wait after the last byte before closing
    bool refuse = false;
    bool oneAtATime = false;                       // serve one connection at a time, as many receipt printers do
    Status status = Status::Ready;
    std::chrono::milliseconds idleGap{1000};       // a job ends after this long without data
};

struct SavedJob {
    int number = 0;        // 1 for job-0001.bin
    std::string path;
    long long size = 0;    // bytes
};

class VirtualPrinter {
public:
    explicit VirtualPrinter(const Options& options);
    // Stops serving; connections still open are dropped and what they sent is not saved.
    ~VirtualPrinter();
    VirtualPrinter(const VirtualPrinter&) = delete;
    VirtualPrinter& operator=(const VirtualPrinter&) = delete;

    // Called on the printer's thread after each job has been saved (a receipt preview, a log line).
    // Set it before start.
    void setJobHandler(std::function<void(const SavedJob&)> handler);

    // Binds the port (also when refusing, to learn and keep it) and starts serving. False with a message
    // in `error` when the directory cannot be made or the port cannot be bound. Numbering continues after
    // the jobs already in the directory.
    bool start(std::string* error);
    void stop();

    int port() const;
    // Hangs or resumes; a hang with a positive `resumeAfter` ends by itself.
    void setHang(bool hang, std::chrono::milliseconds resumeAfter = std::chrono::milliseconds(0));
    bool hanging() const;
    // Connections accepted from now on hang after `bytes` (-1: never).
    void setStallAfter(long long bytes);
    // Connections close this long after their last byte.
    void setCloseDelay(std::chrono::milliseconds delay);
    void setStatus(Status status);
    // False with a message in `error` when the port cannot be listened on again.
    bool setRefuse(bool refuse, std::string* error = nullptr);
    bool refusing() const;

    // Jobs saved since start.
    int jobCount() const;
    // Connections accepted since start, hung ones included.
    int connectionCount() const;
    // Waits until at least `count` jobs have been saved; false on timeout.
    bool waitForJobs(int count, std::chrono::milliseconds timeout) const;
    // Waits until at least `count` connections have been accepted; false on timeout.
    bool waitForConnections(int count, std::chrono::milliseconds timeout) const;

private:
    class Server;
    std::unique_ptr<Server> m_server;
};

}  // namespace virtual_printer
