// What the item model shows is what a save writes: new rows, refused edits, refused saves.

#include "ModelTestSupport.h"

#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <StartingDetail.h>

#include <QDateTime>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

// Every cell of a row in one role, "Name=value" each.
QStringList Row(const SettingsModel& model, int row, int role = Qt::DisplayRole)
{
    QStringList cells;
    for (int column = 0; column < model.columnCount(); ++column)
        cells.append(model.headerData(column, Qt::Horizontal).toString() + QLatin1Char('=') +
                     model.data(model.index(row, column), role).toString());
    return cells;
}

QByteArray Bytes(const SettingsModel& model)
{
    return model.Document()->GetXmlString().toUtf8() + '|' +
           model.Document()->GetBinaryRepresentationAsQByteArray().toHex();
}

} // namespace

TEST_F(Model, ANewRowIsTheCompleteDetailThatAddAppends)
{
    QTemporaryDir dir;
    const QString path = WriteFile(dir, "settings.xml",
                                   ReadAll(SourceDir + QStringLiteral("/examples/settings.xml")));
    auto watched = Load(nullptr, path);
    SettingsModel& model = watched->model;
    ASSERT_TRUE(model.insertRows(0, 1));
    EXPECT_EQ(
        Row(model, 0).join(QLatin1Char('|')),
        QString::fromUtf8("Name=Setting 4|index=4|AntennaPol=VERT|AntPreAmp=OFF|AverageMode=OFF|"
                          "BandwidthDF=1.00 kHz|BlockAveragingTime=10 ms|DF_Alt=CORRELATION|"
                          "StartFrequency=88 MHz|StopFrequency=240 MHz|Real_Time_Bandwidth=80 MHz|"
                          "ScanMemoryID=0|DFPan_Selectivity=NORMAL|Threshold=20 dB\u00B5V|"
                          "StopTime=(none)|AttSelect=MANUAL|AttenuationHoldValue=10.00 dB|"
                          "AttenuationHoldTime=100.00 ms"));
    EXPECT_EQ(Row(model, 0, SettingsModel::IsSetRole).join(QLatin1Char('|')),
              QStringLiteral("Name=true|index=true|AntennaPol=true|AntPreAmp=true|"
                             "AverageMode=true|BandwidthDF=true|BlockAveragingTime=true|"
                             "DF_Alt=true|StartFrequency=true|StopFrequency=true|"
                             "Real_Time_Bandwidth=true|ScanMemoryID=true|"
                             "DFPan_Selectivity=true|Threshold=true|StopTime=true|"
                             "AttSelect=true|AttenuationHoldValue=true|"
                             "AttenuationHoldTime=true"));
    EXPECT_TRUE(model.Findings().empty());
    const int frequencyRange =
        KVT317SettingsDetail::Description().FindName(QStringLiteral("FrequencyRange"))->bit;
    EXPECT_TRUE(model.RowRecord(0)->IsMemberSet(frequencyRange));

    SaveReport report;
    ASSERT_TRUE(SaveSettingsDocument(*model.Document(), path, DocumentForm::Xml, &report))
        << qPrintable(report.error);
    EXPECT_TRUE(report.faults.empty());
    const QByteArray example = ReadAll(SourceDir + QStringLiteral("/examples/settings.xml"));
    const QByteArray head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<KVT317_Settings>\n";
    ASSERT_TRUE(example.startsWith(head));
    EXPECT_EQ(ReadAll(path).toStdString(),
              (head +
               "  <KVT317SettingsDetail Name=\"Setting 4\" index=\"4\">\n"
               "    <AntennaPol>VERT</AntennaPol>\n"
               "    <AntPreAmp>OFF</AntPreAmp>\n"
               "    <AverageMode>OFF</AverageMode>\n"
               "    <BandwidthDF>1.00 kHz</BandwidthDF>\n"
               "    <BlockAveragingTime>10</BlockAveragingTime>\n"
               "    <DF_Alt>CORRELATION</DF_Alt>\n"
               "    <FrequencyRange>\n"
               "      <StartFrequency>88000000.00</StartFrequency>\n"
               "      <StopFrequency>240000000.00</StopFrequency>\n"
               "    </FrequencyRange>\n"
               "    <Real_Time_Bandwidth>80 MHz</Real_Time_Bandwidth>\n"
               "    <ScanMemoryID>0</ScanMemoryID>\n"
               "    <DFPan_Selectivity>NORMAL</DFPan_Selectivity>\n"
               "    <Threshold>20</Threshold>\n"
               "    <StopTime></StopTime>\n"
               "    <AttSelect>MANUAL</AttSelect>\n"
               "    <AttenuationHoldValue>10.00</AttenuationHoldValue>\n"
               "    <AttenuationHoldTime>100.00</AttenuationHoldTime>\n"
               "  </KVT317SettingsDetail>\n" +
               example.mid(head.size()))
                  .toStdString());
    // Loaded again, it shows the same and finds nothing.
    auto again = Load(nullptr, path);
    EXPECT_EQ(Row(again->model, 0), Row(model, 0));
    EXPECT_TRUE(again->model.Findings().empty());

    // The next new row takes the next free number.
    ASSERT_TRUE(model.insertRows(4, 1));
    EXPECT_EQ(model.data(model.index(4, 0)).toString(), QStringLiteral("Setting 5"));
    EXPECT_EQ(model.data(model.index(4, 1)).toString(), QStringLiteral("5"));
}

