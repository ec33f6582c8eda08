// JsonDocument::toFile: the atomic replacement and every way it can fail, each leaving the old file byte
// for byte and no temporary. The system calls come from cases/json_save.json through the save's test hook.
#include "json_document_p.h"
#include "utility_business/json_document.h"
#include "utility_business/log.h"

#include "ub_cases.h"

#include <QDir>
#include <QTemporaryDir>
#include <cerrno>
#include <cstring>
#include <map>
#include <utility>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using utility_business::JsonDocument;
namespace json_save = utility_business::json_save;

// The save's own system calls, made to misbehave once on demand: a lock taken after a stale-file cleaner
// removed the new temporary, and a mode that cannot be set.
bool g_cleanerFirst = false, g_chmodFails = false;
extern "C" int flock(int fd, int operation)
{
    char path[256] = {};
    if (std::exchange(g_cleanerFirst, false) && ::readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), path, 255) > 0)
        ::unlink(path);
    return int(::syscall(SYS_flock, fd, operation));
}
extern "C" int fchmod(int fd, mode_t mode)
{
    return std::exchange(g_chmodFails, false) ? (errno = EPERM, -1) : int(::syscall(SYS_fchmod, fd, mode));
}

namespace {

QByteArray readFile(const QString& path) { QFile f(path); return f.open(QIODevice::ReadOnly) ? f.readAll() : "<missing>"; }
void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size());
}
mode_t modeOf(const QString& path) { struct stat st; return ::stat(QFile::encodeName(path), &st) ? 0 : st.st_mode & 07777; }
QStringList entriesOf(const QString& dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

QStringList g_seenDuringSave;  // what g_watchedDir held while a save was under way
QString g_watchedDir;

const std::map<QString, ssize_t (*)(int, const void*, size_t)> kWrites = {
    {"real", ::write},
    {"oneByte", [](int fd, const void* data, size_t size) { return ::write(fd, data, size ? 1 : 0); }},
    {"interrupted", [](int fd, const void* data, size_t size) {  // every other call
         static bool interrupted = false;
         return (interrupted = !interrupted) ? (errno = EINTR, -1) : ::write(fd, data, size); }},
    {"full", [](int fd, const void* data, size_t size) {  // takes 5 bytes, then the device is full
         static size_t taken = 0;
         const size_t now = std::min<size_t>(size, 5 - taken);
         return (taken = now ? taken + now : 0) ? ::write(fd, data, now) : (errno = ENOSPC, -1); }},
    {"none", [](int, const void*, size_t) -> ssize_t { return 0; }}};
const std::map<QString, int (*)(int)> kSyncs = {
    {"real", ::fsync},
    {"fails", [](int) { return errno = EIO, -1; }},
    {"watch", [](int fd) { return g_seenDuringSave << entriesOf(g_watchedDir), ::fsync(fd); }}};  // sees the temporary

const QByteArray kOldText = "{\n    \"old\": true\n}\n";

class JsonDocumentSave : public ::testing::Test {
protected:
    bool save(const char* write, const char* sync)
    {
        m_ops = {kWrites.at(write), kSyncs.at(sync)};
        g_seenDuringSave.clear();
        g_watchedDir = m_dir.path();
        json_save::setFileOpsForTesting(&m_ops);
        const bool saved = m_doc.toFile(m_path);
        json_save::setFileOpsForTesting(nullptr);
        return saved;
    }

    QTemporaryDir m_dir;
    QString m_path = m_dir.filePath(QStringLiteral("Settings-App.json"));
    json_save::FileOps m_ops{};
    const JsonDocument m_doc{QStringLiteral("{\"sn\":\"A1\",\"print\":{\"printers\":{\"0\":{\"width\":\"58mm\"}}}}")};
    const QByteArray m_text = m_doc.toString().toUtf8() + '\n';  // the indented form and a final newline
};

class JsonDocumentSaveCase : public JsonDocumentSave, public ::testing::WithParamInterface<int> {};
UB_CASE_TABLE(JsonDocumentSaveCase, QStringLiteral(UB_CASES_DIR "/json_save.json"));

// A row saves over an old file ("new": none; "link": a symbolic link to it) under a umask; a new file follows
// the umask, a replaced one or a link's target keeps its mode. A failure logs the step and the system's
// reason; the exact wording is in the table once.
TEST_P(JsonDocumentSaveCase, SavesEverythingOrKeepsTheOldFileAndLeavesNoTemporary)
{
    const QJsonObject row = tableRows(QStringLiteral(UB_CASES_DIR "/json_save.json"))[GetParam()].toObject();
    const auto octal = [&](const char* key, const char* otherwise) {
        return mode_t(row[QLatin1String(key)].toString(QLatin1String(otherwise)).toUInt(nullptr, 8));
    };
    const bool link = row[QStringLiteral("link")].toBool(), saved = row[QStringLiteral("saved")].toBool(true);
    const QString target = link ? m_dir.filePath(QStringLiteral("real.json")) : m_path;
    if (!row[QStringLiteral("new")].toBool())
        writeFile(target, kOldText), ::chmod(QFile::encodeName(target).constData(), octal("old_mode", "0644"));
    ASSERT_TRUE(!link || QFile::link(target, m_path));
    utility_business::log::Capture capture;
    g_cleanerFirst = row[QStringLiteral("cleaner")].toBool(), g_chmodFails = row[QStringLiteral("chmod_fails")].toBool();
    const mode_t previous = ::umask(octal("umask", "022"));
    EXPECT_EQ(save(row[QStringLiteral("write")].toString("real").toUtf8(), row[QStringLiteral("fsync")].toString("real").toUtf8()), saved);
    ::umask(previous);
    EXPECT_EQ(readFile(target), saved ? m_text : kOldText);
    EXPECT_EQ(modeOf(target), octal("mode", ""));
    EXPECT_EQ(entriesOf(m_dir.path()), (link ? QStringList{"Settings-App.json", "real.json"} : QStringList{"Settings-App.json"}));
    const bool watched = row[QStringLiteral("fsync")] == QStringLiteral("watch");  // the temporary sits beside the target
    EXPECT_TRUE(!watched || (g_seenDuringSave.size() >= 2 && g_seenDuringSave[0].startsWith(".Settings-App.json.tmp-") &&
                             json_save::isTemporaryFileName(g_seenDuringSave[0]))) << g_seenDuringSave.join(' ').toStdString();
    const std::string logged = row[QStringLiteral("logged")].toString().toStdString();
    EXPECT_EQ(capture.records().size(), saved ? 0u : 1u);
    EXPECT_TRUE(logged.empty() || capture.contains("error", "save of " + QFile::encodeName(m_path).toStdString() + " " + logged));
}

TEST_F(JsonDocumentSave, FailedRenameOrMissingDirectoryLeavesNoTemporary)
{
    utility_business::log::Capture capture;
    EXPECT_FALSE(m_doc.toFile(m_dir.filePath(QStringLiteral("no/such/Settings-App.json"))) || m_doc.toFile(QString()));
    EXPECT_TRUE(capture.containsText("failed at creating the temporary file") && capture.containsText("failed at checking the path"));
    EXPECT_TRUE(entriesOf(m_dir.path()).isEmpty());
    ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("Settings-App.json/inside")));  // a directory in the way
    EXPECT_FALSE(m_doc.toFile(m_path));
    EXPECT_EQ(entriesOf(m_dir.path()), QStringList{"Settings-App.json"});
}

