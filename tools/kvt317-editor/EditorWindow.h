#pragma once

#include <SettingsDocument.h>
#include <SettingsModel.h>

#include <QMainWindow>
#include <QStringList>

#include <functional>

class QAction;
class QLineEdit;
class QSortFilterProxyModel;
class QTableView;
class QTreeWidget;
class QUndoStack;

// The main window of kvt317-editor: a settings document in a table, its findings in a
// panel, every edit on an undo stack.
class EditorWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit EditorWindow(QWidget* parent = nullptr);
    ~EditorWindow() override;

    // Opens a document file; false, with the reason shown, when it cannot be loaded.
    bool Open(const QString& path);
    // Saves in the document's own form; a save that would change what the file holds beyond
    // the edits asks first. False when nothing was saved.
    bool Save();
    bool SaveAs(const QString& path);

    KVT317XML::SettingsModel& Model() { return m_model; }
    QTableView* Table() const { return m_table; }
    QTreeWidget* Diagnostics() const { return m_diagnostics; }
    QUndoStack* UndoStack() const { return m_undo; }
    QString FilePath() const { return m_path; }

    // Asks whether to save although the save changes what the file holds, listing the
    // located reasons. Tests replace it; the default shows a message box.
    std::function<bool(const QStringList& reasons)> confirmLossySave;
    // Asks what to do with unsaved changes: Save, Discard or Cancel (QMessageBox buttons).
    std::function<int()> askUnsaved;
    // Tells the user something went wrong.
    std::function<void(const QString& message)> showError;

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void BuildActions();
    void UpdateTitle();
    void UpdateDiagnostics();
    void FindingChosen();
    QModelIndex CurrentSourceIndex() const;
    int CurrentSourceRow() const;
    void SelectSource(const QModelIndex& index);
    void AddDetail();
    void DuplicateDetail();
    void RemoveDetail();
    void MoveDetail(int by);
    void ResetCell(bool toDefault);
    bool MaybeSave();
    void OpenDialog();
    void SaveAsDialog();

    KVT317XML::SettingsModel m_model;
    QSortFilterProxyModel* m_proxy = nullptr;
    QTableView* m_table = nullptr;
    QTreeWidget* m_diagnostics = nullptr;
    QLineEdit* m_filter = nullptr;
    QUndoStack* m_undo = nullptr;
    QString m_path;
    KVT317XML::DocumentForm m_form = KVT317XML::DocumentForm::Xml;
    bool m_json = false; // a JSON document, which is kvt317's own form
    QList<QAction*> m_rowActions;
};
