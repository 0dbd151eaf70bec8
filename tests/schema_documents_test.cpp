// The hand-written schema test documents, read by the library: the ones the schemas reject
// for a reason Check() shares get exactly Check()'s reports, the others load and check clean
// (the reader is more tolerant than the schemas).

#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <QDir>
#include <QStringList>

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317_Settings;

namespace {

const QString Documents = QStringLiteral(KVT317_SOURCE_DIR "/tests/schema/documents/");

QString Unset(const char* record, const char* member)
{
    return QStringLiteral("ERROR: %1: Please set %2 properly.")
        .arg(QLatin1String(record), QLatin1String(member));
}

QString DetailUnset(const char* member)
{
    return Unset("KVT317SettingsDetail", member);
}

// Check()'s reports per document after a load with validation off.
const std::map<QString, QStringList>& Expected()
{
    static const std::map<QString, QStringList> expected{
        {"KVT317_Settings.valid.blanks-around-numbers", {}},
        {"KVT317_Settings.valid.blanks-around-numbers-2", {}},
        {"KVT317_Settings.invalid.lower-case-enumeration", {DetailUnset("AntennaPol")}},
        {"KVT317_Settings.invalid.blank-in-enumeration", {DetailUnset("BandwidthDF")}},
        {"KVT317_Settings.invalid.bandwidth-name-without-blank", {DetailUnset("BandwidthDF")}},
        {"KVT317_Settings.invalid.real-time-bandwidth-of-the-other-list",
         {DetailUnset("Real_Time_Bandwidth")}},
        {"KVT317_Settings.invalid.enumeration-number", {DetailUnset("AttSelect")}},
        {"KVT317_Settings.invalid.empty-enumeration", {DetailUnset("AverageMode")}},
        {"KVT317_Settings.invalid.missing-threshold", {DetailUnset("Threshold")}},
        {"KVT317_Settings.invalid.missing-stop-time", {DetailUnset("StopTime")}},
        {"KVT317_Settings.invalid.missing-frequency-range",
         {Unset("FrequencyRange", "StartFrequency"), Unset("FrequencyRange", "StopFrequency")}},
        {"KVT317_Settings.invalid.missing-stop-frequency",
         {Unset("FrequencyRange", "StopFrequency")}},
        {"KVT317_Settings.invalid.no-detail", {Unset("KVT317_Settings", "KVT317SettingsDetail")}},
        {"KVT317_Settings.invalid.order", {}},
        {"KVT317_Settings.invalid.unknown-element", {}},
        {"KVT317_Settings.invalid.repeated-element", {}},
        {"KVT317_Settings.invalid.name-as-element", {}},
        {"KVT317_Settings.invalid.index-capital", {}},
        {"KVT317_Settings.invalid.root-attribute", {}},
        {"KVT317_Settings.invalid.namespace", {}},
        {"KVT317_Settings.invalid.exponent", {}},
        {"KVT317_Settings.invalid.three-decimals", {}},
        {"KVT317_Settings.invalid.no-decimals", {}},
        {"KVT317_Settings.invalid.upper-case-infinity", {}},
        {"KVT317_Settings.invalid.plus-sign", {}},
        {"KVT317_Settings.invalid.leading-zero", {}},
        {"KVT317_Settings.invalid.integer-out-of-range", {}},
        {"KVT317_Settings.invalid.integer-with-decimals", {}},
        {"KVT317_Settings.invalid.date-with-point", {}},
        {"KVT317_Settings.invalid.date-without-zone", {}},
        {"KVT317_Settings.invalid.date-month-13", {}},
        {"KVT317_Settings.invalid.date-with-blank", {}},
        {"BearingSettings.valid.frequency-only", {}},
        {"BearingSettings.invalid.missing-frequency", {Unset("BearingSettings", "Frequency")}},
        {"BearingSettings.invalid.lower-case-mode", {Unset("BearingSettings", "DFMode")}},
        {"BearingSettings.invalid.empty-mode", {Unset("BearingSettings", "DFMode")}},
        {"BearingSettings.invalid.index-lower-case", {}},
        {"BearingSettings.invalid.order", {}},
        {"BearingSettings.invalid.frequency-two-decimals", {}},
        {"BearingSettings.invalid.bandwidth-nine-decimals", {}},
        {"BearingSettings.invalid.index-as-element", {}},
    };
    return expected;
}

template <class R> QStringList CheckReports(const QString& path)
{
    LogCapture log;
    R record;
    record.SetLogger(log.logger);
    EXPECT_TRUE(record.LoadXml(path)) << path.toStdString();
    log.lines.clear();
    record.Check(true);
    return log.lines;
}

class SchemaDocument : public ::testing::TestWithParam<QString>
{
};

TEST_P(SchemaDocument, CheckReportsWhatTheSchemaSharesWithIt)
{
    const QString& name = GetParam();
    const QString path = Documents + name + QStringLiteral(".xml");
    const QStringList got = name.startsWith(QLatin1String("BearingSettings."))
                                ? CheckReports<BearingSettings>(path)
                                : CheckReports<KVT317_Settings>(path);
    EXPECT_EQ(got, Expected().at(name));
}

std::vector<QString> DocumentNames()
{
    std::vector<QString> names;
    for (const auto& entry : Expected())
        names.push_back(entry.first);
    return names;
}

// Test names hold letters, digits and underscores only.
std::string DocumentCaseName(const ::testing::TestParamInfo<QString>& info)
{
    QString name = info.param;
    for (QChar& c : name)
        if (!c.isLetterOrNumber())
            c = QLatin1Char('_');
    return name.toStdString();
}

INSTANTIATE_TEST_SUITE_P(EveryDocument, SchemaDocument, ::testing::ValuesIn(DocumentNames()),
                         DocumentCaseName);

TEST(SchemaDocuments, EveryDocumentHasAnExpectation)
{
    const QStringList files = QDir(Documents).entryList({QStringLiteral("*.xml")}, QDir::Files);
    EXPECT_EQ(files.size(), 41);
    for (const QString& file : files)
        EXPECT_EQ(Expected().count(file.chopped(4)), 1u) << file.toStdString();
}

TEST(SchemaDocuments, BlanksAroundNumbersAreIgnored)
{
    KVT317_Settings settings;
    ASSERT_TRUE(settings.LoadXml(Documents + "KVT317_Settings.valid.blanks-around-numbers.xml"));
    EXPECT_EQ(settings.GetKVT317SettingsDetail().at(0).GetThreshold(), -10);
    ASSERT_TRUE(settings.LoadXml(Documents + "KVT317_Settings.valid.blanks-around-numbers-2.xml"));
    EXPECT_EQ(settings.GetKVT317SettingsDetail().at(0).GetFrequencyRange().GetStartFrequency(),
              118000000.0);
}

} // namespace
