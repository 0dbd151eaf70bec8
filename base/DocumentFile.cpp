#include "DocumentFile.h"
#include "IRGObject.h"

#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSaveFile>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <grp.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
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

// "nobody:nogroup (65534:65534)": names where the system has them, always the numbers.
QString OwnerText(uid_t uid, gid_t gid)
{
    std::vector<char> buffer(16384);
    QString user = QString::number(uid);
    struct passwd account {
    };
    struct passwd* foundUser = nullptr;
    if (::getpwuid_r(uid, &account, buffer.data(), buffer.size(), &foundUser) == 0 && foundUser)
        user = QString::fromLocal8Bit(foundUser->pw_name);
    QString group = QString::number(gid);
    struct group entry {
    };
    struct group* foundGroup = nullptr;
    if (::getgrgid_r(gid, &entry, buffer.data(), buffer.size(), &foundGroup) == 0 && foundGroup)
        group = QString::fromLocal8Bit(foundGroup->gr_name);
    return QStringLiteral("%1:%2 (%3:%4)").arg(user, group).arg(uid).arg(gid);
}

// The names of a file's extended attributes; false, with errno, when they cannot be listed.
// A file system without them has none.
bool AttributeNames(const char* path, int fd, std::vector<QByteArray>& names)
{
    names.clear();
    for (;;) {
        const ssize_t size = path ? ::listxattr(path, nullptr, 0) : ::flistxattr(fd, nullptr, 0);
        if (size <= 0)
            return size == 0 || errno == ENOTSUP;
        QByteArray list(static_cast<int>(size), Qt::Uninitialized);
        const ssize_t got = path ? ::listxattr(path, list.data(), list.size())
                                 : ::flistxattr(fd, list.data(), list.size());
        if (got < 0 && errno == ERANGE)
            continue; // it grew meanwhile
        if (got < 0)
            return false;
        for (const QByteArray& name : list.left(static_cast<int>(got)).split('\0'))
            if (!name.isEmpty())
                names.push_back(name);
        return true;
    }
}

// An extended attribute's value; false, with errno, when it cannot be read.
bool AttributeValue(const char* path, int fd, const QByteArray& name, QByteArray& value)
{
    for (;;) {
        const ssize_t size = path ? ::getxattr(path, name.constData(), nullptr, 0)
                                  : ::fgetxattr(fd, name.constData(), nullptr, 0);
        if (size < 0)
            return false;
        value.resize(static_cast<int>(size));
        const ssize_t got = path ? ::getxattr(path, name.constData(), value.data(), value.size())
                                 : ::fgetxattr(fd, name.constData(), value.data(), value.size());
        if (got < 0 && errno == ERANGE)
            continue;
        if (got < 0)
            return false;
        value.resize(static_cast<int>(got));
        return true;
    }
}

