#include "usb_print_support_linux_p.h"

#include <QDir>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <linux/lp.h>
#include <sys/ioctl.h>
#include <poll.h>
#include <unistd.h>

namespace systemif {
namespace print {

namespace {

const int kStallTimeoutMs = 5000;  // a write that makes no progress for this long fails

int lpNumber(const QString& name)
{
    bool ok = false;
    const int number = name.mid(2).toInt(&ok);
    return ok && number >= 0 ? number : -1;
}

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    ~FileDescriptor()
    {
        if (m_fd >= 0) ::close(m_fd);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

}  // namespace

UsblpPrintSupport::UsblpPrintSupport(const QString& deviceDir) : m_deviceDir(deviceDir) {}

QStringList UsblpPrintSupport::printers()
{
    QStringList names = QDir(m_deviceDir).entryList({QStringLiteral("lp*")}, QDir::System | QDir::Files);
    names.erase(std::remove_if(names.begin(), names.end(), [](const QString& name) { return lpNumber(name) < 0; }),
                names.end());
    std::sort(names.begin(), names.end(),
              [](const QString& a, const QString& b) { return lpNumber(a) < lpNumber(b); });
    QStringList paths;
    for (const QString& name : names) paths << m_deviceDir + QLatin1Char('/') + name;
    return paths;
}

bool UsblpPrintSupport::write(const QString& printer, const Document& doc)
{
    if (!printers().contains(printer)) return false;
    // Non-blocking: a printer out of paper stops taking data, and the worker must get its thread back.
    FileDescriptor fd(::open(printer.toLocal8Bit().constData(), O_WRONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (fd.get() < 0) return false;
    for (int offset = 0; offset < doc.size();) {
        const ssize_t written = ::write(fd.get(), doc.data() + offset, static_cast<size_t>(doc.size() - offset));
        if (written > 0) {
            offset += static_cast<int>(written);
            continue;
        }
        if (written < 0 && errno == EINTR) continue;
        if (written == 0 || (errno != EAGAIN && errno != EWOULDBLOCK)) return false;
        pollfd ready{fd.get(), POLLOUT, 0};
        if (::poll(&ready, 1, kStallTimeoutMs) <= 0) return false;  // no progress for that long
    }
    return true;
}

bool UsblpPrintSupport::portStatus(const QString& printer, unsigned char* status)
{
    if (!printers().contains(printer)) return false;
    FileDescriptor fd(::open(printer.toLocal8Bit().constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    int value = 0;
    if (fd.get() < 0 || ::ioctl(fd.get(), LPGETSTATUS, &value) < 0) return false;
    *status = static_cast<unsigned char>(value);
    return true;
}

}  // namespace print
}  // namespace systemif

