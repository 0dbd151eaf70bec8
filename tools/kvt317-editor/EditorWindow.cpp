#include "EditorWindow.h"

#include "CellDelegate.h"
#include "Commands.h"

#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <StartingDetail.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDockWidget>
#include <QFileDialog>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QSet>
#include <QSortFilterProxyModel>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QToolBar>
#include <QTreeWidget>
#include <QUndoStack>
#include <QVBoxLayout>

using KVT317XML::KVT317SettingsDetail;
using KVT317XML::SettingsModel;

namespace {

enum FindingColumn {
    LevelColumn,
    LineColumn,
    ColumnColumn,
    DetailColumn,
    MemberColumn,
    MessageColumn
};
const int RowData = Qt::UserRole;
const int ColumnData = Qt::UserRole + 1;

} // namespace

EditorWindow::EditorWindow(QWidget* parent)
    : QMainWindow(parent)
{
    m_undo = new QUndoStack(this);
    m_proxy = new QSortFilterProxyModel(this);
    m_proxy->setSourceModel(&m_model);
    m_proxy->setFilterCaseSensitivity(Qt::CaseInsensitive);

    auto* central = new QWidget(this);
    auto* layout = new QVBoxLayout(central);
    layout->setContentsMargins(4, 4, 4, 4);
    m_filter = new QLineEdit(central);
    m_filter->setObjectName(QStringLiteral("filter"));
    m_filter->setPlaceholderText(tr("Filter details by name (Ctrl+F)"));
    m_filter->setClearButtonEnabled(true);
    layout->addWidget(m_filter);
    m_table = new QTableView(central);
    m_table->setObjectName(QStringLiteral("table"));
    m_table->setModel(m_proxy);
    auto* delegate = new CellDelegate(m_undo, m_table);
    delegate->refused = [this](const QString& reason) { ShowRefusal(reason); };
    m_table->setItemDelegate(delegate);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                             QAbstractItemView::AnyKeyPressed);
    m_table->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    layout->addWidget(m_table);
    setCentralWidget(central);

    m_diagnostics = new QTreeWidget(this);
    m_diagnostics->setObjectName(QStringLiteral("diagnostics"));
    m_diagnostics->setRootIsDecorated(false);
    m_diagnostics->setHeaderLabels(
        {tr("Level"), tr("Line"), tr("Column"), tr("Detail"), tr("Member"), tr("Message")});
    auto* dock = new QDockWidget(tr("Diagnostics"), this);
    dock->setObjectName(QStringLiteral("diagnosticsDock"));
    dock->setWidget(m_diagnostics);
    addDockWidget(Qt::BottomDockWidgetArea, dock);

    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString& text) {
        m_proxy->setFilterKeyColumn(m_model.ColumnOf(
            -1, KVT317SettingsDetail::Description().FindName(QStringLiteral("Name"))->bit));
        m_proxy->setFilterFixedString(text);
    });
    connect(m_diagnostics, &QTreeWidget::itemActivated, this, &EditorWindow::FindingChosen);
    connect(m_diagnostics, &QTreeWidget::currentItemChanged, this, &EditorWindow::FindingChosen);
    connect(m_undo, &QUndoStack::cleanChanged, this, &EditorWindow::UpdateTitle);
    connect(&m_model, &QAbstractItemModel::modelReset, this, &EditorWindow::UpdateDiagnostics);
    connect(&m_model, &QAbstractItemModel::dataChanged, this, &EditorWindow::UpdateDiagnostics);
    connect(&m_model, &QAbstractItemModel::headerDataChanged, this,
            &EditorWindow::UpdateDiagnostics);
    connect(&m_model, &QAbstractItemModel::rowsInserted, this, &EditorWindow::UpdateDiagnostics);
    connect(&m_model, &QAbstractItemModel::rowsRemoved, this, &EditorWindow::UpdateDiagnostics);
    connect(&m_model, &QAbstractItemModel::rowsMoved, this, &EditorWindow::UpdateDiagnostics);

    confirmLossySave = [this](const QStringList& reasons) {
        QMessageBox box(QMessageBox::Warning, tr("Save changes what the file holds"),
                        tr("Saving %1 changes what the file holds beyond your edits:")
                            .arg(QFileInfo(m_path).fileName()),
                        QMessageBox::Save | QMessageBox::Cancel, this);
        box.setInformativeText(reasons.join(QLatin1Char('\n')));
        box.button(QMessageBox::Save)->setText(tr("Save anyway"));
        box.setDefaultButton(QMessageBox::Cancel);
        return box.exec() == QMessageBox::Save;
    };
    confirmFaultySave = [this](const QStringList& faults) {
        QMessageBox box(QMessageBox::Warning, tr("Save a document with faults"),
                        tr("%1 has faults at level error; a program that reads it may refuse "
                           "it or read it otherwise:")
                            .arg(QFileInfo(m_path).fileName()),
                        QMessageBox::Save | QMessageBox::Cancel, this);
        box.setInformativeText(faults.join(QLatin1Char('\n')));
        box.button(QMessageBox::Save)->setText(tr("Save with faults"));
        box.setDefaultButton(QMessageBox::Cancel);
        return box.exec() == QMessageBox::Save;
    };
    askUnsaved = [this]() {
        return QMessageBox::question(
            this, tr("Unsaved changes"),
            tr("%1 has unsaved changes. Save them?").arg(QFileInfo(m_path).fileName()),
            QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    };
    showError = [this](const QString& message) {
        QMessageBox::critical(this, tr("kvt317-editor"), message);
    };
    askChangedOnDisk = [this](NoticedBy noticedBy, bool unsavedEdits) {
        const QString name = QFileInfo(m_path).fileName();
        QMessageBox box(QMessageBox::Warning, tr("File changed on disk"),
                        noticedBy == NoticedBy::Save
                            ? tr("%1 was changed on disk by another program since the editor "
                                 "read it. Saving now would overwrite that change.")
                                  .arg(name)
                            : tr("%1 was changed on disk by another program.").arg(name),
                        QMessageBox::NoButton, this);
        QPushButton* reload =
            box.addButton(unsavedEdits ? tr("Reload, discarding my edits") : tr("Reload"),
                          QMessageBox::DestructiveRole);
        QPushButton* keep = box.addButton(
            noticedBy == NoticedBy::Save ? tr("Overwrite with my version") : tr("Keep my version"),
            QMessageBox::AcceptRole);
        QPushButton* cancel =
            noticedBy == NoticedBy::Save ? box.addButton(QMessageBox::Cancel) : nullptr;
        box.setDefaultButton(cancel ? cancel : keep);
        box.exec();
        if (box.clickedButton() == reload)
            return DiskChoice::Reload;
        if (box.clickedButton() == keep)
            return DiskChoice::KeepMine;
        return cancel ? DiskChoice::Cancel : DiskChoice::KeepMine;
    };

    m_watcher = new QFileSystemWatcher(this);
    m_diskTimer = new QTimer(this);
    m_diskTimer->setSingleShot(true);
    m_diskTimer->setInterval(100);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &EditorWindow::DiskChanged);
    connect(m_watcher, &QFileSystemWatcher::directoryChanged, this, &EditorWindow::DiskChanged);
    connect(m_diskTimer, &QTimer::timeout, this, &EditorWindow::CheckDisk);

    BuildActions();
    UpdateTitle();
    resize(1100, 600);
}

