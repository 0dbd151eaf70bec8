// kvt317-editor driven through its widgets, under the offscreen platform.

#include "Commands.h"
#include "EditorTestSupport.h"
#include "EditorWindow.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFileInfo>
#include <QHeaderView>
#include <QLineEdit>
#include <QListView>
#include <QLockFile>
#include <QMessageBox>
#include <QPainter>
#include <QSpinBox>
#include <QStatusBar>
#include <QSysInfo>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUndoStack>

using KVT317XML::SettingsModel;

class EditorTest : public QObject
{
    Q_OBJECT

private slots:
    void editUndoRedoAddRemoveSave();
    void aRefusedSaveLeavesTheFile();
    void aSaveWithFaultsIsConfirmed();
    void addDetailGivesACompleteRow();
    void aRefusedEditSaysWhy();
    void findingsSelectTheirCells();
    void jsonDocuments();
    void duplicateMoveResetFilterAndClose();
    void screenshots();
};

void EditorTest::editUndoRedoAddRemoveSave()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QVERIFY(QFile::copy(SourceDir + QStringLiteral("/examples/settings.xml"), path));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QCOMPARE(window.windowTitle(), QString::fromUtf8("settings.xml[*] \u2014 kvt317-editor"));
    QVERIFY(!window.isWindowModified());
    QTableView& table = *window.Table();
    const QAbstractItemModel& model = *table.model();
    QCOMPARE(model.rowCount(), 3);

    // Threshold of the second detail, typed into its spin box.
    table.setFocus();
    table.setCurrentIndex(model.index(1, ColumnNamed(model, QStringLiteral("Threshold"))));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* spin = table.findChild<QSpinBox*>(QStringLiteral("integerEditor"));
    QVERIFY(spin);
    QCOMPARE(spin->suffix(), QString::fromUtf8(" dB\u00B5V"));
    QCOMPARE(spin->value(), 15);
    QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(spin, QStringLiteral("25"));
    Commit(spin);
    QCOMPARE(Shown(table, 1, QStringLiteral("Threshold")), QString::fromUtf8("25 dB\u00B5V"));
    QVERIFY(window.isWindowModified());

    QVERIFY2(Trigger(window, "undo"), "undo");
    QCOMPARE(Shown(table, 1, QStringLiteral("Threshold")), QString::fromUtf8("15 dB\u00B5V"));
    QVERIFY(!window.isWindowModified());
    QVERIFY2(Trigger(window, "redo"), "redo");
    QCOMPARE(Shown(table, 1, QStringLiteral("Threshold")), QString::fromUtf8("25 dB\u00B5V"));

    // AntennaPol of the first detail, the next name in its combo box.
    table.setCurrentIndex(model.index(0, ColumnNamed(model, QStringLiteral("AntennaPol"))));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* combo = table.findChild<QComboBox*>(QStringLiteral("enumerationEditor"));
    QVERIFY(combo);
    QCOMPARE(combo->count(), 4);
    QCOMPARE(combo->currentText(), QStringLiteral("VERT"));
    QTest::keyClick(combo, Qt::Key_Down);
    Commit(combo);
    QCOMPARE(Shown(table, 0, QStringLiteral("AntennaPol")), QStringLiteral("HOR"));

    // A detail added after the last, then removed.
    table.setCurrentIndex(model.index(2, 0));
    QVERIFY2(Trigger(window, "addDetail"), "addDetail");
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(Shown(table, 3, QStringLiteral("Threshold")), QString::fromUtf8("20 dB\u00B5V"));
    QCOMPARE(table.currentIndex().row(), 3);
    QVERIFY2(Trigger(window, "removeDetail"), "removeDetail");
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(window.UndoStack()->count(), 4);

    QVERIFY2(Trigger(window, "save"), "save");
    QVERIFY(!window.isWindowModified());
    QCOMPARE(ReadAll(path), EditedExample);
}