TEST_F(Model, ARefusedEditLeavesTheDocumentByteForByte)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    // A detail whose frequency range is not written: the detail's own flag for it is down.
    KVT317SettingsDetail bare;
    bare.SetLogger(nullptr);
    bare.ResetToDefault();
    ASSERT_TRUE(model.InsertRecord(3, bare));
    const QModelIndex start = model.index(3, ColumnNamed(model, "StartFrequency"));
    EXPECT_EQ(model.data(start).toString(), QStringLiteral("(unset)"));
    EXPECT_EQ(model.data(start, SettingsModel::IsSetRole), QVariant(false));
    EXPECT_EQ(model.data(start, SettingsModel::FindingsRole).toStringList(),
              QStringList({"FrequencyRange: Please set StartFrequency properly."}));

    const QByteArray before = Bytes(model);
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const auto refused = [&](int row, const char* member, const QVariant& value,
                             const QString& why) {
        const QModelIndex cell = model.index(row, ColumnNamed(model, member));
        EXPECT_FALSE(model.setData(cell, value)) << member;
        EXPECT_EQ(model.LastRefusal(), why) << member;
        EXPECT_EQ(Bytes(model), before) << member;
    };
    refused(3, "StartFrequency", QStringLiteral("abc"),
            "StartFrequency: abc is not a value of the member's type");
    refused(3, "StartFrequency", 88000000.125,
            "StartFrequency: the XML form cannot carry 88000000.125; it would be read back as "
            "88.00000013 MHz");
    refused(0, "AttenuationHoldTime", 474.691f,
            "AttenuationHoldTime: the XML form cannot carry 474.691; it would be read back as "
            "474.69 ms");
    refused(0, "StopTime", QDateTime(QDate(10000, 1, 1), QTime(0, 59, 59, 999), Qt::UTC),
            "StopTime: the XML form cannot carry 10000-01-01T00:59:59,999Z; it would be read back "
            "as (none)");
    refused(0, "AntennaPol", 99,
            "AntennaPol: the XML form cannot carry 99; it would be read back as (invalid)");
    refused(0, "Name", QString(),
            "Name: the XML form cannot carry (null); it would be read back as \"\"");
    refused(0, "Name", QStringLiteral("bell\x07"),
            "Name: the XML form cannot carry \"bellU+0007\"; it would be read back as bell");
    EXPECT_FALSE(model.Unset(model.index(0, ColumnNamed(model, "Threshold"))));
    EXPECT_EQ(Bytes(model), before);
    // Unsetting a member a save does not write changes nothing, and succeeds.
    EXPECT_TRUE(model.Unset(start));
    EXPECT_EQ(Bytes(model), before);
    EXPECT_EQ(changed.count(), 0);

    // Accepted, the value raises the detail's flag: its frequency range is written now.
    EXPECT_TRUE(model.setData(start, 100000000.0));
    EXPECT_EQ(model.data(start).toString(), QStringLiteral("100 MHz"));
    EXPECT_EQ(model.data(start, SettingsModel::FindingsRole).toStringList(), QStringList());
    const QModelIndex stop = model.index(3, ColumnNamed(model, "StopFrequency"));
    EXPECT_EQ(model.data(stop).toString(), QStringLiteral("240 MHz"));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("3,%1").arg(start.column()),
                                                  QStringLiteral("3,%1").arg(stop.column())}));
}

