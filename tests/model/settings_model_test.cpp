// The item model over settings documents, watched by Qt's QAbstractItemModelTester in fatal
// mode through every load and every editing operation.

#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <MemberDisplay.h>
#include <SettingsDocument.h>
#include <SettingsModel.h>

#include "ModelTestSupport.h"

#include <QAbstractItemModelTester>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <memory>

using namespace KVT317XML;

TEST_F(Model, EveryTestDocumentPassesTheTester)
{
    QStringList paths;
    for (const QString& name : QDir(SourceDir + QStringLiteral("/examples"))
                                   .entryList({"*.xml", "*.bin", "*.binz"}, QDir::Files))
        paths.append(SourceDir + QStringLiteral("/examples/") + name);
    for (const QString& name :
         QDir(SourceDir + QStringLiteral("/tests/schema/documents")).entryList(QDir::Files))
        paths.append(SourceDir + QStringLiteral("/tests/schema/documents/") + name);
    ASSERT_GE(paths.size(), 6);
    Watched watched;
    int shown = 0;
    for (const QString& path : paths) {
        LoadedDocument document = LoadSettingsDocument(path);
        if (!document.record)
            continue;
        watched.model.SetDocument(std::move(document.record), std::move(document.findings));
        ReadEveryCell(watched.model);
        ++shown;
    }
    EXPECT_GE(shown, 6);
}

TEST_F(Model, ShowsTheExampleRowByDetail)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    const SettingsModel& model = watched->model;
    EXPECT_EQ(model.rowCount(), 3);
    QStringList headers;
    for (int column = 0; column < model.columnCount(); ++column)
        headers.append(model.headerData(column, Qt::Horizontal).toString());
    EXPECT_EQ(headers.join(QLatin1Char(' ')),
              QStringLiteral("Name index AntennaPol AntPreAmp AverageMode BandwidthDF "
                             "BlockAveragingTime DF_Alt StartFrequency StopFrequency "
                             "Real_Time_Bandwidth ScanMemoryID DFPan_Selectivity Threshold "
                             "StopTime AttSelect AttenuationHoldValue AttenuationHoldTime"));
    EXPECT_EQ(ColumnNamed(model, "Name"), 0);
    EXPECT_EQ(ColumnNamed(model, "index"), 1);
    EXPECT_EQ(Column(model, ColumnNamed(model, "Name")),
              QStringList({"VHF airband", "Marine VHF", "UHF survey"}));
    EXPECT_EQ(Column(model, ColumnNamed(model, "StopFrequency")),
              QStringList({"137 MHz", "162.025 MHz", "470 MHz"}));
    EXPECT_EQ(Column(model, ColumnNamed(model, "Threshold")),
              QStringList({QString::fromUtf8("10 dB\u00B5V"), QString::fromUtf8("15 dB\u00B5V"),
                           QString::fromUtf8("20 dB\u00B5V")}));
    EXPECT_EQ(Column(model, ColumnNamed(model, "AttenuationHoldTime")),
              QStringList({"250.00 ms", "250.00 ms", "250.00 ms"}));
    EXPECT_EQ(Column(model, ColumnNamed(model, "BandwidthDF")),
              QStringList({"25.0 kHz", "12.5 kHz", "100 kHz"}));

    const QModelIndex pol = model.index(1, ColumnNamed(model, "AntennaPol"));
    EXPECT_EQ(model.data(pol, Qt::EditRole), QVariant(int(KVT317SettingsDetail::AntennaPol_HOR)));
    EXPECT_EQ(model.data(pol, SettingsModel::NamesRole).toStringList(),
              KVT317SettingsDetail::GetAntennaPols());
    EXPECT_EQ(model.data(pol, SettingsModel::DisplayNamesRole).toStringList(),
              KVT317SettingsDetail::GetGUIAntennaPols());
    EXPECT_EQ(model.data(pol, SettingsModel::IsSetRole), QVariant(true));
    EXPECT_EQ(model.data(pol, SettingsModel::DefaultRole),
              QVariant(int(KVT317SettingsDetail::AntennaPol_VERT)));
    EXPECT_EQ(model.data(pol, SettingsModel::FaultRole), QVariant(-1));
    EXPECT_EQ(model.data(pol, SettingsModel::FindingsRole).toStringList(), QStringList());

    const QModelIndex start = model.index(0, ColumnNamed(model, "StartFrequency"));
    EXPECT_EQ(model.data(start, Qt::EditRole), QVariant(118000000.0));
    EXPECT_EQ(model.data(start, SettingsModel::UnitRole), QVariant(QStringLiteral("Hz")));
    EXPECT_EQ(model.data(start, SettingsModel::DecimalsRole), QVariant(2));
    EXPECT_EQ(model.data(start, SettingsModel::DefaultRole), QVariant(88000000.0));
    const QModelIndex stop = model.index(0, ColumnNamed(model, "StopTime"));
    EXPECT_EQ(model.data(stop, Qt::EditRole).toDateTime(),
              QDateTime(QDate(2026, 11, 30), QTime(18, 0), Qt::UTC));

    const QHash<int, QByteArray> roles = model.roleNames();
    EXPECT_EQ(roles.value(Qt::DisplayRole), QByteArray("display"));
    EXPECT_EQ(roles.value(SettingsModel::IsSetRole), QByteArray("isSet"));
    EXPECT_EQ(roles.value(SettingsModel::DisplayNamesRole), QByteArray("displayNames"));
    EXPECT_EQ(roles.value(SettingsModel::FindingsRole), QByteArray("findings"));
}

