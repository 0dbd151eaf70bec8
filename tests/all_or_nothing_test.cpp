// Whole-document loads are all or nothing: a load that ends in an exception (validation on, a
// fault in the data) puts the record back as it was and lets the exception pass, unchanged,
// after the reports made before it. Every load, faulting at the first, a middle and the last
// detail of the shipped example.

#include "TestSupport.h"

#include <KVT317_Settings.h>
#include <RGException.h>

#include <QDataStream>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <functional>

using KVT317XML::KVT317_Settings;

namespace {

const QString EnumFault =
    QStringLiteral("enum is not valid (classname=KVT317SettingsDetail,membername=m_dF_Alt)");

// The example with an unknown DF_Alt name in one of its three details.
QString FaultyXml(int detail)
{
    QString xml = QString::fromUtf8(ExampleFile("settings.xml"));
    int at = -1;
    for (int i = 0; i <= detail; ++i)
        at = xml.indexOf(QStringLiteral("<DF_Alt>"), at + 1);
    const int end = xml.indexOf(QStringLiteral("</DF_Alt>"), at);
    return xml.replace(at + 8, end - at - 8, QStringLiteral("WATSON"));
}

// The same document in the binary form: the invalid value travels as an empty name.
QByteArray FaultyBinary(int detail)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    settings.SetXmlString(FaultyXml(detail), true);
    return settings.GetBinaryRepresentationAsQByteArray();
}

// The same, compressed.
QByteArray CompressedFaultyBinary(int detail)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    settings.SetXmlString(FaultyXml(detail), true);
    return settings.GetCompressedBinaryRepresentationAsQByteArray(9);
}

// A record that holds something before the load, with validation on.
struct Before {
    Before()
    {
        settings.SetLogger(log.logger);
        EXPECT_TRUE(settings.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
        settings.GetKVT317SettingsDetail()[0].SetThreshold(77);
        before = settings;
        log.lines.clear();
        settings.SetValidate(true);
    }
    LogCapture log;
    KVT317_Settings settings;
    KVT317_Settings before;
};

void ExpectAllOrNothing(const std::function<bool(KVT317_Settings&, int)>& load)
{
    for (int detail = 0; detail < 3; ++detail) {
        SCOPED_TRACE(detail);
        Before state;
        try {
            load(state.settings, detail);
            ADD_FAILURE() << "no exception";
        } catch (const REPORTGENERATOR::OutOfRangeException& exception) {
            EXPECT_EQ(exception.GetMessage(), EnumFault);
        }
        EXPECT_TRUE(state.settings == state.before);
        ASSERT_EQ(state.settings.GetKVT317SettingsDetail().size(), 3);
        EXPECT_EQ(state.settings.GetKVT317SettingsDetail().at(0).GetThreshold(), 77);
        EXPECT_EQ(state.log.lines, QStringList({QStringLiteral("ERROR: ") + EnumFault}));
    }
}

QString WriteFile(const QTemporaryDir& dir, const char* name, const QByteArray& bytes)
{
    return WriteFile(dir.filePath(QLatin1String(name)), bytes);
}

// Every binary load of the documents that make() gives: bytes, a stream and a file.
void ExpectEveryBinaryLoad(const std::function<QByteArray(int)>& make, const char* fileName)
{
    ExpectAllOrNothing([&make](KVT317_Settings& settings, int detail) {
        QByteArray bytes = make(detail);
        return settings.SetBinaryRepresentation(bytes);
    });
    ExpectAllOrNothing([&make](KVT317_Settings& settings, int detail) {
        const QByteArray bytes = make(detail);
        QDataStream stream(bytes);
        return settings.SetBinaryRepresentation(stream);
    });
    QTemporaryDir dir;
    ExpectAllOrNothing([&make, &dir, fileName](KVT317_Settings& settings, int detail) {
        QFile file(WriteFile(dir, fileName, make(detail)));
        return settings.LoadBinary(&file);
    });
}

} // namespace

TEST(AllOrNothing, SetXmlString)
{
    ExpectAllOrNothing([](KVT317_Settings& settings, int detail) {
        return settings.SetXmlString(FaultyXml(detail), false);
    });
    ExpectAllOrNothing([](KVT317_Settings& settings, int detail) {
        return settings.SetXmlString(FaultyXml(detail), true);
    });
}

TEST(AllOrNothing, LoadXmlFromAPathAndAFile)
{
    QTemporaryDir dir;
    ExpectAllOrNothing([&dir](KVT317_Settings& settings, int detail) {
        return settings.LoadXml(WriteFile(dir, "faulty.xml", FaultyXml(detail).toUtf8()));
    });
    ExpectAllOrNothing([&dir](KVT317_Settings& settings, int detail) {
        QFile file(WriteFile(dir, "faulty.xml", FaultyXml(detail).toUtf8()));
        return settings.LoadXml(&file);
    });
}

TEST(AllOrNothing, BinaryFromBytesAStreamAndAFile)
{
    ExpectEveryBinaryLoad(FaultyBinary, "faulty.bin");
}

TEST(AllOrNothing, CompressedBinaryFromBytesAStreamAndAFile)
{
    ExpectEveryBinaryLoad(CompressedFaultyBinary, "faulty.binz");
}