void EditorTest::aRefusedSaveLeavesTheFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("faulty.xml"));
    QVERIFY(WriteAll(path, Faulty));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QTableView& table = *window.Table();
    QStringList asked;
    bool answer = false;
    window.confirmLossySave = [&asked, &answer](const QStringList& reasons) {
        asked = reasons;
        return answer;
    };
    table.setFocus();
    table.setCurrentIndex(table.model()->index(0, ColumnNamed(*table.model(), "AntennaPol")));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* combo = table.findChild<QComboBox*>(QStringLiteral("enumerationEditor"));
    QVERIFY(combo);
    QTest::keyClick(combo, Qt::Key_Down);
    Commit(combo);
    QCOMPARE(Shown(table, 0, QStringLiteral("AntennaPol")), QStringLiteral("HOR"));

    QVERIFY2(Trigger(window, "save"), "save");
    QCOMPARE(asked, QStringList(
                        {"line 16, column 5: unknown element 'Colour' (ignored)",
                         "line 18, column 5: Threshold: 'ten' is not a whole number (read as 0)"}));
    QCOMPARE(ReadAll(path), Faulty);
    QVERIFY(window.isWindowModified());

    answer = true;
    QVERIFY2(Trigger(window, "save"), "save");
    QVERIFY(!window.isWindowModified());
    QVERIFY(ReadAll(path) != Faulty);
    QVERIFY(!ReadAll(path).contains("Colour"));
}

void EditorTest::aSaveWithFaultsIsConfirmed()
{
    // The third detail without its Threshold, which the check asks for; a save writes the
    // member's default.
    QByteArray missing = ReadAll(SourceDir + QStringLiteral("/examples/settings.xml"));
    QCOMPARE(missing.count("    <Threshold>20</Threshold>\n"), 1);
    missing.replace("    <Threshold>20</Threshold>\n", "");
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QVERIFY(WriteAll(path, missing));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    // The load took the detail as it came, and says so; saving writes what it lacks.
    QStringList lossy;
    window.confirmLossySave = [&lossy](const QStringList& reasons) {
        lossy = reasons;
        return true;
    };
    QStringList asked;
    bool answer = false;
    window.confirmFaultySave = [&asked, &answer](const QStringList& faults) {
        asked = faults;
        return answer;
    };
    SettingsModel& model = window.Model();
    window.UndoStack()->push(new SetCellCommand(model, 0, ColumnNamed(model, "AntennaPol"),
                                                SetCellCommand::Change::Value, QVariant(1)));
    window.UndoStack()->push(new SetCellCommand(model, 1, ColumnNamed(model, "Threshold"),
                                                SetCellCommand::Change::Value, QVariant(25)));
    QCOMPARE(window.UndoStack()->count(), 2);

    // Declined: nothing is written, and the editor says so.
    QVERIFY(!window.Save());
    QCOMPARE(lossy, QStringList({"line 43, column 3: KVT317_Settings: Tried to append not "
                                 "completely defined or invalid item KVT317SettingsDetail."}));
    QCOMPARE(asked, QStringList({"KVT317SettingsDetail: Please set Threshold properly."}));
    QCOMPARE(ReadAll(path), missing);
    QVERIFY(window.isWindowModified());
    QCOMPARE(window.statusBar()->currentMessage(),
             QStringLiteral("Not saved: the document has 1 fault(s) at level error"));

    // Accepted: saved, and not as a plain success.
    asked.clear();
    answer = true;
    QVERIFY(window.Save());
    QCOMPARE(asked, QStringList({"KVT317SettingsDetail: Please set Threshold properly."}));
    QCOMPARE(ReadAll(path), EditedExample);
    QVERIFY(!window.isWindowModified());
    QCOMPARE(window.statusBar()->currentMessage(),
             QStringLiteral("Saved settings.xml with 1 fault(s) at level error, as accepted"));
}