TEST_F(Model, ABearingDocumentIsOneRow)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/bearing-settings.xml"));
    const SettingsModel& model = watched->model;
    EXPECT_EQ(model.rowCount(), 1);
    EXPECT_FALSE(model.HasRowList());
    const int mode = ColumnNamed(model, "DFMode");
    ASSERT_GE(mode, 0);
    EXPECT_EQ(model.data(model.index(0, mode), SettingsModel::NamesRole).toStringList(),
              QStringList({"Cont", "Norm", "Gate"}));
    SettingsModel& editable = watched->model;
    EXPECT_FALSE(editable.insertRows(0, 1));
    EXPECT_FALSE(editable.removeRows(0, 1));

    QSignalSpy changed(&editable, &QAbstractItemModel::dataChanged);
    const QModelIndex modeCell = model.index(0, mode);
    EXPECT_TRUE(editable.setData(modeCell, 0));
    EXPECT_EQ(model.data(modeCell).toString(), QStringLiteral("Cont"));
    EXPECT_TRUE(editable.Unset(modeCell));
    EXPECT_EQ(model.data(modeCell).toString(), QStringLiteral("(unset)"));
    EXPECT_EQ(ChangedCells(changed),
              QStringList({QStringLiteral("0,%1").arg(mode), QStringLiteral("0,%1").arg(mode)}));
    const QModelIndex frequency = model.index(0, ColumnNamed(model, "Frequency"));
    EXPECT_TRUE(editable.SetToDefault(frequency));
    ReadEveryCell(model);
}

TEST_F(Model, AnEditChangesExactlyItsCell)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QModelIndex threshold = model.index(1, ColumnNamed(model, "Threshold"));
    EXPECT_TRUE(model.setData(threshold, 25));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("1,%1").arg(threshold.column())}));
    EXPECT_EQ(model.data(threshold).toString(), QString::fromUtf8("25 dB\u00B5V"));
    EXPECT_EQ(model.RowRecord(1)->MemberText(model.ColumnMember(threshold.column())->bit),
              QStringLiteral("25"));

    changed.clear();
    const QModelIndex stop = model.index(2, ColumnNamed(model, "StopFrequency"));
    EXPECT_TRUE(model.setData(stop, 471250000.5));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("2,%1").arg(stop.column())}));
    EXPECT_EQ(model.data(stop).toString(), QStringLiteral("471.2500005 MHz"));

    // The same value again changes nothing, and says so by no signal.
    changed.clear();
    EXPECT_TRUE(model.setData(stop, 471250000.5));
    EXPECT_EQ(changed.count(), 0);

    const QModelIndex pol = model.index(0, ColumnNamed(model, "AntennaPol"));
    changed.clear();
    EXPECT_TRUE(model.setData(pol, int(KVT317SettingsDetail::AntennaPol_RIGHT)));
    EXPECT_EQ(model.data(pol).toString(), QStringLiteral("RIGHT"));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("0,%1").arg(pol.column())}));
    ReadEveryCell(model);
}

