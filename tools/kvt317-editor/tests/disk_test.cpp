// kvt317-editor and its file on disk: other programs' changes, their lock, the library's
// reports, and the command line. Under the offscreen platform.

#include "Commands.h"
#include "EditorWindow.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSysInfo>
#include <QTableView>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUndoStack>

namespace {

// A BearingSettings document as the library writes it.
const QByteArray Original = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                            "<BearingSettings Name=\"VHF airband sector north\" Index=\"1\">\n"
                            "  <Frequency>121500000.000000000</Frequency>\n"
                            "  <AveragingTime>500</AveragingTime>\n"
                            "  <DFBandwidth>12500.00</DFBandwidth>\n"
                            "  <DFMode>Gate</DFMode>\n"
                            "  <AngleSamples>360</AngleSamples>\n"
                            "  <LevelThreshold>-95</LevelThreshold>\n"
                            "  <QualityThreshold>60</QualityThreshold>\n"
                            "  <ElevationThreshold>45</ElevationThreshold>\n"
                            "  <SlidingWindowTime>2000</SlidingWindowTime>\n"
                            "</BearingSettings>\n";

// The same with AngleSamples 720, as another program writes it.
const QByteArray Outside = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                           "<BearingSettings Name=\"VHF airband sector north\" Index=\"1\">\n"
                           "  <Frequency>121500000.000000000</Frequency>\n"
                           "  <AveragingTime>500</AveragingTime>\n"
                           "  <DFBandwidth>12500.00</DFBandwidth>\n"
                           "  <DFMode>Gate</DFMode>\n"
                           "  <AngleSamples>720</AngleSamples>\n"
                           "  <LevelThreshold>-95</LevelThreshold>\n"
                           "  <QualityThreshold>60</QualityThreshold>\n"
                           "  <ElevationThreshold>45</ElevationThreshold>\n"
                           "  <SlidingWindowTime>2000</SlidingWindowTime>\n"
                           "</BearingSettings>\n";

// The original with the editor's edit, LevelThreshold -80.
const QByteArray Mine = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                        "<BearingSettings Name=\"VHF airband sector north\" Index=\"1\">\n"
                        "  <Frequency>121500000.000000000</Frequency>\n"
                        "  <AveragingTime>500</AveragingTime>\n"
                        "  <DFBandwidth>12500.00</DFBandwidth>\n"
                        "  <DFMode>Gate</DFMode>\n"
                        "  <AngleSamples>360</AngleSamples>\n"
                        "  <LevelThreshold>-80</LevelThreshold>\n"
                        "  <QualityThreshold>60</QualityThreshold>\n"
                        "  <ElevationThreshold>45</ElevationThreshold>\n"
                        "  <SlidingWindowTime>2000</SlidingWindowTime>\n"
                        "</BearingSettings>\n";

using Choice = EditorWindow::DiskChoice;
using NoticedBy = EditorWindow::NoticedBy;

QByteArray ReadAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray("(unreadable)");
    return file.readAll();
}