EditorWindow::~EditorWindow()
{
    // The commands refer to the model.
    m_undo->clear();
}

void EditorWindow::BuildActions()
{
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Open..."), this, &EditorWindow::OpenDialog)
        ->setShortcut(QKeySequence::Open);
    QAction* save = file->addAction(tr("&Save"), this, [this]() { Save(); });
    save->setObjectName(QStringLiteral("save"));
    save->setShortcut(QKeySequence::Save);
    file->addAction(tr("Save &As..."), this, &EditorWindow::SaveAsDialog)
        ->setShortcut(QKeySequence::SaveAs);
    file->addSeparator();
    file->addAction(tr("&Quit"), this, &QWidget::close)->setShortcut(QKeySequence::Quit);

    QMenu* edit = menuBar()->addMenu(tr("&Edit"));
    QAction* undo = m_undo->createUndoAction(this, tr("&Undo"));
    undo->setObjectName(QStringLiteral("undo"));
    undo->setShortcut(QKeySequence::Undo);
    QAction* redo = m_undo->createRedoAction(this, tr("&Redo"));
    redo->setObjectName(QStringLiteral("redo"));
    redo->setShortcut(QKeySequence::Redo);
    edit->addAction(undo);
    edit->addAction(redo);
    edit->addSeparator();
    auto add = [this, edit](const QString& name, const QString& text, const QKeySequence& keys,
                            auto slot) {
        QAction* action = edit->addAction(text, this, slot);
        action->setObjectName(name);
        action->setShortcut(keys);
        return action;
    };
    m_rowActions = {add(QStringLiteral("addDetail"), tr("&Add detail"),
                        QKeySequence(Qt::CTRL | Qt::Key_Insert), &EditorWindow::AddDetail),
                    add(QStringLiteral("duplicateDetail"), tr("D&uplicate detail"),
                        QKeySequence(Qt::CTRL | Qt::Key_D), &EditorWindow::DuplicateDetail),
                    add(QStringLiteral("removeDetail"), tr("Re&move detail"),
                        QKeySequence(Qt::CTRL | Qt::Key_Delete), &EditorWindow::RemoveDetail),
                    add(QStringLiteral("moveUp"), tr("Move detail u&p"),
                        QKeySequence(Qt::ALT | Qt::Key_Up), [this]() { MoveDetail(-1); }),
                    add(QStringLiteral("moveDown"), tr("Move detail do&wn"),
                        QKeySequence(Qt::ALT | Qt::Key_Down), [this]() { MoveDetail(1); })};
    edit->addSeparator();
    add(QStringLiteral("resetDefault"), tr("Reset cell to its &default"),
        QKeySequence(Qt::CTRL | Qt::Key_R), [this]() { ResetCell(true); });
    add(QStringLiteral("unset"), tr("U&nset cell"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_R),
        [this]() { ResetCell(false); });

    QMenu* view = menuBar()->addMenu(tr("&View"));
    QAction* filter = view->addAction(tr("&Filter details"), this, [this]() {
        m_filter->setFocus();
        m_filter->selectAll();
    });
    filter->setShortcut(QKeySequence::Find);
    QAction* diagnostics = view->addAction(tr("&Diagnostics"), this, [this]() {
        m_diagnostics->setFocus();
        if (!m_diagnostics->currentItem() && m_diagnostics->topLevelItemCount() > 0)
            m_diagnostics->setCurrentItem(m_diagnostics->topLevelItem(0));
    });
    diagnostics->setShortcut(QKeySequence(Qt::Key_F8));
    QAction* table = view->addAction(tr("&Table"), this, [this]() { m_table->setFocus(); });
    table->setShortcut(QKeySequence(Qt::Key_F6));
}

