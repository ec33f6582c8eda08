#include "cupsd_harness.h"

#include <algorithm>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QStandardPaths>
#include <QThread>

#include <cups/cups.h>

#include <csignal>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace test_support {

namespace {

const int kStartTimeoutMs = 20000;
const int kToolTimeoutMs = 30000;

QString findProgram(const QString& name)
{
    const QString inPath = QStandardPaths::findExecutable(name);
    if (!inPath.isEmpty()) return inPath;
    return QStandardPaths::findExecutable(name, {"/usr/sbin", "/usr/local/sbin", "/sbin"});
}

bool socketAnswers(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (name.size() >= int(sizeof address.sun_path)) return false;
    qstrcpy(address.sun_path, name.constData());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected = fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0) ::close(fd);
    return connected;
}

}  // namespace

void CupsdProcess::setupChildProcess()
{
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
}

QString CupsdHarness::unavailableReason()
{
    for (const char* program : {"cupsd", "lpadmin", "cupsdisable", "cupsenable", "cupsaccept", "cupsreject"})
        if (findProgram(program).isEmpty())
            return QStringLiteral("%1 not found (install cups-daemon and cups-client)").arg(program);
    return {};
}

QString CupsdHarness::socketUri(int port)
{
    return QStringLiteral("socket://127.0.0.1:%1").arg(port);
}

QString CupsdHarness::escposUri(int port)
{
    return QStringLiteral("escpos://127.0.0.1:%1").arg(port);
}

CupsdHarness::CupsdHarness() = default;

CupsdHarness::~CupsdHarness()
{
    stop();
}

QString CupsdHarness::dir() const
{
    return m_dir ? m_dir->path() : QString();
}

QString CupsdHarness::socketPath() const
{
    return dir() + QStringLiteral("/cups.sock");
}

QString CupsdHarness::errorLog() const
{
    QFile log(dir() + QStringLiteral("/log/error_log"));
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll()) : QString();
}

bool CupsdHarness::writeConfiguration()
{
    const QString root = dir();
    for (const char* sub : {"etc", "spool", "cache", "state", "tmp", "log"}) {
        if (!QDir(root).mkpath(sub)) {
            m_error = QStringLiteral("cannot make %1/%2").arg(root, sub);
            return false;
        }
    }
    // The backends run as "lp" and must reach the spool directory below this one.
    ::chmod(QFile::encodeName(root).constData(), 0755);
    if (!writeServerBin()) return false;

    const QString cupsd = QStringLiteral(
                              "Listen %1/cups.sock\n"
                              "LogLevel debug\n"
                              "Browsing Off\n"
                              "WebInterface No\n"
                              "DefaultAuthType None\n"
                              "<Location />\n  Order allow,deny\n  Allow all\n</Location>\n"
                              "<Policy default>\n  <Limit All>\n    Order deny,allow\n  </Limit>\n</Policy>\n")
                              .arg(root);
    const QString files = QStringLiteral(
                              "ServerRoot %1/etc\n"
                              "ServerBin %1/lib\n"
                              "RequestRoot %1/spool\n"
                              "CacheDir %1/cache\n"
                              "StateDir %1/state\n"
                              "TempDir %1/tmp\n"
                              "ErrorLog %1/log/error_log\n"
                              "AccessLog %1/log/access_log\n"
                              "PageLog %1/log/page_log\n")
                              .arg(root);
    for (const auto& [name, text] : {std::make_pair(QStringLiteral("cupsd.conf"), cupsd),
                                     std::make_pair(QStringLiteral("cups-files.conf"), files)}) {
        QFile file(root + QStringLiteral("/etc/") + name);
        if (!file.open(QIODevice::WriteOnly) || file.write(text.toUtf8()) != text.toUtf8().size()) {
            m_error = QStringLiteral("cannot write %1").arg(file.fileName());
            return false;
        }
    }
    return true;
}

bool CupsdHarness::writeServerBin()
{
    // The machine's CUPS programs, and beside its backends the escpos backend of this build.
    const QString lib = dir() + QStringLiteral("/lib");
    const QString system = QStringLiteral("/usr/lib/cups");
    if (!QDir().mkpath(lib + QStringLiteral("/backend"))) {
        m_error = QStringLiteral("cannot make %1/backend").arg(lib);
        return false;
    }
    for (const QString& sub : QDir(system).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (sub != QLatin1String("backend")) QFile::link(system + QLatin1Char('/') + sub, lib + QLatin1Char('/') + sub);
    const QDir backends(system + QStringLiteral("/backend"));
    for (const QString& name : backends.entryList(QDir::Files | QDir::System))
        QFile::link(backends.filePath(name), lib + QStringLiteral("/backend/") + name);
    const QString escpos = lib + QStringLiteral("/backend/escpos");
    if (!QFile::copy(QStringLiteral(SB_ESCPOS_BACKEND), escpos) ||
        ::chmod(QFile::encodeName(escpos).constData(), 0755) != 0) {
        m_error = QStringLiteral("cannot install the escpos backend in %1").arg(escpos);
        return false;
    }
    return true;
}

bool CupsdHarness::start()
{
    if (m_running) return true;
    m_error = unavailableReason();
    if (!m_error.isEmpty()) return false;
    m_dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + QStringLiteral("/sb-cupsd-XXXXXX"));
    if (!m_dir->isValid()) {
        m_error = QStringLiteral("cannot make a temporary directory");
        return false;
    }
    if (!writeConfiguration()) return false;

    m_cupsd.setProgram(findProgram(QStringLiteral("cupsd")));
    m_cupsd.setArguments({"-f", "-c", dir() + "/etc/cupsd.conf", "-s", dir() + "/etc/cups-files.conf"});
    m_cupsd.setProcessChannelMode(QProcess::MergedChannels);
    m_cupsd.start();
    if (!m_cupsd.waitForStarted(kStartTimeoutMs)) {
        m_error = QStringLiteral("cupsd did not start: ") + m_cupsd.errorString();
        return false;
    }
    m_running = true;
    if (!waitUntilAnswering()) {
        stop();
        return false;
    }
    m_hadPreviousServer = qEnvironmentVariableIsSet("CUPS_SERVER");
    m_previousServer = qgetenv("CUPS_SERVER");
    qputenv("CUPS_SERVER", QFile::encodeName(socketPath()));
    // libcups keeps the server name per thread once asked; this thread may have asked already.
    cupsSetServer(QFile::encodeName(socketPath()).constData());
    return true;
}