// Writes in place, as an editor without atomic saves does.
bool WriteInPlace(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

// Replaces the file by renaming a new one onto it, as the kvt317 tool saves.
bool Replace(const QString& path, const QByteArray& bytes)
{
    const QString next = path + QStringLiteral(".next");
    if (!WriteInPlace(next, bytes))
        return false;
    return std::rename(QFile::encodeName(next).constData(), QFile::encodeName(path).constData()) ==
           0;
}

int ColumnNamed(const QAbstractItemModel& model, const QString& name)
{
    for (int column = 0; column < model.columnCount(); ++column)
        if (model.headerData(column, Qt::Horizontal).toString() == name)
            return column;
    return -1;
}

QVariant Value(EditorWindow& window, const QString& member)
{
    const QAbstractItemModel& model = window.Model();
    return model.index(0, ColumnNamed(model, member)).data(Qt::EditRole);
}

// The editor's edit of LevelThreshold, on its undo stack as the table's delegate makes it.
bool EditLevelThreshold(EditorWindow& window, int value)
{
    const int column = ColumnNamed(window.Model(), QStringLiteral("LevelThreshold"));
    if (column < 0)
        return false;
    window.UndoStack()->push(new SetCellCommand(window.Model(), 0, column,
                                                SetCellCommand::Change::Value, QVariant(value)));
    return window.isWindowModified() && Value(window, QStringLiteral("LevelThreshold")) == value;
}

struct Asked {
    NoticedBy by;
    bool unsavedEdits;
    bool operator==(const Asked& other) const
    {
        return by == other.by && unsavedEdits == other.unsavedEdits;
    }
};

char* toString(const Asked& asked)
{
    return QTest::toString(
        QStringLiteral("%1, %2").arg(asked.by == NoticedBy::Save ? "save" : "watcher",
                                     asked.unsavedEdits ? "unsaved edits" : "no edits"));
}

// Answers the editor's questions with the next of @p answers, recording each question.
void Answer(EditorWindow& window, QList<Asked>& asked, QList<Choice>& answers)
{
    window.askChangedOnDisk = [&asked, &answers](NoticedBy by, bool unsavedEdits) {
        asked.append(Asked{by, unsavedEdits});
        return answers.isEmpty() ? Choice::Cancel : answers.takeFirst();
    };
}

// Messages of the library's default logger, which writes under the category "reportbase".
QStringList defaultLoggerLines;
QtMessageHandler testHandler = nullptr;

void Capture(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (context.category && QByteArray(context.category) == "reportbase")
        defaultLoggerLines.append(message);
    testHandler(type, context, message);
}

} // namespace

class EditorDiskTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void anOutsideChangeIsReloaded();
    void anOutsideChangeIsKeptOverUnsavedEdits();
    void aSaveAfterAnOutsideChangeAsks();
    void aRemovedFileIsWrittenAgain();
    void aLockedFileIsNotSaved();
    void aToolEditIsNotOverwritten();
    void reportsGoToThePanel();
    void binaryFormsAreKept();
    void versionAndHelp();

private:
    QTemporaryDir m_dir;
    QString m_path;
};

void EditorDiskTest::initTestCase()
{
    // The library's default logger writes through Qt's messages: what arrives here has
    // escaped the editor's panel.
    testHandler = qInstallMessageHandler(Capture);
}

void EditorDiskTest::init()
{
    QVERIFY(m_dir.isValid());
    m_path = m_dir.filePath(QStringLiteral("bearing.xml"));
    QFile::remove(m_path);
    QVERIFY(WriteInPlace(m_path, Original));
}

void EditorDiskTest::anOutsideChangeIsReloaded()
{
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers = {Choice::Reload, Choice::Reload};
    Answer(window, asked, answers);
    QVERIFY(window.Open(m_path));
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(360));

    QVERIFY(Replace(m_path, Outside));
    QTRY_COMPARE_WITH_TIMEOUT(asked.size(), 1, 5000);
    QCOMPARE(asked.at(0), (Asked{NoticedBy::Watcher, false}));
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(720));
    QVERIFY(!window.isWindowModified());
    QCOMPARE(ReadAll(m_path), Outside);

    // The watch goes on with the file that replaced the one first watched.
    QVERIFY(Replace(m_path, Original));
    QTRY_COMPARE_WITH_TIMEOUT(asked.size(), 2, 5000);
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(360));
    QCOMPARE(ReadAll(m_path), Original);

    // The editor's own save is not taken for a change.
    QVERIFY(EditLevelThreshold(window, -80));
    QVERIFY(window.Save());
    QCOMPARE(ReadAll(m_path), Mine);
    QTest::qWait(400);
    QCOMPARE(asked.size(), 2);
}

void EditorDiskTest::anOutsideChangeIsKeptOverUnsavedEdits()
{
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers = {Choice::KeepMine};
    Answer(window, asked, answers);
    QVERIFY(window.Open(m_path));
    QVERIFY(EditLevelThreshold(window, -80));

    QVERIFY(WriteInPlace(m_path, Outside));
    QTRY_COMPARE_WITH_TIMEOUT(asked.size(), 1, 5000);
    QCOMPARE(asked.at(0), (Asked{NoticedBy::Watcher, true}));
    // Keeping writes nothing yet; the editor's version stays, marked as not on disk.
    QCOMPARE(ReadAll(m_path), Outside);
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(360));
    QCOMPARE(Value(window, QStringLiteral("LevelThreshold")), QVariant(-80));
    QVERIFY(window.isWindowModified());
    window.UndoStack()->undo();
    QVERIFY(window.isWindowModified());

    // The change was told of: the save writes over it without asking again.
    window.UndoStack()->redo();
    QVERIFY(window.Save());
    QCOMPARE(asked.size(), 1);
    QCOMPARE(ReadAll(m_path), Mine);
    QVERIFY(!window.isWindowModified());
}