void EditorWindow::UpdateTitle()
{
    const QString name = m_path.isEmpty() ? tr("untitled") : QFileInfo(m_path).fileName();
    setWindowTitle(QStringLiteral("%1[*] \u2014 kvt317-editor").arg(name));
    setWindowModified(!m_undo->isClean());
}

void EditorWindow::OpenDialog()
{
    if (!MaybeSave())
        return;
    const QString path = QFileDialog::getOpenFileName(
        this, tr("Open settings"), QString(),
        tr("Settings documents (*.xml *.json *.bin *.binz);;All files (*)"));
    if (!path.isEmpty())
        Open(path);
}

void EditorWindow::SaveAsDialog()
{
    const QString path = QFileDialog::getSaveFileName(this, tr("Save settings"), m_path);
    if (!path.isEmpty())
        SaveAs(path);
}

bool EditorWindow::MaybeSave()
{
    if (m_undo->isClean())
        return true;
    switch (askUnsaved()) {
    case QMessageBox::Save:
        return Save();
    case QMessageBox::Discard:
        return true;
    default:
        return false;
    }
}

void EditorWindow::closeEvent(QCloseEvent* event)
{
    if (MaybeSave())
        event->accept();
    else
        event->ignore();
}

QModelIndex EditorWindow::CurrentSourceIndex() const
{
    return m_proxy->mapToSource(m_table->currentIndex());
}

int EditorWindow::CurrentSourceRow() const
{
    const QModelIndex index = CurrentSourceIndex();
    return index.isValid() ? index.row() : -1;
}

void EditorWindow::SelectSource(const QModelIndex& index)
{
    const QModelIndex shown = m_proxy->mapFromSource(index);
    if (!shown.isValid())
        return;
    m_table->setCurrentIndex(shown);
    m_table->scrollTo(shown);
}

void EditorWindow::AddDetail()
{
    if (!m_model.HasRowList())
        return;
    const int current = CurrentSourceRow();
    const int row = current < 0 ? m_model.rowCount() : current + 1;
    // Complete and valid, with a name and index no other detail uses: it checks and saves
    // as it is shown.
    const auto* settings = dynamic_cast<const KVT317XML::KVT317_Settings*>(m_model.Document());
    if (!settings)
        return;
    const KVT317SettingsDetail detail = KVT317XML::NextSettingsDetail(*settings);
    auto* command = new InsertDetailCommand(m_model, row, detail, tr("Add detail"));
    if (!command->Apply()) {
        ShowRefusal(m_model.LastRefusal());
        delete command;
        return;
    }
    m_undo->push(command);
    SelectSource(m_model.index(row, 0));
}