bool CupsdHarness::waitUntilAnswering()
{
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < kStartTimeoutMs) {
        if (socketAnswers(socketPath())) return true;
        if (m_cupsd.state() == QProcess::NotRunning) {
            m_error = QStringLiteral("cupsd exited: ") + QString::fromLocal8Bit(m_cupsd.readAll()) + errorLog();
            return false;
        }
        QThread::msleep(20);
    }
    m_error = QStringLiteral("cupsd did not answer on ") + socketPath() + QStringLiteral("\n") + errorLog();
    return false;
}

void CupsdHarness::stop()
{
    if (!m_running) return;
    m_running = false;
    m_cupsd.terminate();
    if (!m_cupsd.waitForFinished(10000)) {
        m_cupsd.kill();
        m_cupsd.waitForFinished(5000);
    }
    if (m_hadPreviousServer)
        qputenv("CUPS_SERVER", m_previousServer);
    else
        qunsetenv("CUPS_SERVER");
    cupsSetServer(nullptr);
}

bool CupsdHarness::freeze()
{
    return m_running && ::kill(static_cast<pid_t>(m_cupsd.processId()), SIGSTOP) == 0;
}

bool CupsdHarness::thaw()
{
    return m_running && ::kill(static_cast<pid_t>(m_cupsd.processId()), SIGCONT) == 0;
}

bool CupsdHarness::runTool(const QString& program, const QStringList& arguments)
{
    QProcess tool;
    tool.setProcessChannelMode(QProcess::MergedChannels);
    tool.start(findProgram(program), QStringList{"-h", socketPath()} + arguments);
    if (!tool.waitForFinished(kToolTimeoutMs) || tool.exitStatus() != QProcess::NormalExit || tool.exitCode() != 0) {
        m_error = program + QLatin1Char(' ') + arguments.join(QLatin1Char(' ')) + QStringLiteral(": ") +
                  QString::fromLocal8Bit(tool.readAll()).trimmed();
        return false;
    }
    return true;
}

bool CupsdHarness::addRawQueue(const QString& name, const QString& deviceUri)
{
    return runTool(QStringLiteral("lpadmin"), {"-p", name, "-E", "-v", deviceUri, "-m", "raw"});
}

bool CupsdHarness::deleteQueue(const QString& name)
{
    return runTool(QStringLiteral("lpadmin"), {"-x", name});
}

bool CupsdHarness::stopQueue(const QString& name)
{
    return runTool(QStringLiteral("cupsdisable"), {name});
}

bool CupsdHarness::startQueue(const QString& name)
{
    return runTool(QStringLiteral("cupsenable"), {name});
}

bool CupsdHarness::rejectJobs(const QString& name)
{
    return runTool(QStringLiteral("cupsreject"), {name});
}

bool CupsdHarness::acceptJobs(const QString& name)
{
    return runTool(QStringLiteral("cupsaccept"), {name});
}

int CupsdHarness::jobState(int jobId) const
{
    http_t* http = httpConnect2(QFile::encodeName(socketPath()).constData(), 0, nullptr, AF_UNSPEC,
                                HTTP_ENCRYPTION_IF_REQUESTED, 1, 5000, nullptr);
    if (!http) return 0;
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", 0, "/jobs/%d", jobId);
    ipp_t* request = ippNewRequest(IPP_OP_GET_JOB_ATTRIBUTES);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "job-uri", nullptr, uri);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    ipp_t* response = cupsDoRequest(http, request, "/");
    ipp_attribute_t* state = response ? ippFindAttribute(response, "job-state", IPP_TAG_ENUM) : nullptr;
    const int value = state ? ippGetInteger(state, 0) : 0;
    ippDelete(response);
    httpClose(http);
    return value;
}

QList<int> CupsdHarness::jobIds(const QString& name) const
{
    QList<int> ids;
    http_t* http = httpConnect2(QFile::encodeName(socketPath()).constData(), 0, nullptr, AF_UNSPEC,
                                HTTP_ENCRYPTION_IF_REQUESTED, 1, 5000, nullptr);
    if (!http) return ids;
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", 0, "/printers/%s",
                     name.toUtf8().constData());
    ipp_t* request = ippNewRequest(IPP_OP_GET_JOBS);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, uri);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "which-jobs", nullptr, "all");
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "job-id");
    ipp_t* response = cupsDoRequest(http, request, "/");
    for (ipp_attribute_t* attr = response ? ippFindAttribute(response, "job-id", IPP_TAG_INTEGER) : nullptr; attr;
         attr = ippFindNextAttribute(response, "job-id", IPP_TAG_INTEGER))
        ids << ippGetInteger(attr, 0);
    ippDelete(response);
    httpClose(http);
    std::sort(ids.begin(), ids.end());
    return ids;
}

}  // namespace test_support