void EditorDiskTest::aSaveAfterAnOutsideChangeAsks()
{
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers = {Choice::Cancel, Choice::KeepMine};
    Answer(window, asked, answers);
    QVERIFY(window.Open(m_path));
    QVERIFY(EditLevelThreshold(window, -80));

    // Saved before the watcher has said anything.
    QVERIFY(Replace(m_path, Outside));
    QVERIFY(!window.Save());
    QCOMPARE(asked.size(), 1);
    QCOMPARE(asked.at(0), (Asked{NoticedBy::Save, true}));
    QCOMPARE(ReadAll(m_path), Outside);
    QVERIFY(window.isWindowModified());

    QVERIFY(window.Save());
    QCOMPARE(asked.size(), 2);
    QCOMPARE(asked.at(1), (Asked{NoticedBy::Save, true}));
    QCOMPARE(ReadAll(m_path), Mine);
    QVERIFY(!window.isWindowModified());
    // The watcher's late news of both writes asks nothing more.
    QTest::qWait(400);
    QCOMPARE(asked.size(), 2);

    // Reloading at the save shows the other program's version and writes nothing.
    answers = {Choice::Reload};
    QVERIFY(EditLevelThreshold(window, -70));
    QVERIFY(WriteInPlace(m_path, Outside));
    QVERIFY(!window.Save());
    QCOMPARE(asked.size(), 3);
    QCOMPARE(ReadAll(m_path), Outside);
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(720));
    QCOMPARE(Value(window, QStringLiteral("LevelThreshold")), QVariant(-95));
    QVERIFY(!window.isWindowModified());
}

void EditorDiskTest::aRemovedFileIsWrittenAgain()
{
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers = {Choice::Reload};
    Answer(window, asked, answers);
    QVERIFY(window.Open(m_path));

    // Removed: nothing to ask, but the file no longer holds what the editor shows.
    QVERIFY(QFile::remove(m_path));
    QTRY_VERIFY_WITH_TIMEOUT(window.isWindowModified(), 5000);
    QCOMPARE(asked.size(), 0);
    QVERIFY(window.Save());
    QCOMPARE(ReadAll(m_path), Original);
    QCOMPARE(asked.size(), 0);

    // Removed and written anew by another program: that is a change.
    QTest::qWait(300);
    QVERIFY(QFile::remove(m_path));
    QVERIFY(WriteInPlace(m_path, Outside));
    QTRY_COMPARE_WITH_TIMEOUT(asked.size(), 1, 5000);
    QCOMPARE(asked.at(0), (Asked{NoticedBy::Watcher, false}));
    QCOMPARE(Value(window, QStringLiteral("AngleSamples")), QVariant(720));
    QCOMPARE(ReadAll(m_path), Outside);
}

void EditorDiskTest::aLockedFileIsNotSaved()
{
    EditorWindow window;
    QStringList errors;
    window.showError = [&errors](const QString& message) { errors.append(message); };
    QVERIFY(window.Open(m_path));
    QVERIFY(EditLevelThreshold(window, -80));
    window.lockWait = 100;

    QLockFile lock(m_path + QStringLiteral(".lock"));
    QVERIFY(lock.tryLock(0));
    QVERIFY(!window.Save());
    QCOMPARE(
        errors,
        QStringList(QStringLiteral("Cannot lock '%1': it is being edited by process %2 (%3) "
                                   "on %4; waited 100 ms; the file is as it was.")
                        .arg(QFileInfo(m_path).canonicalFilePath())
                        .arg(QCoreApplication::applicationPid())
                        .arg(QCoreApplication::applicationName(), QSysInfo::machineHostName())));
    QCOMPARE(ReadAll(m_path), Original);
    QVERIFY(window.isWindowModified());

    lock.unlock();
    QVERIFY(window.Save());
    QCOMPARE(ReadAll(m_path), Mine);
    QCOMPARE(errors.size(), 1);
}

