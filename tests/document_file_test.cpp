// Locked edits and file writes of the base library: edits from several threads lose nothing,
// a held lock refuses an edit with its holder named and the file unchanged, waiters take
// turns, the file's form, mode, owner, group, extended attributes and access list are kept,
// and a failed write gives the system's reason.

#include "LogCapture.h"
#include "TestSupport.h"

#include <DocumentFile.h>
#include <KVT317_Settings.h>

#include <QCoreApplication>
#include <QFile>
#include <QSysInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <zlib.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <thread>
#include <unistd.h>
#include <vector>

using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;
using REPORTGENERATOR::DocumentLock;
using REPORTGENERATOR::IRGObject;

namespace {

QString Copy(const QTemporaryDir& dir, const char* example, const char* name)
{
    const QString path = dir.filePath(QLatin1String(name));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(ExampleFile(example));
    return path;
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The binary document inside a compressed one: after the marker "KVTZ", zlib data as a
// counted byte array. Empty when it is not one.
QByteArray Inflated(const QByteArray& bytes)
{
    if (!bytes.startsWith("KVTZ"))
        return QByteArray();
    QDataStream stream(bytes.mid(4));
    QByteArray packed;
    stream >> packed;
    QByteArray plain(1 << 20, '\0');
    uLongf size = static_cast<uLongf>(plain.size());
    if (uncompress(reinterpret_cast<Bytef*>(plain.data()), &size,
                   reinterpret_cast<const Bytef*>(packed.constData()),
                   static_cast<uLong>(packed.size())) != Z_OK)
        return QByteArray();
    plain.truncate(static_cast<int>(size));
    return plain;
}

// Appends a copy of the document's first detail.
bool AddDetail(KVT317_Settings& settings)
{
    settings.AppendKVT317SettingsDetail(settings.GetKVT317SettingsDetail().at(0));
    return true;
}

} // namespace

TEST(LockedEdit, FourThreadsAddingTwentyDetailsEachLoseNothing)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "shared.xml");
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&path] {
            for (int i = 0; i < 20; ++i) {
                KVT317_Settings settings;
                settings.SetLogger(nullptr);
                EXPECT_TRUE(settings.EditFile(
                    path, [&settings](IRGObject&) { return AddDetail(settings); }, 30000));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    KVT317_Settings settings;
    ASSERT_TRUE(settings.LoadXml(path));
    EXPECT_EQ(settings.GetKVT317SettingsDetail().size(), 83);
    EXPECT_FALSE(QFile::exists(path + QStringLiteral(".lock")));
}

TEST(LockedEdit, AHeldLockRefusesTheEditAndNamesItsHolder)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "held.xml");
    DocumentLock holder(path);
    ASSERT_TRUE(holder.Acquire());
    EXPECT_EQ(holder.LockFileName(), QFileInfo(path).canonicalFilePath() + ".lock");
    KVT317_Settings settings;
    LogCapture log;
    settings.SetLogger(log.logger);
    bool edited = false;
    EXPECT_FALSE(settings.EditFile(
        path, [&edited](IRGObject&) { return edited = true; }, 200));
    EXPECT_FALSE(edited);
    EXPECT_EQ(log.lines, QStringList(QStringLiteral("ERROR: Cannot lock '%1': it is being edited "
                                                    "by process %2 (kvt317_tests) on %3; waited "
                                                    "200 ms")
                                         .arg(path)
                                         .arg(QCoreApplication::applicationPid())
                                         .arg(QSysInfo::machineHostName())));
    EXPECT_EQ(Contents(path), ExampleFile("settings.xml"));
}

TEST(LockedEdit, KeepsTheFilesFormAndMode)
{
    QTemporaryDir dir;
    for (const char* example : {"settings.xml", "settings.bin", "settings.binz"}) {
        SCOPED_TRACE(example);
        const QString path = Copy(dir, example, example);
        ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0640), 0);
        KVT317_Settings settings;
        ASSERT_TRUE(settings.EditFile(path, [&settings](IRGObject&) {
            settings.GetKVT317SettingsDetail()[0].SetThreshold(42);
            return true;
        }));
        KVT317_Settings expected;
        ASSERT_TRUE(expected.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
        expected.GetKVT317SettingsDetail()[0].SetThreshold(42);
        const QByteArray bytes = Contents(path);
        if (QByteArray(example).endsWith(".xml"))
            EXPECT_EQ(bytes, expected.GetXmlString().toUtf8());
        else if (QByteArray(example).endsWith(".binz"))
            EXPECT_EQ(Inflated(bytes), expected.GetBinaryRepresentationAsQByteArray());
        else
            EXPECT_EQ(bytes, expected.GetBinaryRepresentationAsQByteArray());
        struct stat status {
        };
        ASSERT_EQ(::stat(QFile::encodeName(path).constData(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0640u);
    }
}

TEST(LockedEdit, AnEditThatDeclinesWritesNothing)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "declined.xml");
    KVT317_Settings settings;
    EXPECT_FALSE(settings.EditFile(path, [&settings](IRGObject&) {
        settings.GetKVT317SettingsDetail()[0].SetThreshold(42);
        return false;
    }));
    EXPECT_EQ(Contents(path), ExampleFile("settings.xml"));
}