TEST_F(Model, AChangeSignalsEveryCellWhoseDataChangedInAnyRole)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    const QModelIndex hold = model.index(0, ColumnNamed(model, "AttenuationHoldTime"));
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    EXPECT_TRUE(model.setData(hold, 474.69f));
    ASSERT_EQ(changed.count(), 1);
    EXPECT_EQ(changed.at(0).at(2).value<QVector<int>>(),
              QVector<int>({Qt::DisplayRole, Qt::EditRole}));
    EXPECT_EQ(model.data(hold, Qt::EditRole), QVariant(474.69f));
    // A value that differs only beyond the decimals kept would change the edit value alone:
    // it is refused, so that what is shown is what a save keeps.
    changed.clear();
    EXPECT_FALSE(model.setData(hold, 474.691f));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(model.data(hold, Qt::EditRole), QVariant(474.69f));

    // A member the file left out is shown set at the value a save writes; setting it to
    // that value changes its findings alone, and the signal names those roles.
    QTemporaryDir dir;
    const QString path = WriteFile(dir, "short.xml",
                                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<KVT317_Settings>\n"
                                   "  <KVT317SettingsDetail Name=\"one\" index=\"1\">\n"
                                   "    <AntennaPol>VERT</AntennaPol>\n"
                                   "  </KVT317SettingsDetail>\n"
                                   "</KVT317_Settings>\n");
    auto shortOne = Load(nullptr, path);
    SettingsModel& other = shortOne->model;
    const QModelIndex threshold = other.index(0, ColumnNamed(other, "Threshold"));
    EXPECT_EQ(other.data(threshold, SettingsModel::FaultRole), QVariant(0));
    QSignalSpy signalled(&other, &QAbstractItemModel::dataChanged);
    EXPECT_TRUE(other.setData(threshold, true, SettingsModel::IsSetRole));
    ASSERT_EQ(signalled.count(), 1);
    EXPECT_EQ(signalled.at(0).at(0).value<QModelIndex>(), threshold);
    EXPECT_EQ(
        signalled.at(0).at(2).value<QVector<int>>(),
        QVector<int>({Qt::ToolTipRole, SettingsModel::FindingsRole, SettingsModel::FaultRole}));
    EXPECT_EQ(other.data(threshold).toString(), QString::fromUtf8("20 dB\u00B5V"));
    EXPECT_EQ(other.data(threshold, SettingsModel::FaultRole), QVariant(-1));
}