// The lines of the findings panel, their columns joined by '|'.
QStringList PanelLines(const QTreeWidget& findings)
{
    QStringList lines;
    for (int i = 0; i < findings.topLevelItemCount(); ++i) {
        QStringList cells;
        for (int column = 0; column < findings.columnCount(); ++column)
            cells.append(findings.topLevelItem(i)->text(column));
        lines.append(cells.join(QLatin1Char('|')));
    }
    return lines;
}

void EditorDiskTest::aToolEditIsNotOverwritten()
{
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers = {Choice::Cancel, Choice::KeepMine};
    Answer(window, asked, answers);
    QVERIFY(window.Open(m_path));
    QVERIFY(EditLevelThreshold(window, -80));

    // `kvt317 set` between the editor's load and its save.
    QProcess tool;
    tool.start(
        QStringLiteral(KVT317_TOOL_PROGRAM),
        {QStringLiteral("set"), m_path, QStringLiteral("AngleSamples"), QStringLiteral("720")});
    QVERIFY(tool.waitForFinished(10000));
    QCOMPARE(tool.exitCode(), 0);
    QCOMPARE(ReadAll(m_path), Outside);

    QVERIFY(!window.Save());
    QCOMPARE(asked, QList<Asked>({Asked{NoticedBy::Save, true}}));
    QCOMPARE(ReadAll(m_path), Outside);
    QVERIFY(window.Save());
    QCOMPARE(asked.size(), 2);
    QCOMPARE(ReadAll(m_path), Mine);
}

void EditorDiskTest::reportsGoToThePanel()
{
    // DFMode "Sideways" is no name of the enumeration: its setter reports while the
    // document loads, and the check reports it again.
    QByteArray faulty = Original;
    faulty.replace("<DFMode>Gate</DFMode>", "<DFMode>Sideways</DFMode>");
    QVERIFY(WriteInPlace(m_path, faulty));
    defaultLoggerLines.clear();
    EditorWindow window;
    window.confirmLossySave = [](const QStringList&) { return true; };
    QStringList faults;
    window.confirmFaultySave = [&faults](const QStringList& listed) {
        faults = listed;
        return true;
    };
    QStringList errors;
    window.showError = [&errors](const QString& message) { errors.append(message); };
    QVERIFY(window.Open(m_path));
    QVERIFY(EditLevelThreshold(window, -80));
    QVERIFY(window.Save());
    QCOMPARE(faults, QStringList({"BearingSettings: Please set DFMode properly."}));
    const QStringList loaded = {
        "error|6|3|1|DFMode|DFMode: unknown name 'Sideways' (read as invalid); allowed: Cont, "
        "Norm, Gate",
        "warning|6|3|1|DFMode|enum is not valid (classname=BearingSettings,membername=m_dFMode)",
        "error|||1|DFMode|BearingSettings: Please set DFMode properly."};
    QCOMPARE(PanelLines(*window.Diagnostics()), loaded);
    QCOMPARE(errors, QStringList());
    // An empty DFMode for the name that did not read.
    const QByteArray saved = QByteArray(Mine).replace("<DFMode>Gate</DFMode>", "<DFMode></DFMode>");
    QCOMPARE(ReadAll(m_path), saved);

    // With validation on the library refuses to write the document: no answer saves it, and
    // the reason is in the panel beside the message box.
    window.Model().Document()->SetValidate(true);
    QVERIFY(EditLevelThreshold(window, -70));
    faults.clear();
    QVERIFY(!window.Save());
    QCOMPARE(faults, QStringList());
    const QString refused =
        QStringLiteral("The document cannot be saved: the library refuses to write the document: "
                       "BearingSettings: Please set DFMode properly.");
    QCOMPARE(errors, QStringList(refused + QStringLiteral("; the file is as it was.")));
    QCOMPARE(PanelLines(*window.Diagnostics()),
             loaded + QStringList(QStringLiteral("error|||||") + refused));
    QCOMPARE(ReadAll(m_path), saved);
    QVERIFY(window.isWindowModified());
    // Nothing reached the default logger's output.
    QCOMPARE(defaultLoggerLines, QStringList());
}