TEST_F(Model, ARefusedValueIsNotStored)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    const QModelIndex threshold = model.index(0, ColumnNamed(model, "Threshold"));
    EXPECT_FALSE(model.setData(threshold, QStringLiteral("ten")));
    EXPECT_FALSE(model.setData(threshold, 10.5));
    EXPECT_FALSE(model.setData(threshold, 10, SettingsModel::FindingsRole));
    EXPECT_EQ(model.data(threshold).toString(), QString::fromUtf8("10 dB\u00B5V"));
    EXPECT_EQ(changed.count(), 0);

    // With validation on, an enumerator outside the names raises, and nothing is kept.
    model.Document()->SetValidate(true);
    const QModelIndex pol = model.index(0, ColumnNamed(model, "AntennaPol"));
    EXPECT_FALSE(model.setData(pol, 99));
    EXPECT_EQ(model.data(pol).toString(), QStringLiteral("VERT"));
    EXPECT_EQ(changed.count(), 0);
}

TEST_F(Model, ACellGoesBackToItsDefaultOrToUnset)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    const QModelIndex threshold = model.index(0, ColumnNamed(model, "Threshold"));
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    EXPECT_TRUE(model.SetToDefault(threshold));
    EXPECT_EQ(model.data(threshold).toString(), QString::fromUtf8("20 dB\u00B5V"));
    EXPECT_EQ(model.data(threshold, SettingsModel::IsSetRole), QVariant(true));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("0,%1").arg(threshold.column())}));

    changed.clear();
    const QModelIndex name = model.index(0, ColumnNamed(model, "Name"));
    EXPECT_TRUE(model.setData(name, false, SettingsModel::IsSetRole));
    EXPECT_EQ(model.data(name).toString(), QStringLiteral("(unset)"));
    EXPECT_EQ(model.data(name, SettingsModel::IsSetRole), QVariant(false));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("0,%1").arg(name.column())}));

    // A required member is saved whether set or not: it cannot be unset, and the document
    // stays as it was.
    changed.clear();
    const QModelIndex scan = model.index(2, ColumnNamed(model, "ScanMemoryID"));
    const QByteArray before = model.Document()->GetXmlString().toUtf8();
    EXPECT_FALSE(model.Unset(scan));
    EXPECT_EQ(model.LastRefusal(),
              QStringLiteral("ScanMemoryID is always saved; it cannot be unset"));
    EXPECT_EQ(model.data(scan).toString(), QStringLiteral("30"));
    EXPECT_EQ(model.data(scan, SettingsModel::IsSetRole), QVariant(true));
    EXPECT_EQ(changed.count(), 0);
    EXPECT_EQ(model.Document()->GetXmlString().toUtf8(), before);
    ReadEveryCell(model);
}

TEST_F(Model, RowsAreInsertedRemovedAndMoved)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    SettingsModel& model = watched->model;
    const int name = ColumnNamed(model, "Name");
    EXPECT_TRUE(model.insertRows(1, 2));
    EXPECT_EQ(model.rowCount(), 5);
    EXPECT_EQ(Column(model, name),
              QStringList({"VHF airband", "Setting 4", "Setting 5", "Marine VHF", "UHF survey"}));
    EXPECT_EQ(model.data(model.index(1, ColumnNamed(model, "Threshold"))).toString(),
              QString::fromUtf8("20 dB\u00B5V"));
    EXPECT_TRUE(model.removeRows(1, 2));
    EXPECT_EQ(Column(model, name), QStringList({"VHF airband", "Marine VHF", "UHF survey"}));

    EXPECT_TRUE(model.moveRows(QModelIndex(), 0, 1, QModelIndex(), 3));
    EXPECT_EQ(Column(model, name), QStringList({"Marine VHF", "UHF survey", "VHF airband"}));
    EXPECT_TRUE(model.moveRows(QModelIndex(), 1, 2, QModelIndex(), 0));
    EXPECT_EQ(Column(model, name), QStringList({"UHF survey", "VHF airband", "Marine VHF"}));
    EXPECT_FALSE(model.moveRows(QModelIndex(), 0, 1, QModelIndex(), 1));

    // A copy of a row goes in as it is.
    const KVT317SettingsDetail copy = *static_cast<const KVT317SettingsDetail*>(model.RowRecord(2));
    EXPECT_TRUE(model.InsertRecord(0, copy));
    EXPECT_EQ(Column(model, name),
              QStringList({"Marine VHF", "UHF survey", "VHF airband", "Marine VHF"}));
    EXPECT_TRUE(model.removeRows(0, 4));
    EXPECT_EQ(model.rowCount(), 0);
    ReadEveryCell(model);

    // Reloading the whole document.
    Load(watched.get(), SourceDir + QStringLiteral("/examples/settings.bin"));
    EXPECT_EQ(Column(model, name), QStringList({"VHF airband", "Marine VHF", "UHF survey"}));
}