TEST_F(Model, AnEmptiedDocumentIsNotSavedOverItsFile)
{
    QTemporaryDir dir;
    const QByteArray example = ReadAll(SourceDir + QStringLiteral("/examples/settings.xml"));
    ASSERT_EQ(example.size(), 2499);
    const QString path = WriteFile(dir, "settings.xml", example);
    auto watched = Load(nullptr, path);
    SettingsModel& model = watched->model;
    ASSERT_TRUE(model.removeRows(0, 3));
    ASSERT_EQ(model.Findings().size(), size_t(1));
    EXPECT_EQ(model.Findings().front().finding.message,
              QStringLiteral("KVT317_Settings: Please set KVT317SettingsDetail properly."));

    SaveReport report;
    EXPECT_FALSE(SaveSettingsDocument(*model.Document(), path, DocumentForm::Xml, &report));
    EXPECT_EQ(report.error, QStringLiteral("the document has 1 fault(s); the first: "
                                           "KVT317_Settings: Please set KVT317SettingsDetail "
                                           "properly."));
    EXPECT_EQ(ReadAll(path), example);

    // With validation on the library writes nothing of a document without details.
    model.Document()->SetValidate(true);
    const QString written[] = {
        "the XML written would not read back: XML error in line 2, column 0: Premature end of "
        "document.",
        "the binary written would not read back: Binary data ends before the frame head"};
    int i = 0;
    for (DocumentForm form : {DocumentForm::Xml, DocumentForm::Binary}) {
        EXPECT_FALSE(SaveSettingsDocument(*model.Document(), path, form, &report));
        EXPECT_EQ(report.error, written[i]);
        EXPECT_FALSE(
            SaveSettingsDocument(*model.Document(), path, form, &report, SaveFaults::Accept));
        EXPECT_EQ(report.error, written[i]);
        EXPECT_EQ(ReadAll(path), example);
        ++i;
    }
}

TEST_F(Model, ADocumentWithFaultsIsSavedOnlyWhenTheCallerAccepts)
{
    QTemporaryDir dir;
    const QString path = dir.filePath("faulty.xml");
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    KVT317SettingsDetail bare;
    bare.SetLogger(nullptr);
    bare.ResetToDefault();
    ASSERT_TRUE(model.InsertRecord(0, bare));
    SaveReport report;
    EXPECT_FALSE(SaveSettingsDocument(*model.Document(), path, DocumentForm::Xml, &report));
    EXPECT_FALSE(QFile::exists(path));
    QStringList faults;
    for (const ReadFinding& finding : report.faults)
        faults.append(finding.message);
    EXPECT_EQ(faults, QStringList({"KVT317SettingsDetail: Please set AverageMode properly.",
                                   "KVT317SettingsDetail: Please set BandwidthDF properly.",
                                   "KVT317SettingsDetail: Please set ScanMemoryID properly.",
                                   "KVT317SettingsDetail: Please set StopTime properly.",
                                   "FrequencyRange: Please set StartFrequency properly.",
                                   "FrequencyRange: Please set StopFrequency properly."}));
    EXPECT_EQ(report.error, QStringLiteral("the document has 6 fault(s); the first: "
                                           "KVT317SettingsDetail: Please set AverageMode "
                                           "properly."));
    EXPECT_TRUE(SaveSettingsDocument(*model.Document(), path, DocumentForm::Xml, &report,
                                     SaveFaults::Accept));
    auto again = Load(nullptr, path);
    for (int column = 0; column < model.columnCount(); ++column) {
        const QModelIndex a = model.index(0, column);
        const QModelIndex b = again->model.index(0, column);
        EXPECT_EQ(again->model.data(b).toString(), model.data(a).toString()) << column;
        EXPECT_EQ(again->model.data(b, SettingsModel::IsSetRole),
                  model.data(a, SettingsModel::IsSetRole))
            << column;
    }
}

