// The document layer through the library alone: the JSON form read and written with placed
// findings, a save that would change the document refused with its list of changes (and
// written when they are accepted), member paths, comparison and lint.

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <MemberPath.h>
#include <RecordComparison.h>
#include <SaveChanges.h>
#include <SettingsFile.h>
#include <SettingsJson.h>
#include <SettingsLint.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace KVT317XML;

namespace {

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

// "LINE:COLUMN kind: message" for each finding.
QStringList Placed(const std::vector<ReadFinding>& findings)
{
    QStringList lines;
    for (const ReadFinding& finding : findings)
        lines.append(QStringLiteral("%1:%2 %3: %4")
                         .arg(finding.position.line)
                         .arg(finding.position.column)
                         .arg(FindingKindName(finding.kind), finding.message));
    return lines;
}

KVT317SettingsDetail Detail(const QString& name, int threshold, double start, double stop)
{
    KVT317SettingsDetail detail;
    detail.SetName(name);
    detail.SetThreshold(threshold);
    detail.GetFrequencyRange().SetStartFrequency(start);
    detail.GetFrequencyRange().SetStopFrequency(stop);
    return detail;
}

} // namespace

TEST(JsonForm, ReadsWithFindingsPlacedAtTheirKeys)
{
    const QByteArray text = "{\"BearingSettings\": {\n"
                            "  \"Name\": \"n\",\n"
                            "  \"Frequncy\": 1,\n"
                            "  \"Frequency\": \"high\",\n"
                            "  \"Name\": \"m\"\n"
                            "}}\n";
    ReadFindings findings;
    const JsonDocumentRead read = ReadJsonDocument(text, &findings);
    ASSERT_TRUE(read.record);
    EXPECT_EQ(read.fault, QString());
    EXPECT_EQ(Placed(findings.Findings()),
              // Members in the order QJsonObject holds them (by key), then keys given twice.
              QStringList({QStringLiteral("4:3 wrong-json-type: Frequency: expected a number, "
                                          "found a string (ignored)"),
                           QStringLiteral("3:3 unknown-element: unknown member 'Frequncy' "
                                          "(ignored); did you mean 'Frequency'?"),
                           QStringLiteral("5:3 given-twice: Name given twice (first at 2:3); the "
                                          "later one wins")}));
    const BearingSettings& bearing = static_cast<const BearingSettings&>(*read.record);
    EXPECT_EQ(bearing.GetName(), QStringLiteral("m"));
    EXPECT_FALSE(bearing.IsFrequencySet());
}

TEST(JsonForm, TextThatIsNoDocumentGivesItsFaultAndPlace)
{
    const JsonDocumentRead broken = ReadJsonDocument("{\"BearingSettings\":\n  {,}}");
    EXPECT_FALSE(broken.record);
    // Qt's words for the fault differ between versions; its place is on line 2, which
    // starts at byte 20.
    EXPECT_FALSE(broken.fault.isEmpty());
    EXPECT_EQ(broken.faultPosition.line, 2);
    EXPECT_EQ(broken.faultPosition.column, broken.faultOffset - 20 + 1);
    const JsonDocumentRead other = ReadJsonDocument("{\"Other\": {}}");
    EXPECT_FALSE(other.record);
    EXPECT_EQ(other.fault, QStringLiteral("expected an object with one member, named after the "
                                          "record type (KVT317_Settings, KVT317SettingsDetail, "
                                          "BearingSettings, FrequencyRange), whose value is an "
                                          "object"));
}

TEST(JsonForm, WritesMembersInTheOrderXmlCarriesThem)
{
    const QByteArray json = WriteJsonDocument(BearingSettings());
    EXPECT_EQ(json, QByteArray("{\n  \"BearingSettings\": {}\n}\n"));
    BearingSettings bearing;
    bearing.SetFrequency(100.5);
    bearing.SetName(QStringLiteral("a\"b"));
    EXPECT_EQ(WriteJsonDocument(bearing), QByteArray("{\n"
                                                     "  \"BearingSettings\": {\n"
                                                     "    \"Name\": \"a\\\"b\",\n"
                                                     "    \"Frequency\": 100.500000000\n"
                                                     "  }\n"
                                                     "}\n"));
    const JsonDocumentRead back = ReadJsonDocument(WriteJsonDocument(bearing));
    ASSERT_TRUE(back.record);
    EXPECT_TRUE(back.record->Equals(bearing));
}