TEST(WriteDocumentFile, KeepsOwnerGroupAndMode)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "giving a file to another owner needs root";
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "theirs.xml");
    const QByteArray local = QFile::encodeName(path);
    ASSERT_EQ(::chown(local.constData(), 65534, 65534), 0);
    ASSERT_EQ(::chmod(local.constData(), 0604), 0);
    QString fault;
    QStringList warnings;
    ASSERT_TRUE(REPORTGENERATOR::WriteDocumentFile(path, "<x/>", &fault, &warnings));
    struct stat status {
    };
    ASSERT_EQ(::stat(local.constData(), &status), 0);
    EXPECT_EQ(status.st_uid, 65534u);
    EXPECT_EQ(status.st_gid, 65534u);
    EXPECT_EQ(status.st_mode & 07777, 0604u);
    EXPECT_EQ(warnings, QStringList());
    EXPECT_EQ(Contents(path), QByteArray("<x/>"));
}

TEST(WriteDocumentFile, TheSystemsReason)
{
    QString fault;
    EXPECT_FALSE(REPORTGENERATOR::WriteDocumentFile(QStringLiteral("/dev/full"), "<x/>", &fault));
    EXPECT_EQ(fault, QStringLiteral("Cannot write '/dev/full': No space left on device"));
    EXPECT_FALSE(REPORTGENERATOR::WriteDocumentFile(QStringLiteral("/nonexistent/dir/f.xml"),
                                                    "<x/>", &fault));
    EXPECT_EQ(fault, QStringLiteral("Cannot write '/nonexistent/dir/f.xml': No such file or "
                                    "directory"));
}

namespace {

QByteArray Attribute(const QString& path, const char* name)
{
    QByteArray value(4096, '\0');
    const ssize_t size =
        ::getxattr(QFile::encodeName(path).constData(), name, value.data(), value.size());
    return size < 0 ? QByteArray("(none)") : value.left(static_cast<int>(size));
}

// An access control list as the system keeps it in system.posix_acl_access: version 2, then
// entries of tag, permissions and id, all little-endian. This one is "user::rw-,
// user:65534:r--, group::---, mask::r--, other::---".
const QByteArray NobodyMayRead("\x02\x00\x00\x00"
                               "\x01\x00\x06\x00\xff\xff\xff\xff"
                               "\x02\x00\x04\x00\xfe\xff\x00\x00"
                               "\x04\x00\x00\x00\xff\xff\xff\xff"
                               "\x10\x00\x04\x00\xff\xff\xff\xff"
                               "\x20\x00\x00\x00\xff\xff\xff\xff",
                               44);

} // namespace

TEST(WriteDocumentFile, KeepsExtendedAttributesAndTheAccessList)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "acl.xml");
    const QByteArray local = QFile::encodeName(path);
    ASSERT_EQ(::chmod(local.constData(), 0600), 0);
    if (::setxattr(local.constData(), "user.test", "kept", 4, 0) != 0 ||
        ::setxattr(local.constData(), "system.posix_acl_access", NobodyMayRead.constData(),
                   static_cast<size_t>(NobodyMayRead.size()), 0) != 0)
        GTEST_SKIP() << "the file system of " << dir.path().toStdString()
                     << " keeps no extended attributes or access lists";
    QString fault;
    ASSERT_TRUE(REPORTGENERATOR::WriteDocumentFile(path, "<x/>", &fault)) << fault.toStdString();
    EXPECT_EQ(Attribute(path, "user.test"), QByteArray("kept"));
    EXPECT_EQ(Attribute(path, "system.posix_acl_access"), NobodyMayRead);
    struct stat status {
    };
    ASSERT_EQ(::stat(local.constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640u); // the group bits show the list's mask
    EXPECT_EQ(Contents(path), QByteArray("<x/>"));

    // The library's saves go the same way.
    KVT317_Settings settings;
    ASSERT_TRUE(settings.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    ASSERT_TRUE(settings.SaveXml(path));
    ASSERT_TRUE(settings.SaveBinary(path, false));
    EXPECT_EQ(Attribute(path, "user.test"), QByteArray("kept"));
    EXPECT_EQ(Attribute(path, "system.posix_acl_access"), NobodyMayRead);
    EXPECT_EQ(Contents(path), settings.GetBinaryRepresentationAsQByteArray());
}

TEST(WriteDocumentFile, GivesTheNewFileNoAccessListTheOldOneLacked)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "plain.xml");
    // Every file made in the directory from now on gets the list: the new file would too.
    if (::setxattr(QFile::encodeName(dir.path()).constData(), "system.posix_acl_default",
                   NobodyMayRead.constData(), static_cast<size_t>(NobodyMayRead.size()), 0) != 0)
        GTEST_SKIP() << "the file system of " << dir.path().toStdString()
                     << " keeps no access lists";
    QString fault;
    ASSERT_TRUE(REPORTGENERATOR::WriteDocumentFile(path, "<x/>", &fault)) << fault.toStdString();
    EXPECT_EQ(Attribute(path, "system.posix_acl_access"), QByteArray("(none)"));
    EXPECT_EQ(Contents(path), QByteArray("<x/>"));
}

