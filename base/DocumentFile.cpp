#include "DocumentFile.h"

#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace REPORTGENERATOR {

namespace {

QString SystemReason(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

// Why no new file can be made beside `path`, which QSaveFile does not say.
QString DirectoryReason(const QString& path)
{
    const QFileInfo directory(QFileInfo(path).absolutePath());
    if (!directory.exists())
        return SystemReason(ENOENT);
    if (!directory.isDir())
        return SystemReason(ENOTDIR);
    if (!directory.isWritable())
        return SystemReason(EACCES);
    return QString();
}

// Writes all of `bytes` to a file descriptor; the system's reason when it cannot.
QString WriteAll(int fd, const QByteArray& bytes)
{
    const char* next = bytes.constData();
    qint64 left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, next, static_cast<size_t>(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return SystemReason(errno);
        }
        next += written;
        left -= written;
    }
    return QString();
}

// A Qt error text, unless Qt had none to give: then the system's.
QString Reason(const QString& qtReason, int error)
{
    if (!qtReason.isEmpty() && qtReason != QLatin1String("Unknown error"))
        return qtReason;
    return SystemReason(error ? error : EIO);
}

} // namespace

bool WriteDocumentFile(const QString& path, const QByteArray& bytes, QString* fault,
                       QStringList* warnings)
{
    const auto fail = [&](const QString& why) {
        if (fault)
            *fault = QStringLiteral("Cannot write '%1': %2").arg(path, why);
        return false;
    };
    const QByteArray local = QFile::encodeName(path);
    struct stat before {
    };
    const bool existed = ::stat(local.constData(), &before) == 0;
    if (existed && S_ISDIR(before.st_mode))
        return fail(SystemReason(EISDIR));
    if (existed && !S_ISREG(before.st_mode)) {
        // A device or a pipe cannot be replaced, and must not be: it is written in place.
        const int fd = ::open(local.constData(), O_WRONLY | O_CLOEXEC);
        if (fd < 0)
            return fail(SystemReason(errno));
        const QString why = WriteAll(fd, bytes);
        ::close(fd);
        return why.isEmpty() ? true : fail(why);
    }
    // QSaveFile refuses a file it may not write in words of its own: the system's are wanted.
    if (existed && ::access(local.constData(), W_OK) != 0)
        return fail(SystemReason(errno));
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) {
        const int error = errno;
        const QString why = DirectoryReason(path);
        return fail(why.isEmpty() ? Reason(file.errorString(), error) : why);
    }
    const int fd = file.handle();
    if (existed) {
        // The new file takes the old one's owner, group and mode, as far as it may.
        if (::fchown(fd, before.st_uid, before.st_gid) != 0) {
            const int error = errno;
            // Giving the file away is not allowed, but keeping its group may be (a group the
            // user belongs to); whatever fails here, the file is written.
            const int groupKept = ::fchown(fd, static_cast<uid_t>(-1), before.st_gid);
            static_cast<void>(groupKept);
            struct stat now {
            };
            if (warnings && ::fstat(fd, &now) == 0)
                warnings->append(
                    QStringLiteral("'%1' could not keep its owner and group %2:%3 (%4); "
                                   "they are now %5:%6")
                        .arg(path)
                        .arg(before.st_uid)
                        .arg(before.st_gid)
                        .arg(SystemReason(error))
                        .arg(now.st_uid)
                        .arg(now.st_gid));
        }
        ::fchmod(fd, before.st_mode & 07777);
    }
    const QString why = WriteAll(fd, bytes);
    if (!why.isEmpty()) {
        file.cancelWriting();
        return fail(why);
    }
    errno = 0;
    if (!file.commit())
        return fail(Reason(file.errorString(), errno));
    return true;
}

DocumentLock::DocumentLock(const QString& path)
    : m_path(path)
{
    // Whichever name a program edits the file by, the lock is the same: the one beside the
    // file itself.
    const QFileInfo info(path);
    const QString file = info.exists() ? info.canonicalFilePath() : info.absoluteFilePath();
    m_lockFileName = file + QStringLiteral(".lock");
    m_lock = std::make_unique<QLockFile>(m_lockFileName);
    // A lock whose process died is taken over at once. One that names no process (its
    // process was killed before it wrote its name) is taken over once it is a second old:
    // the holder's lock on the open lock file (flock) keeps a living holder's lock, whatever
    // its age, from being taken.
    m_lock->setStaleLockTime(1000);
}

DocumentLock::~DocumentLock() = default;

bool DocumentLock::Acquire(int milliseconds, QString* fault)
{
    if (m_lock->isLocked())
        return true;
    if (m_lock->tryLock(milliseconds < 0 ? 0 : milliseconds))
        return true;
    if (!fault)
        return false;
    qint64 pid = 0;
    QString host;
    QString application;
    if (m_lock->error() == QLockFile::LockFailedError &&
        m_lock->getLockInfo(&pid, &host, &application)) {
        *fault =
            QStringLiteral("Cannot lock '%1': it is being edited by process %2 (%3) on %4; "
                           "waited %5 ms")
                .arg(m_path)
                .arg(pid)
                .arg(application.isEmpty() ? QStringLiteral("unknown program") : application, host)
                .arg(milliseconds);
    } else if (m_lock->error() == QLockFile::LockFailedError) {
        // Its holder was killed before it wrote its name, or is just writing it.
        *fault =
            QStringLiteral("Cannot lock '%1': its lock file '%2' names no holder; waited %3 ms")
                .arg(m_path, m_lockFileName)
                .arg(milliseconds);
    } else {
        const QString why = DirectoryReason(m_path);
        *fault = QStringLiteral("Cannot lock '%1': %2")
                     .arg(m_path, why.isEmpty() ? SystemReason(errno ? errno : EIO) : why);
    }
    return false;
}

bool DocumentLock::IsLocked() const
{
    return m_lock->isLocked();
}

QString DocumentLock::LockFileName() const
{
    return m_lockFileName;
}

} // namespace REPORTGENERATOR