TEST(LosslessSave, ALossySaveIsRefusedWithItsChangesAndWrittenWhenAccepted)
{
    const QByteArray input = "<BearingSettings>\n"
                             "  <Frequency>100.1234567891</Frequency>\n"
                             "  <Colour>red</Colour>\n"
                             "</BearingSettings>\n";
    ReadFindings findings;
    QString fault;
    const std::unique_ptr<Record> record = ReadSettingsDocument(input, &findings, &fault);
    ASSERT_TRUE(record) << fault.toStdString();
    const SavePlan plan = PlanSave(*record, DetectDocumentForm(input), findings.Findings());
    EXPECT_EQ(plan.refusal, QString());
    EXPECT_FALSE(plan.IsLossless());
    QStringList changes;
    for (const SaveChange& change : plan.changes)
        changes.append(QStringLiteral("%1 %2:%3 %4")
                           .arg(static_cast<int>(change.kind))
                           .arg(change.position.line)
                           .arg(change.position.column)
                           .arg(change.message));
    EXPECT_EQ(changes,
              QStringList({QStringLiteral("0 2:3 Frequency: '100.1234567891' keeps 9 decimals "
                                          "(written as 100.123456789)"),
                           QStringLiteral("0 3:3 unknown element 'Colour' (ignored)"),
                           QStringLiteral("1 0:0 BearingSettings would change on writing: it "
                                          "holds numbers with more decimals than are written")}));

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("bearing.xml"));
    EXPECT_FALSE(WritePlannedSave(path, plan, SaveChanges::Refuse, &fault));
    EXPECT_EQ(fault, QStringLiteral("writing would change what the input holds (3 changes); the "
                                    "first: Frequency: '100.1234567891' keeps 9 decimals (written "
                                    "as 100.123456789)"));
    EXPECT_FALSE(QFile::exists(path));
    EXPECT_TRUE(WritePlannedSave(path, plan, SaveChanges::Accept, &fault));
    EXPECT_EQ(FileBytes(path), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                          "<BearingSettings>\n"
                                          "  <Frequency>100.123456789</Frequency>\n"
                                          "</BearingSettings>\n"));
}

TEST(LosslessSave, ADocumentThatReadsBackAsItIsSavesWithoutAsking)
{
    const QByteArray input = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                             "<BearingSettings Name=\"n\">\n"
                             "  <Frequency>1.000000000</Frequency>\n"
                             "</BearingSettings>\n";
    ReadFindings findings;
    const std::unique_ptr<Record> record = ReadSettingsDocument(input, &findings);
    ASSERT_TRUE(record);
    const SavePlan plan = PlanSave(*record, DetectDocumentForm(input), findings.Findings());
    EXPECT_TRUE(plan.IsLossless());
    EXPECT_EQ(plan.bytes, input);
    QTemporaryDir dir;
    QString fault;
    EXPECT_TRUE(
        WritePlannedSave(dir.filePath(QStringLiteral("b.xml")), plan, SaveChanges::Refuse, &fault));
    EXPECT_EQ(fault, QString());
}