TEST_F(Model, ALoadedValueIsShownAsASaveWritesIt)
{
    QTemporaryDir dir;
    const QString path = WriteFile(dir, "extra.xml",
                                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<KVT317_Settings>\n"
                                   "  <KVT317SettingsDetail Name=\"one\" index=\"1\">\n"
                                   "    <AntennaPol>VERT</AntennaPol>\n"
                                   "    <AttenuationHoldTime>474.691</AttenuationHoldTime>\n"
                                   "    <StopTime>2026-11-30T18:00:00.5</StopTime>\n"
                                   "  </KVT317SettingsDetail>\n"
                                   "</KVT317_Settings>\n");
    auto watched = Load(nullptr, path);
    const SettingsModel& model = watched->model;
    const QModelIndex hold = model.index(0, ColumnNamed(model, "AttenuationHoldTime"));
    EXPECT_EQ(model.data(hold).toString(), QStringLiteral("474.69 ms"));
    EXPECT_EQ(model.data(hold, Qt::EditRole), QVariant(474.69f));
    EXPECT_EQ(model.data(hold, SettingsModel::FindingsRole).toStringList(),
              QStringList({"line 5, column 5: AttenuationHoldTime: '474.691' keeps 2 decimals "
                           "(written as 474.69)"}));
    const QModelIndex stop = model.index(0, ColumnNamed(model, "StopTime"));
    EXPECT_EQ(model.data(stop).toString(), QStringLiteral("2026-11-30T18:00:00,500Z"));
    // Members the file leaves out are always written: set, at the value a save gives them,
    // with the check's word that the document lacks them; a member without a usable value
    // also with what loading it back would say.
    const QModelIndex threshold = model.index(0, ColumnNamed(model, "Threshold"));
    EXPECT_EQ(model.data(threshold).toString(), QString::fromUtf8("20 dB\u00B5V"));
    EXPECT_EQ(model.data(threshold, SettingsModel::IsSetRole), QVariant(true));
    EXPECT_EQ(model.data(threshold, SettingsModel::FindingsRole).toStringList(),
              QStringList({"KVT317SettingsDetail: Please set Threshold properly."}));
    const QModelIndex average = model.index(0, ColumnNamed(model, "AverageMode"));
    EXPECT_EQ(model.data(average).toString(), QStringLiteral("(invalid)"));
    EXPECT_EQ(model.data(average, SettingsModel::FindingsRole).toStringList(),
              QStringList({"KVT317SettingsDetail: Please set AverageMode properly.",
                           "enum is not valid "
                           "(classname=KVT317SettingsDetail,membername=m_averageMode)"}));
    // The frequency range the detail does not hold is not written: unset.
    const QModelIndex start = model.index(0, ColumnNamed(model, "StartFrequency"));
    EXPECT_EQ(model.data(start).toString(), QStringLiteral("(unset)"));
    EXPECT_EQ(model.data(start, SettingsModel::IsSetRole), QVariant(false));
}

TEST_F(Model, ATextXmlCannotCarryIsSavedInNoForm)
{
    QTemporaryDir dir;
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    KVT317SettingsDetail detail = StartingDetail(1, QStringLiteral("bell\x07"));
    settings.AppendKVT317SettingsDetail(detail);
    const QString path = WriteFile(dir, "bell.bin", settings.GetBinaryRepresentationAsQByteArray());
    auto watched = Load(nullptr, path);
    SettingsModel& model = watched->model;
    EXPECT_EQ(model.data(model.index(0, 0)).toString(), QStringLiteral("bell\x07"));
    EXPECT_EQ(model.data(model.index(0, 0), SettingsModel::FindingsRole).toStringList(),
              QStringList({"offset 24: Name: holds U+0007, which XML cannot carry"}));

    // XML would lose the character: not saved, even when faults are accepted.
    SaveReport report;
    const QString xml = dir.filePath("bell.xml");
    EXPECT_FALSE(SaveSettingsDocument(*model.Document(), xml, DocumentForm::Xml, &report,
                                      SaveFaults::Accept));
    EXPECT_EQ(report.error,
              QStringLiteral("the document as written would load back other than it is shown"));
    EXPECT_FALSE(QFile::exists(xml));
    // A binary save refuses it as well: the file would hold what no XML save could write.
    const QString copy = dir.filePath("copy.bin");
    EXPECT_FALSE(SaveSettingsDocument(*model.Document(), copy, DocumentForm::Binary, &report));
    EXPECT_EQ(report.error, QStringLiteral("the document has 1 fault(s); the first: Name: holds "
                                           "U+0007, which XML cannot carry"));
    EXPECT_FALSE(QFile::exists(copy));
    EXPECT_FALSE(SaveSettingsDocument(*model.Document(), copy, DocumentForm::Binary, &report,
                                      SaveFaults::Accept));
    EXPECT_EQ(
        report.error,
        QStringLiteral("KVT317SettingsDetail: Name holds U+0007, a character that XML cannot "
                       "carry\nCannot write '%1': KVT317_Settings/KVT317SettingsDetail[1]/Name "
                       "holds U+0007 at character 5, a character XML cannot carry; remove or "
                       "replace it: a text may hold no control character but tab, line feed "
                       "and carriage return, neither U+FFFE nor U+FFFF, and no surrogate "
                       "without its pair")
            .arg(copy));
    EXPECT_FALSE(QFile::exists(copy));
}

