#pragma once

#include "ReportBaseExport.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <memory>

class QLockFile;

namespace REPORTGENERATOR {

/// @brief Writes a document's bytes to a file without ever destroying what was there.
///
/// A regular file (or the file a symbolic link leads to) is replaced only once every byte is
/// written and flushed (QSaveFile): a failure, or a process killed at any moment, leaves the
/// complete old file. The new file keeps the mode, owner and group of the one it replaces;
/// where the system does not allow that (an ordinary user cannot give a file to someone
/// else), the file is written all the same and @p warnings says what changed. A device or a
/// pipe is written in place. Another hard link to the file keeps the old content. The new
/// file keeps the old one's extended attributes, its access control list among them; where
/// one cannot be kept the file is not replaced, and @p fault names the attribute.
///
/// Returns false, with the fault in @p fault ("Cannot write 'f.xml': File too large"), when
/// the file cannot be written; the fault always gives the operating system's reason.
REPORTBASE_EXPORT bool WriteDocumentFile(const QString& path, const QByteArray& bytes,
                                         QString* fault, QStringList* warnings = nullptr);

/// @brief An exclusive lock on a document file, for one read-modify-write.
///
/// Programs that edit the same file (the kvt317 tool, applications through
/// IRGObject::EditFile()) serialise their edits through a lock file beside the document,
/// named after it with ".lock" added, the way KDE writes its configuration files. A lock left
/// by a process that died is taken over. The lock is released when the object goes.
///
/// Waiters look at the lock every few milliseconds and take turns in the order they came
/// (through "FILE.lock.queue" beside the lock, there while any wait), so that a program
/// editing in a loop cannot keep the lock from the others.
class REPORTBASE_EXPORT DocumentLock
{
public:
    /// How long Acquire() waits for another holder by default, in milliseconds.
    static constexpr int DefaultWait = 5000;

    /// A lock for the document at @p path (for a symbolic link, the file it leads to); not
    /// taken yet.
    explicit DocumentLock(const QString& path);
    ~DocumentLock();
    DocumentLock(const DocumentLock&) = delete;
    DocumentLock& operator=(const DocumentLock&) = delete;

    /// Takes the lock, waiting at most @p milliseconds while another process holds it.
    /// Returns false, with the fault in @p fault naming the holder (its process id, host and
    /// application) or the system's reason, when it cannot.
    bool Acquire(int milliseconds = DefaultWait, QString* fault = nullptr);
    /// Whether this object holds the lock.
    bool IsLocked() const;
    /// The lock file's path.
    QString LockFileName() const;

private:
    class Queue;

    QString m_path;
    QString m_lockFileName;
    std::unique_ptr<QLockFile> m_lock;
};

} // namespace REPORTGENERATOR
