#include "json_document_p.h"

#include "utility_business/json_document.h"
#include "utility_business/log.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using utility_business::JsonDocument;
namespace json_save = utility_business::json_save;
namespace log = utility_business::log;

namespace {

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

mode_t modeOf(const QString& path)
{
    struct stat st;
    return ::stat(QFile::encodeName(path).constData(), &st) == 0 ? (st.st_mode & 07777) : 0;
}

QStringList entriesOf(const QString& dir)
{
    return QDir(dir).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
}

// Installs file operations for one test and restores the real ones afterwards.
class ScopedFileOps {
public:
    explicit ScopedFileOps(const json_save::FileOps& ops) : m_ops(ops) { json_save::setFileOpsForTesting(&m_ops); }
    ~ScopedFileOps() { json_save::setFileOpsForTesting(nullptr); }

private:
    json_save::FileOps m_ops;
};

// A device that takes 5 bytes and then reports itself full.
ssize_t writeUntilFull(int fd, const void* data, size_t size)
{
    static thread_local size_t taken = 0;
    if (taken >= 5) {
        taken = 0;
        errno = ENOSPC;
        return -1;
    }
    const size_t now = std::min<size_t>(size, 5 - taken);
    taken += now;
    return ::write(fd, data, now);
}

// Every other call is interrupted by a signal.
ssize_t writeInterruptedOnce(int fd, const void* data, size_t size)
{
    static thread_local bool interrupted = false;
    errno = EINTR;
    return (interrupted = !interrupted) ? -1 : ::write(fd, data, size);
}

// What the directory held while a save was under way, seen from its sync call.
QString g_watchedDir;
QStringList g_seenDuringSave;
int fsyncRecordingDirectory(int fd)
{
    g_seenDuringSave = entriesOf(g_watchedDir);
    return ::fsync(fd);
}

const QByteArray kOldText = "{\n    \"old\": true\n}\n";

class JsonDocumentSave : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        m_path = m_dir.filePath(QStringLiteral("Settings-App.json"));
    }

    QTemporaryDir m_dir;
    QString m_path;
    const JsonDocument m_doc{QStringLiteral("{\"sn\":\"A1\",\"print\":{\"printers\":{\"0\":{\"width\":\"58mm\"}}}}")};
};

}  // namespace

// The indented form itself is pinned down by the text tests; a save writes exactly it and a final newline.
TEST_F(JsonDocumentSave, WritesIndentedTextWithFinalNewlineAndLeavesOnlyTheFile)
{
    ASSERT_TRUE(m_doc.toFile(m_path));
    EXPECT_EQ(readFile(m_path), m_doc.toString().toUtf8() + '\n');
    EXPECT_TRUE(readFile(m_path).startsWith("{\n    \"sn\": \"A1\",\n    \"print\": {\n"));
    EXPECT_EQ(entriesOf(m_dir.path()), QStringList{"Settings-App.json"});
}

TEST_F(JsonDocumentSave, NewFileFollowsTheUmaskAndReplacedFileKeepsItsMode)
{
    const mode_t previous = ::umask(027);
    const bool saved = m_doc.toFile(m_path);
    ::umask(previous);
    ASSERT_TRUE(saved);
    EXPECT_EQ(modeOf(m_path), 0640u);

    writeFile(m_path, kOldText);
    ASSERT_EQ(::chmod(QFile::encodeName(m_path).constData(), 0604), 0);
    ASSERT_TRUE(m_doc.toFile(m_path));
    EXPECT_EQ(modeOf(m_path), 0604u);
    EXPECT_TRUE(readFile(m_path).startsWith("{\n    \"sn\": \"A1\""));
}

TEST_F(JsonDocumentSave, SymbolicLinkStaysAndItsTargetIsReplaced)
{
    const QString real = m_dir.filePath(QStringLiteral("real.json"));
    writeFile(real, kOldText);
    ASSERT_TRUE(QFile::link(real, m_path));
    ASSERT_TRUE(m_doc.toFile(m_path));
    EXPECT_TRUE(QFileInfo(m_path).isSymLink());
    EXPECT_TRUE(readFile(real).startsWith("{\n    \"sn\": \"A1\""));
}

TEST_F(JsonDocumentSave, TemporaryFileSitsBesideTargetUnderRecognisableName)
{
    g_watchedDir = m_dir.path();
    g_seenDuringSave.clear();
    {
        ScopedFileOps ops({::write, fsyncRecordingDirectory});
        ASSERT_TRUE(m_doc.toFile(m_path));
    }
    ASSERT_EQ(g_seenDuringSave.size(), 1);
    const QString temporary = g_seenDuringSave.first();
    EXPECT_TRUE(temporary.startsWith(QStringLiteral(".Settings-App.json.tmp-"))) << temporary.toStdString();
    EXPECT_TRUE(json_save::isTemporaryFileName(temporary));
    EXPECT_EQ(entriesOf(m_dir.path()), QStringList{"Settings-App.json"});
}

TEST_F(JsonDocumentSave, ShortAndInterruptedWritesStillSaveEverything)
{
    const QByteArray expected = m_doc.toString().toUtf8() + '\n';
    using Write = ssize_t (*)(int, const void*, size_t);
    const Write oneByte = [](int fd, const void* data, size_t size) { return ::write(fd, data, size ? 1 : 0); };
    for (const Write write : {oneByte, &writeInterruptedOnce}) {
        writeFile(m_path, kOldText);
        ScopedFileOps ops({write, ::fsync});
        ASSERT_TRUE(m_doc.toFile(m_path));
        EXPECT_EQ(readFile(m_path), expected);
    }
}