void EditorTest::addDetailGivesACompleteRow()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QVERIFY(QFile::copy(SourceDir + QStringLiteral("/examples/settings.xml"), path));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    window.confirmFaultySave = [](const QStringList& faults) {
        QTest::qFail(qPrintable(faults.join(QLatin1Char('\n'))), __FILE__, __LINE__);
        return false;
    };
    QTableView& table = *window.Table();
    const QAbstractItemModel& model = *table.model();
    table.setFocus();
    table.setCurrentIndex(model.index(0, 0));
    QVERIFY2(Trigger(window, "addDetail"), "addDetail");
    QCOMPARE(model.rowCount(), 4);
    QCOMPARE(table.currentIndex().row(), 1);
    QStringList cells;
    QStringList faults;
    for (int column = 0; column < model.columnCount(); ++column) {
        const QModelIndex cell = model.index(1, column);
        cells.append(model.headerData(column, Qt::Horizontal).toString() + QLatin1Char('=') +
                     cell.data().toString());
        if (cell.data(SettingsModel::FaultRole).toInt() >= 0 ||
            !cell.data(SettingsModel::IsSetRole).toBool())
            faults.append(cells.back());
    }
    QCOMPARE(cells,
             QStringList({"Name=Setting 4", "index=4", "AntennaPol=VERT", "AntPreAmp=OFF",
                          "AverageMode=OFF", "BandwidthDF=1.00 kHz", "BlockAveragingTime=10 ms",
                          "DF_Alt=CORRELATION", "StartFrequency=88 MHz", "StopFrequency=240 MHz",
                          "Real_Time_Bandwidth=80 MHz", "ScanMemoryID=0",
                          "DFPan_Selectivity=NORMAL", QString::fromUtf8("Threshold=20 dB\u00B5V"),
                          "StopTime=(none)", "AttSelect=MANUAL", "AttenuationHoldValue=10.00 dB",
                          "AttenuationHoldTime=100.00 ms"}));
    // Every member set, and nothing to find.
    QCOMPARE(faults, QStringList());
    QCOMPARE(model.headerData(1, Qt::Vertical, SettingsModel::FaultRole), QVariant(-1));
    QCOMPARE(window.UndoStack()->count(), 1);
    QVERIFY(window.Save());
    QCOMPARE(window.statusBar()->currentMessage(), QStringLiteral("Saved settings.xml"));

    // A second one takes the next free number.
    QVERIFY2(Trigger(window, "addDetail"), "addDetail");
    QCOMPARE(Shown(table, 2, QStringLiteral("Name")), QStringLiteral("Setting 5"));
    QCOMPARE(Shown(table, 2, QStringLiteral("index")), QStringLiteral("5"));
}

void EditorTest::aRefusedEditSaysWhy()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QVERIFY(QFile::copy(SourceDir + QStringLiteral("/examples/settings.xml"), path));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QTableView& table = *window.Table();
    const QAbstractItemModel& model = *table.model();
    table.setFocus();
    table.setCurrentIndex(model.index(0, ColumnNamed(model, QStringLiteral("Name"))));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* edit = table.findChild<QLineEdit*>(QStringLiteral("textEditor"));
    QVERIFY(edit);
    QCOMPARE(edit->text(), QStringLiteral("VHF airband"));
    // A bell, which XML cannot carry.
    edit->setText(QStringLiteral("VHF\u0007airband"));
    Commit(edit);
    QCOMPARE(window.statusBar()->currentMessage(),
             QStringLiteral("Not changed: Name: the XML form cannot carry \"VHFU+0007airband\"; "
                            "it would be read back as VHFairband"));
    QCOMPARE(Shown(table, 0, QStringLiteral("Name")), QStringLiteral("VHF airband"));
    QCOMPARE(window.UndoStack()->count(), 0);
    QVERIFY(!window.isWindowModified());

    // So is an unset the model refuses.
    table.setCurrentIndex(model.index(0, ColumnNamed(model, QStringLiteral("Threshold"))));
    QVERIFY2(Trigger(window, "unset"), "unset");
    QCOMPARE(window.statusBar()->currentMessage(),
             QStringLiteral("Not changed: Threshold is always saved; it cannot be unset"));
    QCOMPARE(Shown(table, 0, QStringLiteral("Threshold")), QString::fromUtf8("10 dB\u00B5V"));
    QCOMPARE(window.UndoStack()->count(), 0);
}

void EditorTest::findingsSelectTheirCells()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("faulty.xml"));
    QVERIFY(WriteAll(path, Faulty));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QTreeWidget& findings = *window.Diagnostics();
    QStringList lines;
    for (int i = 0; i < findings.topLevelItemCount(); ++i) {
        const QTreeWidgetItem& item = *findings.topLevelItem(i);
        QStringList cells;
        for (int column = 0; column < findings.columnCount(); ++column)
            cells.append(item.text(column));
        lines.append(cells.join(QLatin1Char('|')));
    }
    QCOMPARE(
        lines,
        QStringList({"error|16|5|1||unknown element 'Colour' (ignored)",
                     "error|18|5|1|Threshold|Threshold: 'ten' is not a whole number (read as 0)"}));
    // Choosing the Threshold finding selects its cell.
    findings.setFocus();
    findings.setCurrentItem(findings.topLevelItem(1));
    const QModelIndex current = window.Table()->currentIndex();
    QCOMPARE(current.row(), 0);
    QCOMPARE(window.Table()->model()->headerData(current.column(), Qt::Horizontal).toString(),
             QStringLiteral("Threshold"));
}