void EditorWindow::DuplicateDetail()
{
    const int row = CurrentSourceRow();
    if (!m_model.HasRowList() || row < 0)
        return;
    const auto& detail = *static_cast<const KVT317SettingsDetail*>(m_model.RowRecord(row));
    auto* command = new InsertDetailCommand(m_model, row + 1, detail, tr("Duplicate detail"));
    if (!command->Apply()) {
        ShowRefusal(m_model.LastRefusal());
        delete command;
        return;
    }
    m_undo->push(command);
    SelectSource(m_model.index(row + 1, CurrentSourceIndex().column()));
}

void EditorWindow::RemoveDetail()
{
    const int row = CurrentSourceRow();
    if (!m_model.HasRowList() || row < 0)
        return;
    const int column = CurrentSourceIndex().column();
    m_undo->push(new RemoveDetailCommand(m_model, row));
    if (m_model.rowCount() > 0)
        SelectSource(m_model.index(std::min(row, m_model.rowCount() - 1), column));
}

void EditorWindow::MoveDetail(int by)
{
    const int row = CurrentSourceRow();
    const int to = row + by;
    if (!m_model.HasRowList() || row < 0 || to < 0 || to >= m_model.rowCount())
        return;
    const int column = CurrentSourceIndex().column();
    m_undo->push(new MoveDetailCommand(m_model, row, to));
    SelectSource(m_model.index(to, column));
}

void EditorWindow::ResetCell(bool toDefault)
{
    const QModelIndex index = CurrentSourceIndex();
    if (!index.isValid())
        return;
    auto* command = new SetCellCommand(m_model, index.row(), index.column(),
                                       toDefault ? SetCellCommand::Change::Default
                                                 : SetCellCommand::Change::Unset);
    if (command->Apply())
        m_undo->push(command);
    else {
        ShowRefusal(m_model.LastRefusal());
        delete command;
    }
}

void EditorWindow::ShowRefusal(const QString& reason)
{
    statusBar()->showMessage(tr("Not changed: %1").arg(reason));
}

void EditorWindow::UpdateDiagnostics()
{
    m_diagnostics->clear();
    const QStringList levels = {tr("error"), tr("warning"), tr("info")};
    QList<QTreeWidgetItem*> items;
    for (const SettingsModel::CellFinding& entry : m_model.Findings()) {
        const KVT317XML::ReadFinding& finding = entry.finding;
        auto* item = new QTreeWidgetItem;
        item->setText(LevelColumn, levels.value(static_cast<int>(finding.level)));
        if (finding.position.line > 0) {
            item->setText(LineColumn, QString::number(finding.position.line));
            item->setText(ColumnColumn, QString::number(finding.position.column));
        } else if (finding.position.offset >= 0) {
            item->setText(LineColumn, tr("offset %1").arg(finding.position.offset));
        }
        if (entry.row >= 0)
            item->setText(DetailColumn, QString::number(entry.row + 1));
        if (finding.member)
            item->setText(MemberColumn, finding.member->name);
        item->setText(MessageColumn, finding.message);
        item->setData(0, RowData, entry.row);
        item->setData(0, ColumnData, entry.column);
        items.append(item);
    }
    // The library's own reports, besides: those that a finding already carries are not
    // repeated (a check's reports arrive here too).
    QSet<QString> shown;
    for (const SettingsModel::CellFinding& entry : m_model.Findings())
        shown.insert(entry.finding.message);
    for (const auto& report : m_pending)
        if (!shown.contains(report.second))
            m_reports.push_back(report);
    m_pending.clear();
    for (const auto& report : m_reports) {
        auto* item = new QTreeWidgetItem;
        item->setText(LevelColumn, levels.value(report.first));
        item->setText(MessageColumn, report.second);
        item->setData(0, RowData, -1);
        item->setData(0, ColumnData, -1);
        items.append(item);
    }
    m_diagnostics->addTopLevelItems(items);
    for (int column = LevelColumn; column < MessageColumn; ++column)
        m_diagnostics->resizeColumnToContents(column);
}

void EditorWindow::FindingChosen()
{
    const QTreeWidgetItem* item = m_diagnostics->currentItem();
    if (!item)
        return;
    const int row = item->data(0, RowData).toInt();
    const int column = item->data(0, ColumnData).toInt();
    if (row < 0)
        return;
    SelectSource(m_model.index(row, std::max(column, 0)));
}