// The failure paths: each must leave the old file byte for byte, remove its temporary and say why.
TEST_F(JsonDocumentSave, FailedWriteOrSyncKeepsOldFileAndRemovesTemporary)
{
    const struct {
        json_save::FileOps ops;
        std::string logged;
    } cases[] = {
        {{writeUntilFull, ::fsync}, "failed at writing: " + std::string(std::strerror(ENOSPC))},
        {{[](int, const void*, size_t) -> ssize_t { return 0; }, ::fsync}, "failed at writing"},  // no progress: full
        {{::write, [](int) { return errno = EIO, -1; }}, "failed at syncing"},
    };
    for (const auto& c : cases) {
        writeFile(m_path, kOldText);
        log::Capture capture;
        {
            ScopedFileOps ops(c.ops);
            EXPECT_FALSE(m_doc.toFile(m_path)) << c.logged;
        }
        EXPECT_EQ(readFile(m_path), kOldText);
        EXPECT_EQ(entriesOf(m_dir.path()), QStringList{"Settings-App.json"});
        EXPECT_TRUE(capture.containsText(c.logged)) << c.logged;
    }
}

TEST_F(JsonDocumentSave, FailedRenameOrMissingDirectoryLeavesNoTemporary)
{
    EXPECT_FALSE(m_doc.toFile(m_dir.filePath(QStringLiteral("no/such/Settings-App.json"))));
    EXPECT_FALSE(m_doc.toFile(QString()));
    EXPECT_TRUE(entriesOf(m_dir.path()).isEmpty());
    ASSERT_TRUE(QDir(m_dir.path()).mkpath(QStringLiteral("Settings-App.json/inside")));  // a directory in the way
    EXPECT_FALSE(m_doc.toFile(m_path));
    EXPECT_EQ(entriesOf(m_dir.path()), QStringList{"Settings-App.json"});
    EXPECT_TRUE(QFileInfo(m_path).isDir());
}

// A real small file system, so that the kernel itself reports the full disk and the read-only mount;
// root ignores file modes, so a mount is the only honest way to refuse a root writer.
class JsonDocumentSaveOnTmpfs : public JsonDocumentSave {
protected:
    void SetUp() override
    {
        JsonDocumentSave::SetUp();
        m_mount = m_dir.filePath(QStringLiteral("mnt"));
        ASSERT_TRUE(QDir().mkpath(m_mount));
        if (::mount("tmpfs", QFile::encodeName(m_mount).constData(), "tmpfs", 0, "size=16k") != 0)
            GTEST_SKIP() << "cannot mount a tmpfs here (" << std::strerror(errno) << "); needs root in a namespace that allows mounts";
        m_mounted = true;
        m_path = m_mount + QStringLiteral("/Settings-App.json");
        writeFile(m_path, kOldText);
    }
    void TearDown() override
    {
        if (m_mounted) ::umount2(QFile::encodeName(m_mount).constData(), MNT_DETACH);
    }

    QString m_mount;
    bool m_mounted = false;
};

TEST_F(JsonDocumentSaveOnTmpfs, FullFileSystemKeepsOldFile)
{
    JsonDocument big;
    ASSERT_TRUE(big.setString({"filler"}, QString(64 * 1024, QLatin1Char('x'))));
    EXPECT_FALSE(big.toFile(m_path));
    EXPECT_EQ(readFile(m_path), kOldText);
    EXPECT_EQ(entriesOf(m_mount), QStringList{"Settings-App.json"});
    EXPECT_TRUE(m_doc.toFile(m_path));  // the space was given back
}

TEST_F(JsonDocumentSaveOnTmpfs, ReadOnlyFileSystemKeepsOldFile)
{
    ASSERT_EQ(::mount("tmpfs", QFile::encodeName(m_mount).constData(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=16k"), 0)
        << std::strerror(errno);
    EXPECT_FALSE(m_doc.toFile(m_path));
    EXPECT_EQ(readFile(m_path), kOldText);
    EXPECT_EQ(entriesOf(m_mount), QStringList{"Settings-App.json"});
}

TEST(JsonDocumentStaleTemporaries, RemovesOnlyAbandonedFilesNamedLikeSaveTemporaries)
{
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    const QStringList names = {".Settings-App.json.tmp-Ab3dE9", ".x.tmp-12345", ".x.tmp-1234567", "x.tmp-ABCDEF",
                               "Settings-App.json", ".Settings-Env.json.tmp-zzzzzz", ".Settings-Env.json.tmp-Locked"};
    for (const QString& name : names) writeFile(dir.filePath(name), "{}");
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral(".dir.json.tmp-AAAAAA")));
    // A save under way holds the lock on its temporary.
    const int writer = ::open(QFile::encodeName(dir.filePath(names.last())).constData(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(writer, LOCK_EX), 0);

    EXPECT_EQ(JsonDocument::removeStaleTemporaryFiles(dir.path()), 2);
    ::close(writer);
    EXPECT_EQ(entriesOf(dir.path()), (QStringList{".Settings-Env.json.tmp-Locked", ".dir.json.tmp-AAAAAA", ".x.tmp-12345",
                                                  ".x.tmp-1234567", "Settings-App.json", "x.tmp-ABCDEF"}));
    EXPECT_EQ(JsonDocument::removeStaleTemporaryFiles(dir.filePath(QStringLiteral("missing"))), 0);
}