TEST_F(Model, CellsCarryTheirLocatedFindings)
{
    QTemporaryDir dir;
    const QString path = WriteFile(dir, "faulty.xml",
                                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                   "<KVT317_Settings>\n"
                                   "  <KVT317SettingsDetail Name=\"one\" index=\"1\">\n"
                                   "    <AntennaPol>SIDEWAYS</AntennaPol>\n"
                                   "    <Threshold>ten</Threshold>\n"
                                   "  </KVT317SettingsDetail>\n"
                                   "</KVT317_Settings>\n");
    auto watched = Load(nullptr, path);
    SettingsModel& model = watched->model;
    ReadEveryCell(model);
    const QModelIndex pol = model.index(0, ColumnNamed(model, "AntennaPol"));
    const QModelIndex threshold = model.index(0, ColumnNamed(model, "Threshold"));
    EXPECT_EQ(model.data(pol).toString(), QStringLiteral("(invalid)"));
    EXPECT_EQ(model.data(pol, SettingsModel::FindingsRole).toStringList(),
              QStringList({"line 4, column 5: AntennaPol: unknown name 'SIDEWAYS' (read as "
                           "invalid); allowed: VERT, HOR, LEFT, RIGHT",
                           "line 4, column 5: enum is not valid "
                           "(classname=KVT317SettingsDetail,membername=m_antennaPol)",
                           "KVT317SettingsDetail: Please set AntennaPol properly."}));
    EXPECT_EQ(
        model.data(threshold, SettingsModel::FindingsRole).toStringList(),
        QStringList({"line 5, column 5: Threshold: 'ten' is not a whole number (read as 0)"}));
    EXPECT_EQ(model.headerData(0, Qt::Vertical, SettingsModel::FindingsRole).toStringList(),
              QStringList({"line 3, column 3: KVT317_Settings: Tried to append not completely "
                           "defined or invalid item KVT317SettingsDetail."}));
    EXPECT_EQ(model.headerData(0, Qt::Vertical, SettingsModel::FaultRole), QVariant(1));
    EXPECT_EQ(model.data(threshold, SettingsModel::FaultRole), QVariant(0));

    // Mending the cell takes its findings away, and only from that cell.
    QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    EXPECT_TRUE(model.setData(threshold, 12));
    EXPECT_EQ(ChangedCells(changed), QStringList({QStringLiteral("0,%1").arg(threshold.column())}));
    EXPECT_EQ(model.data(threshold, SettingsModel::FindingsRole).toStringList(), QStringList());
    EXPECT_EQ(model.data(threshold, Qt::ToolTipRole), QVariant());
    EXPECT_EQ(model.StandingReadFindings().size(), size_t(3));
}

TEST_F(Model, CellsAreEditableAndNothingElseIs)
{
    auto watched = Load(nullptr, SourceDir + QStringLiteral("/examples/settings.xml"));
    const SettingsModel& model = watched->model;
    const Qt::ItemFlags cell =
        Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
    EXPECT_EQ(model.flags(model.index(0, 0)), cell);
    EXPECT_EQ(model.flags(model.index(2, model.columnCount() - 1)), cell);
    EXPECT_EQ(model.flags(QModelIndex()), Qt::NoItemFlags);
    EXPECT_EQ(model.flags(model.index(3, 0)), Qt::NoItemFlags);
}

TEST(DocumentForms, HaveTheirNames)
{
    EXPECT_EQ(DocumentFormName(DocumentForm::Xml), QStringLiteral("XML"));
    EXPECT_EQ(DocumentFormName(DocumentForm::Binary), QStringLiteral("binary"));
    EXPECT_EQ(DocumentFormName(DocumentForm::Compressed), QStringLiteral("compressed binary"));
}

TEST(DocumentForms, DocumentBytesAreWhatTheShippedExamplesHold)
{
    LoadedDocument document =
        LoadSettingsDocument(SourceDir + QStringLiteral("/examples/settings.xml"));
    ASSERT_TRUE(document.record) << qPrintable(document.error);
    for (const auto& [form, name] : {std::pair{DocumentForm::Xml, "settings.xml"},
                                     std::pair{DocumentForm::Binary, "settings.bin"}}) {
        QFile file(SourceDir + QStringLiteral("/examples/") + QLatin1String(name));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << name;
        EXPECT_EQ(DocumentBytes(*document.record, form), file.readAll()) << name;
    }
}
