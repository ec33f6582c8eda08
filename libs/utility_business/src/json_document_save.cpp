// Atomic, durable replacement of a file: write a temporary beside it, sync it, rename it over the target and
// sync the directory. Plain POSIX calls, each checked, because a save that reports success after a full disk
// truncated it would replace a good settings file with a broken one.
#include "json_document_p.h"

#include "utility_business/json_document.h"
#include "utility_business/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace utility_business {
namespace json_save {

namespace {

const char* const kUnit = "src/json_document_save";

const FileOps kSystemOps = {::write, ::fsync};
std::atomic<const FileOps*> g_ops{&kSystemOps};

QString errnoText(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

void logFailure(const char* step, const QByteArray& path, int error)
{
    log::NormalLog("error", kUnit, __LINE__)
        << "save of " << path << " failed at " << step << ": " << errnoText(error);
}

// The file a save must replace: the target of a symbolic link, else the path itself.
QByteArray resolveTarget(const QString& path)
{
    const QByteArray encoded = QFile::encodeName(path);
    struct stat st;
    if (::lstat(encoded.constData(), &st) == 0 && S_ISLNK(st.st_mode)) {
        char resolved[PATH_MAX];
        if (::realpath(encoded.constData(), resolved)) return QByteArray(resolved);
    }
    return encoded;
}

QByteArray directoryOf(const QByteArray& path)
{
    const int slash = path.lastIndexOf('/');
    if (slash < 0) return QByteArray(".");
    if (slash == 0) return QByteArray("/");
    return path.left(slash);
}

QByteArray fileNameOf(const QByteArray& path) { return path.mid(path.lastIndexOf('/') + 1); }

// Creates ".<name>.tmp-XXXXXX" beside the target with O_EXCL, so that the process umask applies to a new
// file as it would to any other file the client creates. The file stays locked (flock) until the save ends:
// the lock tells another process's start-up that its writer is alive. A start-up may take the lock between
// our open and our flock and remove the file; such a name is given up for a new one.
int createTemporary(const QByteArray& target, QByteArray& tempPath)
{
    static const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    const QByteArray prefix = directoryOf(target) + "/." + fileNameOf(target) + ".tmp-";
    for (int attempt = 0; attempt < 100; ++attempt) {
        QByteArray candidate = prefix;
        for (int i = 0; i < 6; ++i) candidate += alphabet[QRandomGenerator::global()->bounded(62)];
        const int fd = ::open(candidate.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) return -1;
        if (fd < 0) continue;
        struct stat st;
        if (::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &st) == 0 && st.st_nlink > 0) {
            tempPath = candidate;
            return fd;
        }
        ::close(fd);
    }
    errno = EEXIST;
    return -1;
}

// Removes the temporary at `path` when no writer holds its lock; the lock is kept while unlinking so that
// a writer that opened the file meanwhile sees it unlinked and moves on to another name.
bool removeIfAbandoned(const QByteArray& path)
{
    const int fd = ::open(path.constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return false;
    struct stat held, named;
    // The name may have been renamed over the target, and reused, since it was listed: unlink only the file locked.
    const bool removed = ::flock(fd, LOCK_EX | LOCK_NB) == 0 && ::fstat(fd, &held) == 0 &&
                         ::lstat(path.constData(), &named) == 0 && held.st_ino == named.st_ino &&
                         held.st_dev == named.st_dev && ::unlink(path.constData()) == 0;
    ::close(fd);
    return removed;
}

bool writeAll(const FileOps& ops, int fd, const QByteArray& bytes)
{
    const char* data = bytes.constData();
    size_t left = static_cast<size_t>(bytes.size());
    while (left > 0) {
        const ssize_t written = ops.write(fd, data, left);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (written == 0) {  // no progress: treat as a full device rather than loop for ever
            errno = ENOSPC;
            return false;
        }
        data += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

// The rename is already durable in the file's contents; a directory that cannot be synced is logged, since
// the new name may not survive a power cut, but the save itself has happened.
void syncDirectory(const QByteArray& dir)
{
    const int fd = ::open(dir.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) {
        logFailure("opening the directory", dir, errno);
        return;
    }
    if (::fsync(fd) != 0 && errno != EINVAL) logFailure("syncing the directory", dir, errno);
    ::close(fd);
}

}  // namespace

void setFileOpsForTesting(const FileOps* ops) { g_ops.store(ops ? ops : &kSystemOps); }

bool writeFileAtomically(const QString& path, const QByteArray& bytes)
{
    const FileOps& ops = *g_ops.load();
    const QByteArray target = resolveTarget(path);
    if (target.isEmpty() || target.endsWith('/')) {
        logFailure("checking the path", target, EISDIR);
        return false;
    }

    QByteArray tempPath;
    const int fd = createTemporary(target, tempPath);
    if (fd < 0) {
        logFailure("creating the temporary file", target, errno);
        return false;
    }

    const char* step = nullptr;
    int error = 0;
    auto fail = [&](const char* what) {
        step = what;
        error = errno;
    };
    struct stat st;
    const bool replacesFile = ::stat(target.constData(), &st) == 0 && S_ISREG(st.st_mode);
    if (replacesFile && ::fchmod(fd, st.st_mode & 07777) != 0)
        fail("keeping the file mode");
    else if (!writeAll(ops, fd, bytes))
        fail("writing");
    else if (ops.fsync(fd) != 0)
        fail("syncing");
    // The rename and the removal of a failed temporary happen before the close, under the writer's lock.
    if (!step && ::rename(tempPath.constData(), target.constData()) != 0) fail("renaming");
    if (step) {
        logFailure(step, target, error);
        ::unlink(tempPath.constData());
        ::close(fd);
        return false;
    }
    // The contents are synced and renamed: a failing close no longer undoes the save.
    if (::close(fd) != 0) logFailure("closing", target, errno);
    syncDirectory(directoryOf(target));
    return true;
}

bool isTemporaryFileName(const QString& fileName)
{
    static const QRegularExpression pattern(QStringLiteral("^\\..+\\.tmp-[A-Za-z0-9]{6}$"));
    return pattern.match(fileName).hasMatch();
}

}  // namespace json_save

int JsonDocument::removeStaleTemporaryFiles(const QString& dir)
{
    int removed = 0;
    const QFileInfoList entries = QDir(dir).entryInfoList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QFileInfo& entry : entries) {
        if (entry.isSymLink() || !json_save::isTemporaryFileName(entry.fileName())) continue;
        if (json_save::removeIfAbandoned(QFile::encodeName(entry.absoluteFilePath()))) ++removed;
    }
    return removed;
}

}  // namespace utility_business