// Gives the new file at `fd` the extended attributes of the file at `path`, its access
// control list (system.posix_acl_access) among them, and none that the old one lacks (a
// directory's default list hands one to every new file). Returns the fault, or empty.
QString KeepAttributes(const char* path, int fd)
{
    const auto fault = [](const QByteArray& name, int error) {
        return QStringLiteral("its extended attribute '%1' cannot be kept: %2")
            .arg(QString::fromLatin1(name), SystemReason(error));
    };
    std::vector<QByteArray> old;
    if (!AttributeNames(path, -1, old))
        return QStringLiteral("its extended attributes cannot be listed: %1")
            .arg(SystemReason(errno));
    std::vector<QByteArray> fresh;
    if (!AttributeNames(nullptr, fd, fresh))
        return QStringLiteral("the new file's extended attributes cannot be listed: %1")
            .arg(SystemReason(errno));
    for (const QByteArray& name : fresh) {
        if (std::find(old.begin(), old.end(), name) != old.end())
            continue;
        if (::fremovexattr(fd, name.constData()) != 0 && errno != ENODATA)
            return QStringLiteral("the new file's extended attribute '%1' cannot be removed: %2")
                .arg(QString::fromLatin1(name), SystemReason(errno));
    }
    QByteArray value;
    QByteArray present;
    for (const QByteArray& name : old) {
        if (!AttributeValue(path, -1, name, value)) {
            if (errno == ENODATA)
                continue; // removed meanwhile
            return fault(name, errno);
        }
        // One the new file has already (a security label) need not be set, which might
        // take a privilege.
        if (AttributeValue(nullptr, fd, name, present) && present == value)
            continue;
        if (::fsetxattr(fd, name.constData(), value.constData(), static_cast<size_t>(value.size()),
                        0) != 0)
            return fault(name, errno);
    }
    return QString();
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
                warnings->append(QStringLiteral("'%1' could not keep its owner and group %2: %3; "
                                                "they are now %4")
                                     .arg(path, OwnerText(before.st_uid, before.st_gid),
                                          SystemReason(error), OwnerText(now.st_uid, now.st_gid)));
        }
        ::fchmod(fd, before.st_mode & 07777);
        // After the mode, which would otherwise narrow the access list's mask; before the
        // bytes, so that a refusal writes nothing. A file that cannot keep them is not
        // replaced: it could end up more open than it was.
        const QString why = KeepAttributes(local.constData(), fd);
        if (!why.isEmpty()) {
            file.cancelWriting();
            return fail(why);
        }
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

namespace {

// How often a waiter looks at the lock: soon at first, then every few milliseconds, so that
// it goes on within a few milliseconds of a release or of its holder's death.
constexpr int FirstPollMicroseconds = 500;
constexpr int LastPollMicroseconds = 4000;

// Sets or clears the write lock on the byte at a waiter's ticket; the lock belongs to the
// open file description, so that threads of one process wait in turn as processes do.
bool SetTicket(int fd, short type, off_t ticket)
{
    struct flock lock {
    };
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = ticket;
    lock.l_len = 1;
    return ::fcntl(fd, F_OFD_SETLK, &lock) == 0;
}

// Whether no other open file description holds a ticket from `start` on, `length` of them
// (0: all the rest). Where the system cannot tell, the waiter does not wait for others.
bool NoTicketHeld(int fd, off_t start, off_t length)
{
    struct flock probe {
    };
    probe.l_type = F_WRLCK;
    probe.l_whence = SEEK_SET;
    probe.l_start = start;
    probe.l_len = length;
    return ::fcntl(fd, F_OFD_GETLK, &probe) != 0 || probe.l_type == F_UNLCK;
}

} // namespace