TEST_F(Model, TheChecksOfASaveAreGivenWithoutWriting)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    for (DocumentForm form : {DocumentForm::Xml, DocumentForm::Binary, DocumentForm::Compressed}) {
        const SaveReport clean = SaveProblems(*model.Document(), form);
        EXPECT_EQ(clean.error, QString());
        EXPECT_TRUE(clean.faults.empty());
    }

    // Faults a caller may accept: the report has them, and no error.
    KVT317SettingsDetail bare;
    bare.SetLogger(nullptr);
    bare.ResetToDefault();
    bare.SetName(QStringLiteral("bare"));
    bare.Setindex(4);
    ASSERT_TRUE(model.InsertRecord(3, bare));
    const SaveReport faulty = SaveProblems(*model.Document(), DocumentForm::Binary);
    EXPECT_EQ(faulty.error, QString());
    QStringList faults;
    for (const ReadFinding& finding : faulty.faults)
        faults.append(finding.message);
    EXPECT_EQ(faults, QStringList({"KVT317SettingsDetail: Please set AverageMode properly.",
                                   "KVT317SettingsDetail: Please set BandwidthDF properly.",
                                   "KVT317SettingsDetail: Please set ScanMemoryID properly.",
                                   "KVT317SettingsDetail: Please set StopTime properly.",
                                   "FrequencyRange: Please set StartFrequency properly.",
                                   "FrequencyRange: Please set StopFrequency properly."}));

    // A refusal no caller can accept: the error says why.
    KVT317_Settings settings;
    settings.SetLogger(nullptr);
    settings.AppendKVT317SettingsDetail(StartingDetail(1, QStringLiteral("bell\x07")));
    const SaveReport xml = SaveProblems(settings, DocumentForm::Xml);
    EXPECT_EQ(xml.error,
              QStringLiteral("the document as written would load back other than it is shown"));
    const SaveReport binary = SaveProblems(settings, DocumentForm::Binary);
    EXPECT_EQ(binary.error, QString());
    ASSERT_EQ(binary.faults.size(), size_t(1));
    EXPECT_EQ(binary.faults.front().message,
              QStringLiteral("Name: holds U+0007, which XML cannot carry"));
}

TEST_F(Model, ASaveGivesTheWarningsOfTheWrite)
{
    if (::geteuid() != 0)
        GTEST_SKIP() << "another owner's file needs root to make";
    QTemporaryDir dir;
    ASSERT_EQ(::chmod(QFile::encodeName(dir.path()).constData(), 0777), 0);
    const QString path = WriteFile(dir, "owned.xml", "<x/>");
    const QByteArray local = QFile::encodeName(path);
    ASSERT_EQ(::chown(local.constData(), 0, 65534), 0);
    ASSERT_EQ(::chmod(local.constData(), 0666), 0);
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    // As nobody (65534), in a child process, since a process cannot take root back.
    const pid_t child = fork();
    if (child == 0) {
        SaveReport report;
        const bool saved =
            ::setgid(65534) == 0 && ::setuid(65534) == 0 &&
            SaveSettingsDocument(*watched->model.Document(), path, DocumentForm::Xml, &report);
        const QStringList expected(
            QStringLiteral(
                "'%1' could not keep its owner and group root:nogroup (0:65534): Operation not "
                "permitted; they are now nobody:nogroup (65534:65534)")
                .arg(path));
        _exit(saved && report.error.isEmpty() && report.warnings == expected ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_EQ(ReadAll(path), ReadAll(SourceDir + QStringLiteral("/examples/settings.xml")));
}