TEST(WriteDocumentFile, TheOwnerAndGroupNotKeptAreNamed)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "another owner's file needs root to make";
    QTemporaryDir dir;
    ASSERT_EQ(::chmod(QFile::encodeName(dir.path()).constData(), 0777), 0);
    const QString path = Copy(dir, "settings.xml", "group.xml");
    const QByteArray local = QFile::encodeName(path);
    ASSERT_EQ(::chown(local.constData(), 0, 65534), 0);
    ASSERT_EQ(::chmod(local.constData(), 0666), 0);
    // As nobody (65534), in a child process, since a process cannot take root back.
    const pid_t child = fork();
    if (child == 0) {
        QString fault;
        QStringList warnings;
        const bool ok =
            ::setgid(65534) == 0 && ::setuid(65534) == 0 &&
            REPORTGENERATOR::WriteDocumentFile(path, "<x/>", &fault, &warnings) &&
            warnings ==
                QStringList(QStringLiteral(
                                "'%1' could not keep its owner and group root:nogroup (0:65534): "
                                "Operation not permitted; they are now nobody:nogroup "
                                "(65534:65534)")
                                .arg(path));
        _exit(ok ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(Contents(path), QByteArray("<x/>"));
}

TEST(LockedEdit, WaiterThreadsTakeTurnsInTheOrderTheyCame)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "turns.xml");
    const QString queue = QFileInfo(path).canonicalFilePath() + QStringLiteral(".lock.queue");
    auto holder = std::make_unique<DocumentLock>(path);
    ASSERT_TRUE(holder->Acquire(0));
    std::mutex mutex;
    QStringList order;
    const auto wait = [&](const QString& who) {
        DocumentLock lock(path);
        const bool taken = lock.Acquire(5000);
        const std::lock_guard<std::mutex> guard(mutex);
        order.append(taken ? who : who + QStringLiteral(" gave up"));
        std::this_thread::sleep_for(std::chrono::milliseconds(20)); // the edit
    };
    // The queue file keeps the number of the next ticket: "1" once the first waits, "2" once
    // the second does.
    const auto waiting = [&queue](const char* next) {
        for (int i = 0; i < 5000 && Contents(queue) != next; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return Contents(queue);
    };
    std::thread first(wait, QStringLiteral("first"));
    EXPECT_EQ(waiting("1"), QByteArray("1"));
    std::thread second(wait, QStringLiteral("second"));
    EXPECT_EQ(waiting("2"), QByteArray("2"));
    // The holder lets go and asks again at once: it comes after those who waited.
    holder.reset();
    wait(QStringLiteral("holder again"));
    first.join();
    second.join();
    EXPECT_EQ(order, QStringList({QStringLiteral("first"), QStringLiteral("second"),
                                  QStringLiteral("holder again")}));
    EXPECT_FALSE(QFile::exists(queue));
    EXPECT_FALSE(QFile::exists(QFileInfo(path).canonicalFilePath() + QStringLiteral(".lock")));
}

TEST(LockedEdit, AWaiterThatDiedHoldsNoOneUp)
{
    QTemporaryDir dir;
    const QString path = Copy(dir, "settings.xml", "died.xml");
    const QString queue = QFileInfo(path).canonicalFilePath() + QStringLiteral(".lock.queue");
    auto holder = std::make_unique<DocumentLock>(path);
    ASSERT_TRUE(holder->Acquire(0));
    const pid_t waiter = fork();
    if (waiter == 0) {
        DocumentLock lock(path);
        _exit(lock.Acquire(60000) ? 0 : 1);
    }
    for (int i = 0; i < 5000 && Contents(queue) != "1"; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(Contents(queue), QByteArray("1")); // the dead waiter's ticket was the first
    ::kill(waiter, SIGKILL);
    ASSERT_EQ(waitpid(waiter, nullptr, 0), waiter);
    holder.reset();
    DocumentLock next(path);
    EXPECT_TRUE(next.Acquire(1000));
    EXPECT_FALSE(QFile::exists(queue));
}