void EditorTest::jsonDocuments()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.json"));
    QVERIFY(WriteAll(path, JsonWithColour));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QTableView& table = *window.Table();
    QCOMPARE(table.model()->rowCount(), 1);
    QCOMPARE(Shown(table, 0, QStringLiteral("Name")), QStringLiteral("VHF airband"));
    QTreeWidget& findings = *window.Diagnostics();
    QCOMPARE(findings.topLevelItemCount(), 1);
    QCOMPARE(findings.topLevelItem(0)->text(1), QStringLiteral("19"));
    QCOMPARE(findings.topLevelItem(0)->text(2), QStringLiteral("9"));
    QCOMPARE(findings.topLevelItem(0)->text(5),
             QStringLiteral("unknown member 'Colour' (ignored)"));

    table.setFocus();
    table.setCurrentIndex(table.model()->index(0, ColumnNamed(*table.model(), "Threshold")));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* spin = table.findChild<QSpinBox*>(QStringLiteral("integerEditor"));
    QVERIFY(spin);
    QTest::keyClick(spin, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(spin, QStringLiteral("25"));
    Commit(spin);

    // Saving drops the unknown key: the editor asks first, and a refusal writes nothing.
    QStringList asked;
    bool answer = false;
    window.confirmLossySave = [&asked, &answer](const QStringList& reasons) {
        asked = reasons;
        return answer;
    };
    QVERIFY2(Trigger(window, "save"), "save");
    QCOMPARE(asked, QStringList({"line 19, column 9: unknown member 'Colour' (ignored)"}));
    QCOMPARE(ReadAll(path), JsonWithColour);
    answer = true;
    QVERIFY2(Trigger(window, "save"), "save");
    QVERIFY(!window.isWindowModified());
    QByteArray expected = JsonWithColour;
    expected.replace("        \"Colour\": \"blue\",\n", "");
    expected.replace("\"Threshold\": 10,", "\"Threshold\": 25,");
    QCOMPARE(ReadAll(path), expected);

    // A JSON save takes the lock the other forms take, and never writes over a change on disk.
    QStringList errors;
    window.showError = [&errors](const QString& message) { errors.append(message); };
    QList<EditorWindow::NoticedBy> noticed;
    window.askChangedOnDisk = [&noticed](EditorWindow::NoticedBy by, bool) {
        noticed.append(by);
        return EditorWindow::DiskChoice::Cancel;
    };
    window.lockWait = 50;
    window.UndoStack()->push(new SetCellCommand(window.Model(), 0,
                                                ColumnNamed(window.Model(), "Threshold"),
                                                SetCellCommand::Change::Value, QVariant(30)));
    QVERIFY(window.isWindowModified());
    {
        QLockFile lock(path + QStringLiteral(".lock"));
        QVERIFY(lock.tryLock(0));
        QVERIFY(!window.Save());
    }
    QCOMPARE(
        errors,
        QStringList(QStringLiteral("Cannot lock '%1': it is being edited by process %2 (%3) "
                                   "on %4; waited 50 ms; the file is as it was.")
                        .arg(QFileInfo(path).canonicalFilePath())
                        .arg(QCoreApplication::applicationPid())
                        .arg(QCoreApplication::applicationName(), QSysInfo::machineHostName())));
    QCOMPARE(ReadAll(path), expected);
    QVERIFY(WriteAll(path, JsonWithColour));
    QVERIFY(!window.Save());
    QCOMPARE(noticed, QList<EditorWindow::NoticedBy>({EditorWindow::NoticedBy::Save}));
    QCOMPARE(ReadAll(path), JsonWithColour);
    QVERIFY(window.isWindowModified());
}