void EditorDiskTest::binaryFormsAreKept()
{
    const QString source = QStringLiteral(KVT317_SOURCE_DIR "/examples/");
    const QString binary = m_dir.filePath(QStringLiteral("bearing.bin"));
    QFile::remove(binary);
    QVERIFY(QFile::copy(source + QStringLiteral("bearing-settings.bin"), binary));
    EditorWindow window;
    QList<Asked> asked;
    QList<Choice> answers;
    Answer(window, asked, answers);
    QVERIFY(window.Open(binary));
    QVERIFY(EditLevelThreshold(window, -80));
    QVERIFY(window.Save());
    // LevelThreshold is a 32-bit big-endian entry: -95 becomes -80, and nothing else changes.
    QByteArray expected = ReadAll(source + QStringLiteral("bearing-settings.bin"));
    QCOMPARE(expected.count(QByteArray::fromHex("ffffffa1")), 1);
    expected.replace(QByteArray::fromHex("ffffffa1"), QByteArray::fromHex("ffffffb0"));
    QCOMPARE(ReadAll(binary), expected);
    // The editor knows the bytes it wrote: its own save is no change on disk.
    QTest::qWait(300);
    QCOMPARE(asked.size(), 0);
    // Saved as a new file, under the same lock, in the same form.
    const QString copy = m_dir.filePath(QStringLiteral("copy.bin"));
    QFile::remove(copy);
    QVERIFY(window.SaveAs(copy));
    QCOMPARE(ReadAll(copy), expected);
    QCOMPARE(window.FilePath(), copy);

    const QString compressed = m_dir.filePath(QStringLiteral("settings.binz"));
    QFile::remove(compressed);
    QVERIFY(QFile::copy(source + QStringLiteral("settings.binz"), compressed));
    QVERIFY(QFile::setPermissions(compressed, QFile::ReadOwner | QFile::WriteOwner));
    QVERIFY(window.Open(compressed));
    const int threshold = ColumnNamed(window.Model(), QStringLiteral("Threshold"));
    QVERIFY(threshold >= 0);
    window.UndoStack()->push(new SetCellCommand(window.Model(), 0, threshold,
                                                SetCellCommand::Change::Value, QVariant(33)));
    QVERIFY(window.Save());
    QVERIFY(ReadAll(compressed).startsWith("KVTZ"));
    QTest::qWait(300);
    QCOMPARE(asked.size(), 0);
    EditorWindow again;
    QVERIFY(again.Open(compressed));
    QCOMPARE(again.Model().index(0, threshold).data(Qt::EditRole), QVariant(33));
}

void EditorDiskTest::versionAndHelp()
{
    const QString program = QStringLiteral(KVT317_EDITOR_PROGRAM);
    // Neither needs a display.
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_QPA_PLATFORM"));
    environment.remove(QStringLiteral("DISPLAY"));
    environment.remove(QStringLiteral("WAYLAND_DISPLAY"));
    QProcess process;
    process.setProcessEnvironment(environment);
    process.start(program, {QStringLiteral("--version")});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QCOMPARE(process.readAllStandardOutput(), QByteArray("kvt317-editor 1.0.0\n"));
    QCOMPARE(process.readAllStandardError(), QByteArray());

    process.start(program, {QStringLiteral("--help")});
    QVERIFY(process.waitForFinished(10000));
    QCOMPARE(process.exitCode(), 0);
    const QByteArray expected =
        "Usage: " + QFile::encodeName(program) +
        " [options] [file]\n"
        "Edits KVT317 settings documents: XML, JSON, binary and compressed binary.\n"
        "\n"
        "Options:\n"
        "  -h, --help     Displays help on commandline options.\n"
        "  --help-all     Displays help including Qt specific options.\n"
        "  -v, --version  Displays version information.\n"
        "\n"
        "Arguments:\n"
        "  file           The document to open.\n";
    QCOMPARE(process.readAllStandardOutput(), expected);
    QCOMPARE(process.readAllStandardError(), QByteArray());
}

QTEST_MAIN(EditorDiskTest)
#include "disk_test.moc"
