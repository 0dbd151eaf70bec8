// Texts of records through XML: exactly, or with a report when XML cannot carry them.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317SettingsDetail;

namespace {

QString Text(std::initializer_list<char16_t> units)
{
    QString text;
    for (const char16_t unit : units)
        text.append(QChar(unit));
    return text;
}

TEST(RecordTexts, BlanksTabsNewlinesAndCarriageReturnsComeBackExactly)
{
    const QString name = QStringLiteral("  a\tb\r\nc\rd  ");
    const QString path = QStringLiteral(" C:\\data\r\n\t ");
    BearingSettings bearing;
    bearing.SetName(name);
    bearing.SetBearingVtPath(path);
    bearing.SetFrequency(1.0);
    const QString xml = bearing.GetXmlString();
    EXPECT_TRUE(xml.contains(QStringLiteral("Name=\"  a&#9;b&#13;&#10;c&#13;d  \"")));
    EXPECT_TRUE(xml.contains(QStringLiteral("<BearingVtPath> C:\\data&#13;\n\t </BearingVtPath>")));
    BearingSettings back;
    ASSERT_TRUE(back.SetXmlString(xml, false));
    EXPECT_EQ(back.GetName(), name);
    EXPECT_EQ(back.GetBearingVtPath(), path);
    EXPECT_EQ(back.GetXmlString(), xml);
}

TEST(RecordTexts, ACharacterXmlCannotCarryIsReportedAndNotSaved)
{
    LogCapture capture;
    KVT317SettingsDetail detail;
    detail.SetLogger(capture.logger);
    detail.SetName(Text({u'A', 0x01, u'B'}));
    detail.GetFrequencyRange().ResetToDefault();
    detail.GetXmlString();
    EXPECT_EQ(capture.lines,
              QStringList{QStringLiteral("ERROR: KVT317SettingsDetail: Name holds U+0001, a "
                                         "character that XML cannot carry")});

    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("detail.xml"));
    {
        QFile existing(file);
        ASSERT_TRUE(existing.open(QIODevice::WriteOnly));
        existing.write("kept");
    }
    capture.lines.clear();
    EXPECT_FALSE(detail.SaveXml(file));
    ASSERT_EQ(capture.lines.size(), 2);
    EXPECT_EQ(capture.lines.at(0), QStringLiteral("ERROR: KVT317SettingsDetail: Name holds "
                                                  "U+0001, a character that XML cannot carry"));
    EXPECT_TRUE(capture.lines.at(1).startsWith(QStringLiteral("ERROR: Cannot write '")));
    QFile existing(file);
    ASSERT_TRUE(existing.open(QIODevice::ReadOnly));
    EXPECT_EQ(existing.readAll(), QByteArray("kept"));
}

TEST(RecordTexts, UnpairedSurrogatesAndNonCharactersAreNamed)
{
    LogCapture capture;
    BearingSettings bearing;
    bearing.SetLogger(capture.logger);
    bearing.SetEigenValueVtPath(Text({u'x', 0xD800}));
    bearing.SetSignalEstimationQualityVtPath(Text({0xFFFE}));
    bearing.GetXmlString();
    EXPECT_EQ(capture.lines,
              (QStringList{QStringLiteral("ERROR: BearingSettings: EigenValueVtPath holds "
                                          "U+D800, a character that XML cannot carry"),
                           QStringLiteral("ERROR: BearingSettings: SignalEstimationQualityVtPath "
                                          "holds U+FFFE, a character that XML cannot carry")}));
}

} // namespace