void EditorTest::duplicateMoveResetFilterAndClose()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("settings.xml"));
    QVERIFY(QFile::copy(SourceDir + QStringLiteral("/examples/settings.xml"), path));
    EditorWindow window;
    QVERIFY(Show(window));
    QVERIFY(window.Open(path));
    QTableView& table = *window.Table();
    const QAbstractItemModel& model = *table.model();
    auto names = [&table, &model]() {
        QStringList shown;
        for (int row = 0; row < model.rowCount(); ++row)
            shown.append(Shown(table, row, QStringLiteral("Name")));
        return shown;
    };
    table.setFocus();
    table.setCurrentIndex(model.index(0, ColumnNamed(model, QStringLiteral("Name"))));
    QVERIFY2(Trigger(window, "duplicateDetail"), "duplicateDetail");
    QCOMPARE(names(), QStringList({"VHF airband", "VHF airband", "Marine VHF", "UHF survey"}));
    QVERIFY2(Trigger(window, "moveDown"), "moveDown");
    QVERIFY2(Trigger(window, "moveDown"), "moveDown");
    QCOMPARE(names(), QStringList({"VHF airband", "Marine VHF", "UHF survey", "VHF airband"}));
    QCOMPARE(table.currentIndex().row(), 3);
    QVERIFY2(Trigger(window, "unset"), "unset");
    QCOMPARE(names(), QStringList({"VHF airband", "Marine VHF", "UHF survey", "(unset)"}));
    table.setCurrentIndex(model.index(1, ColumnNamed(model, QStringLiteral("Threshold"))));
    QVERIFY2(Trigger(window, "resetDefault"), "resetDefault");
    QCOMPARE(Shown(table, 1, QStringLiteral("Threshold")), QString::fromUtf8("20 dB\u00B5V"));
    for (int i = 0; i < 5; ++i)
        QVERIFY2(Trigger(window, "undo"), "undo");
    QCOMPARE(names(), QStringList({"VHF airband", "Marine VHF", "UHF survey"}));
    QCOMPARE(Shown(table, 1, QStringLiteral("Threshold")), QString::fromUtf8("15 dB\u00B5V"));
    QVERIFY(!window.isWindowModified());
    QVERIFY2(Trigger(window, "redo"), "redo");

    // The filter keeps the details whose name holds the text.
    auto* filter = window.findChild<QLineEdit*>(QStringLiteral("filter"));
    QVERIFY(filter);
    QTest::keyClicks(filter, QStringLiteral("vhf"));
    QCOMPARE(names(), QStringList({"VHF airband", "VHF airband", "Marine VHF"}));
    filter->clear();

    // Closing with unsaved changes asks: Cancel keeps the window, Discard closes it.
    QVERIFY(window.isWindowModified());
    int asked = 0;
    int answer = QMessageBox::Cancel;
    window.askUnsaved = [&asked, &answer]() {
        ++asked;
        return answer;
    };
    QVERIFY(!window.close());
    QVERIFY(window.isVisible());
    answer = QMessageBox::Discard;
    QVERIFY(window.close());
    QCOMPARE(asked, 2);
    QCOMPARE(ReadAll(path), ReadAll(SourceDir + QStringLiteral("/examples/settings.xml")));
}

// Pictures of the editor for the README, into $KVT317_SCREENSHOT_DIR when it is set (the
// target screenshots sets it to docs/images), into a temporary folder otherwise.
void EditorTest::screenshots()
{
    QTemporaryDir scratch;
    QString into = qEnvironmentVariable("KVT317_SCREENSHOT_DIR");
    if (into.isEmpty())
        into = scratch.path();
    QVERIFY(QDir().mkpath(into));
    EditorWindow window;
    window.resize(1280, 520);
    QVERIFY(Show(window));
    QVERIFY(window.Open(SourceDir + QStringLiteral("/examples/settings.xml")));
    QTableView& table = *window.Table();
    table.setFocus();
    table.setCurrentIndex(table.model()->index(1, 0));
    QApplication::processEvents();
    QVERIFY(window.grab().save(into + QStringLiteral("/editor-table.png")));

    table.setCurrentIndex(table.model()->index(1, ColumnNamed(*table.model(), "DF_Alt")));
    QTest::keyClick(&table, Qt::Key_F2);
    auto* combo = table.findChild<QComboBox*>(QStringLiteral("enumerationEditor"));
    QVERIFY(combo);
    combo->showPopup();
    QApplication::processEvents();
    QPixmap picture = window.grab();
    {
        QWidget* popup = combo->view()->window();
        QPainter painter(&picture);
        painter.drawPixmap(window.mapFromGlobal(popup->mapToGlobal(QPoint(0, 0))), popup->grab());
    }
    QVERIFY(picture.save(into + QStringLiteral("/editor-enumeration.png")));
    combo->hidePopup();
    QTest::keyClick(combo, Qt::Key_Escape);

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("faulty.xml"));
    QVERIFY(WriteAll(path, Faulty));
    QVERIFY(window.Open(path));
    window.Diagnostics()->setFocus();
    window.Diagnostics()->setCurrentItem(window.Diagnostics()->topLevelItem(0));
    QApplication::processEvents();
    QVERIFY(window.grab().save(into + QStringLiteral("/editor-diagnostics.png")));
    for (const char* name :
         {"editor-table.png", "editor-enumeration.png", "editor-diagnostics.png"})
        QVERIFY(QImage(into + QLatin1Char('/') + QLatin1String(name)).width() >= 1000);
}

QTEST_MAIN(EditorTest)
#include "editor_test.moc"