TEST(MemberPaths, SelectByPositionNameAndEveryItem)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr); // the details are incomplete, which is no concern here
    settings.AppendKVT317SettingsDetail(Detail(QStringLiteral("A"), 1, 1e6, 2e6));
    settings.AppendKVT317SettingsDetail(Detail(QStringLiteral("Marine VHF"), 2, 3e6, 4e6));
    MemberTarget target;
    EXPECT_EQ(ResolveMemberPath(settings,
                                QStringLiteral("KVT317SettingsDetail[Name=Marine VHF]."
                                               "FrequencyRange.StopFrequency"),
                                false, target),
              QString());
    EXPECT_EQ(target.path, QStringLiteral("KVT317SettingsDetail[2].FrequencyRange.StopFrequency"));
    EXPECT_EQ(target.recordPath, QStringLiteral("KVT317SettingsDetail[2].FrequencyRange"));
    EXPECT_EQ(target.Member().name, QStringLiteral("StopFrequency"));
    EXPECT_EQ(target.record->MemberText(target.bit), QStringLiteral("4000000.00"));
    EXPECT_EQ(ResolveMemberPath(settings, QStringLiteral("KVT317SettingsDetail[1].Treshold"), false,
                                target),
              QStringLiteral("KVT317SettingsDetail[1] has no member 'Treshold'; did you mean "
                             "'Threshold'?"));
    EXPECT_EQ(ResolveMemberPath(settings, QStringLiteral("KVT317SettingsDetail[3].Threshold"),
                                false, target),
              QStringLiteral("KVT317SettingsDetail[3]: the list holds 2 items"));
    QString error;
    EXPECT_EQ(
        ExpandMemberPath(settings, QStringLiteral("KVT317SettingsDetail[*].Threshold"), error),
        QStringList({QStringLiteral("KVT317SettingsDetail[1].Threshold"),
                     QStringLiteral("KVT317SettingsDetail[2].Threshold")}));
    EXPECT_EQ(error, QString());
}

TEST(RecordComparison, ByPositionAndByName)
{
    KVT317_Settings a;
    a.SetLogger(nullptr);
    a.AppendKVT317SettingsDetail(Detail(QStringLiteral("A"), 1, 1e6, 2e6));
    a.AppendKVT317SettingsDetail(Detail(QStringLiteral("B"), 2, 1e6, 2e6));
    KVT317_Settings b;
    b.SetLogger(nullptr);
    b.AppendKVT317SettingsDetail(Detail(QStringLiteral("B"), 2, 1e6, 2e6));
    b.AppendKVT317SettingsDetail(Detail(QStringLiteral("A"), 5, 1e6, 2e6));
    const auto listed = [](const std::vector<RecordDifference>& differences) {
        QStringList lines;
        for (const RecordDifference& difference : differences)
            lines.append(
                QStringLiteral("%1: %2 -> %3").arg(difference.path, difference.a, difference.b));
        return lines;
    };
    EXPECT_EQ(listed(CompareRecords(a, b)),
              // In member order, where Threshold comes before Name.
              QStringList({QStringLiteral("KVT317SettingsDetail[1].Threshold: 1 -> 2"),
                           QStringLiteral("KVT317SettingsDetail[1].Name: A -> B"),
                           QStringLiteral("KVT317SettingsDetail[2].Threshold: 2 -> 5"),
                           QStringLiteral("KVT317SettingsDetail[2].Name: B -> A")}));
    EXPECT_EQ(listed(CompareRecords(a, b, true)),
              QStringList({QStringLiteral("KVT317SettingsDetail[Name=A].Threshold: 1 -> 5")}));
}

TEST(SettingsLint, StartAboveStopAndDuplicateNames)
{
    KVT317_Settings settings;
    settings.SetLogger(nullptr); // the details are incomplete, which is no concern here
    settings.AppendKVT317SettingsDetail(Detail(QStringLiteral("A"), 1, 108e6, 87.5e6));
    settings.AppendKVT317SettingsDetail(Detail(QStringLiteral("A"), 2, 1e6, 2e6));
    QStringList lines;
    for (const LintWarning& warning : LintSettings(settings))
        lines.append(QStringLiteral("%1 %2/%3: %4")
                         .arg(warning.path.size())
                         .arg(warning.record->name, warning.member->name, warning.message));
    EXPECT_EQ(lines, QStringList({QStringLiteral("2 FrequencyRange/StopFrequency: StartFrequency "
                                                 "108 MHz lies above StopFrequency 87.5 MHz"),
                                  QStringLiteral("1 KVT317SettingsDetail/Name: Name 'A' is also "
                                                 "the Name of KVT317SettingsDetail[1]; [Name=...] "
                                                 "paths cannot tell them apart")}));
}
