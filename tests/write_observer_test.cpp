// Observed writing: the reports of GetXml(), GetBinary() and the saves reach an observer with
// the record path and member they are about, and no position, since a write has no input.

#include "TestSupport.h"

#include <KVT317_Settings.h>
#include <ReadObserver.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace KVT317XML;

namespace {

// One finding as a line: "LINE:COLUMN@OFFSET LEVEL kind PATH RECORD.MEMBER: message".
QStringList Lines(const ReadFindings& findings)
{
    QStringList lines;
    for (const ReadFinding& finding : findings.Findings()) {
        QString path;
        for (const ReadStep& step : finding.path)
            path += QStringLiteral("/%1[%2]").arg(step.bit).arg(step.item);
        lines.append(
            QStringLiteral("%1:%2@%3 %4 %5 %6 %7.%8: %9")
                .arg(finding.position.line)
                .arg(finding.position.column)
                .arg(finding.position.offset)
                .arg(REPORTGENERATOR::LogLevelName(finding.level), FindingKindName(finding.kind),
                     path.isEmpty() ? QStringLiteral("/") : path,
                     finding.record ? finding.record->name : QStringLiteral("-"),
                     finding.member ? finding.member->name : QStringLiteral("-"), finding.message));
    }
    return lines;
}

// A detail whose frequency range is set but holds only its start.
KVT317SettingsDetail DetailWithHalfARange()
{
    KVT317SettingsDetail detail;
    detail.GetFrequencyRange().SetStartFrequency(1000000.0);
    return detail;
}

} // namespace

TEST(WriteObserver, XmlOfADetailWithAnIncompleteRangeValidationOff)
{
    const KVT317SettingsDetail detail = DetailWithHalfARange();
    LogCapture log;
    detail.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        detail.GetXmlString();
    }
    EXPECT_EQ(Lines(findings),
              QStringList({"0:0@-1 WARNING report / KVT317SettingsDetail.FrequencyRange: "
                           "Parameters for FrequencyRange are not set properly in "
                           "'KVT317SettingsDetail'."}));
    EXPECT_EQ(log.lines, QStringList({"WARNING: Parameters for FrequencyRange are not set "
                                      "properly in 'KVT317SettingsDetail'."}));
}

TEST(WriteObserver, XmlSaveOfADocumentNamesTheItemAndItsChild)
{
    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(KVT317SettingsDetail());
    settings.AppendKVT317SettingsDetail(DetailWithHalfARange());
    LogCapture log;
    settings.SetLogger(log.logger);
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        ASSERT_TRUE(settings.SaveXml(dir.filePath(QStringLiteral("settings.xml"))));
    }
    // Bit 0 of the document is its detail list.
    EXPECT_EQ(Lines(findings),
              QStringList({
                  "0:0@-1 WARNING report / KVT317_Settings.KVT317SettingsDetail: Parameters for "
                  "KVT317SettingsDetail are not set properly in 'KVT317_Settings'.",
                  "0:0@-1 WARNING report /0[0] KVT317SettingsDetail.FrequencyRange: Parameters "
                  "for FrequencyRange are not set properly in 'KVT317SettingsDetail'.",
                  "0:0@-1 WARNING report / KVT317_Settings.KVT317SettingsDetail: Parameters for "
                  "KVT317SettingsDetail are not set properly in 'KVT317_Settings'.",
                  "0:0@-1 WARNING report /0[1] KVT317SettingsDetail.FrequencyRange: Parameters "
                  "for FrequencyRange are not set properly in 'KVT317SettingsDetail'.",
              }));
    EXPECT_EQ(log.lines.size(), 4);
}

TEST(WriteObserver, BinaryOfATextXmlCannotCarryNamesItsItem)
{
    KVT317_Settings settings;
    KVT317SettingsDetail detail;
    detail.SetName(QStringLiteral("a\x01z"));
    settings.AppendKVT317SettingsDetail(detail);
    settings.AppendKVT317SettingsDetail(detail);
    LogCapture log;
    settings.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        settings.GetBinaryRepresentationAsQByteArray();
    }
    EXPECT_EQ(Lines(findings),
              QStringList({
                  "0:0@-1 ERROR report /0[0] KVT317SettingsDetail.Name: KVT317SettingsDetail: "
                  "Name holds U+0001, a character that XML cannot carry",
                  "0:0@-1 ERROR report /0[1] KVT317SettingsDetail.Name: KVT317SettingsDetail: "
                  "Name holds U+0001, a character that XML cannot carry",
              }));
}

TEST(WriteObserver, ACheckRunByAWriteWithValidationOnStandsInTheWrittenRecord)
{
    KVT317_Settings settings;
    settings.AppendKVT317SettingsDetail(DetailWithHalfARange());
    settings.SetValidate(true);
    LogCapture log;
    settings.SetLogger(log.logger);
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        EXPECT_THROW(settings.GetXmlString(), REPORTGENERATOR::OutOfRangeException);
    }
    // The first item lacks its first required member, AntennaPol.
    EXPECT_EQ(Lines(findings),
              QStringList({"0:0@-1 ERROR report /0[0] KVT317SettingsDetail.AntennaPol: "
                           "KVT317SettingsDetail: Please set AntennaPol properly."}));
}