// A real small file system, so that the kernel itself reports the full disk and the read-only mount; root
// ignores file modes, so a mount is the only honest way to refuse a root writer.
TEST_F(JsonDocumentSave, FullOrReadOnlyFileSystemKeepsOldFile)
{
    const QByteArray mount = QFile::encodeName(m_dir.filePath(QStringLiteral("mnt")));
    if (!QDir().mkpath(mount) || ::mount("tmpfs", mount.constData(), "tmpfs", 0, "size=16k") != 0)
        GTEST_SKIP() << "cannot mount a tmpfs here (" << std::strerror(errno) << "); needs root where mounts are allowed";
    m_path = QFile::decodeName(mount) + "/Settings-App.json";
    writeFile(m_path, kOldText);
    JsonDocument big;
    ASSERT_TRUE(big.setString({"filler"}, QString(64 * 1024, QLatin1Char('x'))));
    EXPECT_FALSE(big.toFile(m_path));
    EXPECT_EQ(readFile(m_path), kOldText);
    EXPECT_EQ(entriesOf(m_path.section('/', 0, -2)), QStringList{"Settings-App.json"});
    EXPECT_TRUE(m_doc.toFile(m_path));  // the space was given back
    EXPECT_EQ(::mount("tmpfs", mount.constData(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=16k"), 0) << std::strerror(errno);
    EXPECT_FALSE(JsonDocument().toFile(m_path));
    EXPECT_EQ(readFile(m_path), m_text);
    ::umount2(mount.constData(), MNT_DETACH);
}

TEST(JsonDocumentStaleTemporaries, RemovesOnlyAbandonedFilesNamedLikeSaveTemporaries)
{
    QTemporaryDir dir;
    const QStringList names = {".Settings-App.json.tmp-Ab3dE9", ".x.tmp-12345", ".x.tmp-1234567", "x.tmp-ABCDEF",
                               "Settings-App.json", ".Settings-Env.json.tmp-zzzzzz", ".Settings-Env.json.tmp-Locked"};
    for (const QString& name : names) writeFile(dir.filePath(name), "{}");
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral(".dir.json.tmp-AAAAAA")));
    const int writer = ::open(QFile::encodeName(dir.filePath(names.last())).constData(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(writer, LOCK_EX), 0);  // a save under way holds the lock on its temporary
    EXPECT_EQ(JsonDocument::removeStaleTemporaryFiles(dir.path()), 2);
    ::close(writer);
    EXPECT_EQ(entriesOf(dir.path()), (QStringList{".Settings-Env.json.tmp-Locked", ".dir.json.tmp-AAAAAA", ".x.tmp-12345",
                                                  ".x.tmp-1234567", "Settings-App.json", "x.tmp-ABCDEF"}));
    EXPECT_EQ(JsonDocument::removeStaleTemporaryFiles(dir.filePath(QStringLiteral("missing"))), 0);
}

}  // namespace
