// Locked edits and file writes of the base library: edits from several threads lose nothing,
// a held lock refuses an edit with its holder named and the file unchanged, the file's form,
// mode, owner and group are kept, and a failed write gives the system's reason.

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

#include <sys/stat.h>
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