// The waiters for a lock take turns, first come first served: each draws a ticket from a
// queue file beside the lock ("FILE.lock.queue") and holds a lock on the byte at its ticket
// while it waits; only the waiter whose ticket no living waiter's precedes tries the lock.
// A waiter that dies lets go of its byte with its file. The last waiter to leave removes the
// file. Without it a program that released the lock and edits again at once (a loop of
// edits) would take it again before the others had looked.
class DocumentLock::Queue
{
public:
    explicit Queue(const QString& lockFileName)
        : m_path(QFile::encodeName(lockFileName + QStringLiteral(".queue")))
    {
    }
    ~Queue() { Leave(); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    // Whether there are waiters; a new comer joins them rather than try the lock before
    // them.
    bool Exists() const { return ::access(m_path.constData(), F_OK) == 0; }

    // Draws a ticket; false where no queue can be kept (the waiter then tries the lock as
    // often as the others).
    bool Join()
    {
        for (int attempt = 0; attempt < 100 && m_fd < 0; ++attempt) {
            const int fd = ::open(m_path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
            if (fd < 0)
                return false;
            if (!Exclusive(fd)) {
                ::close(fd);
                continue; // removed by the last waiter meanwhile: a new one is made
            }
            // The next ticket is kept in the file; with no waiter left, numbers start again.
            char text[32] = {};
            const ssize_t got = ::pread(fd, text, sizeof text - 1, 0);
            off_t ticket = got > 0 ? static_cast<off_t>(std::strtoll(text, nullptr, 10)) : 0;
            if (ticket < 0 || NoTicketHeld(fd, 0, 0))
                ticket = 0;
            const QByteArray next = QByteArray::number(static_cast<qint64>(ticket) + 1);
            const bool drawn = ::ftruncate(fd, 0) == 0 &&
                               ::pwrite(fd, next.constData(), next.size(), 0) == next.size() &&
                               SetTicket(fd, F_WRLCK, ticket);
            ::flock(fd, LOCK_UN);
            if (!drawn) {
                ::close(fd);
                return false;
            }
            m_fd = fd;
            m_ticket = ticket;
        }
        return m_fd >= 0;
    }

    // Whether no living waiter came before this one.
    bool First() const { return m_fd < 0 || m_ticket == 0 || NoTicketHeld(m_fd, 0, m_ticket); }

    // Gives the ticket back; the last waiter removes the file.
    void Leave()
    {
        if (m_fd < 0)
            return;
        if (::flock(m_fd, LOCK_EX) == 0) {
            SetTicket(m_fd, F_UNLCK, m_ticket);
            if (NoTicketHeld(m_fd, 0, 0) && Same(m_fd))
                ::unlink(m_path.constData());
        }
        ::close(m_fd);
        m_fd = -1;
    }

private:
    // Takes the file's own lock, which guards the ticket count; false when the file at the
    // path is no longer the one open.
    bool Exclusive(int fd) const
    {
        if (::flock(fd, LOCK_EX) != 0)
            return false;
        if (Same(fd))
            return true;
        ::flock(fd, LOCK_UN);
        return false;
    }

    bool Same(int fd) const
    {
        struct stat open {
        };
        struct stat named {
        };
        return ::fstat(fd, &open) == 0 && ::stat(m_path.constData(), &named) == 0 &&
               open.st_dev == named.st_dev && open.st_ino == named.st_ino;
    }

    QByteArray m_path;
    int m_fd = -1;
    off_t m_ticket = 0;
};

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
    // QLockFile's own wait sleeps ever longer, up to seconds, and favours whoever asks
    // first after a release: the wait here looks every few milliseconds, in turn.
    Queue queue(m_lockFileName);
    if (!queue.Exists() && m_lock->tryLock(0))
        return true;
    QElapsedTimer timer;
    timer.start();
    const bool queued = milliseconds > 0 && queue.Join();
    int pause = FirstPollMicroseconds;
    for (;;) {
        if (!queued || queue.First()) {
            if (m_lock->tryLock(0))
                return true;
            if (m_lock->error() != QLockFile::LockFailedError)
                break;
        }
        const qint64 left = qint64(milliseconds) * 1000 - timer.nsecsElapsed() / 1000;
        if (left <= 0)
            break;
        QThread::usleep(static_cast<unsigned long>(std::min<qint64>(pause, left)));
        pause = std::min(pause * 2, LastPollMicroseconds);
    }
    queue.Leave();
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
        // Name the lock file: the document itself may be writable when its directory is not.
        const QString why = DirectoryReason(m_path);
        *fault = QStringLiteral("Cannot lock '%1': its lock file '%2' cannot be created: %3")
                     .arg(m_path, m_lockFileName,
                          why.isEmpty() ? SystemReason(errno ? errno : EIO) : why);
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

bool IRGObject::OpenForReading(QFile* file) const
{
    if (!file) {
        ReportDocumentFault(QStringLiteral("No file given"));
        return false;
    }
    if (!file->isOpen() && !file->open(QIODevice::ReadOnly)) {
        ReportDocumentFault(
            QStringLiteral("Cannot open '%1': %2").arg(file->fileName(), file->errorString()));
        return false;
    }
    return true;
}

bool IRGObject::WriteFile(const QString& path, const QByteArray& document) const
{
    QString fault;
    QStringList warnings;
    const bool written = WriteDocumentFile(path, document, &fault, &warnings);
    for (const QString& warning : warnings)
        Log(LogLevel::Warning, warning);
    if (!written)
        ReportDocumentFault(fault);
    return written;
}

} // namespace REPORTGENERATOR
