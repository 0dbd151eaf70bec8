#pragma once

#include <SettingsDocument.h>
#include <SettingsModel.h>

#include <QMainWindow>
#include <QStringList>

#include <functional>
#include <memory>
#include <utility>
#include <vector>

class QAction;
class QFileSystemWatcher;
class QLineEdit;
class QSortFilterProxyModel;
class QTableView;
class QTreeWidget;
class QTimer;
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
    // Saves in the document's own form, holding the file's lock, under the item model's save
    // rule (SaveProblems()): a document the library refuses, or one that would not load back
    // as shown, is not saved; one with faults at level ERROR only once the user accepts them.
    // A save that would change what the file holds beyond the edits asks first, and so does
    // one that would write over a change made on disk since the editor read or wrote the
    // file. False when nothing was saved (the lock held by another program, a refusal, the
    // library's refusal).
    bool Save();
    // Saves to @p path (Save() when it is the open file), then edits that file.
    bool SaveAs(const QString& path);

    KVT317XML::SettingsModel& Model() { return m_model; }
    QTableView* Table() const { return m_table; }
    QTreeWidget* Diagnostics() const { return m_diagnostics; }
    QUndoStack* UndoStack() const { return m_undo; }
    QString FilePath() const { return m_path; }

    // Asks whether to save although the save changes what the file holds, listing the
    // located reasons. Tests replace it; the default shows a message box.
    std::function<bool(const QStringList& reasons)> confirmLossySave;
    // Asks whether to save a document with faults at level ERROR all the same, listing them.
    // Tests replace it; the default shows a message box.
    std::function<bool(const QStringList& faults)> confirmFaultySave;
    // Asks what to do with unsaved changes: Save, Discard or Cancel (QMessageBox buttons).
    std::function<int()> askUnsaved;
    // Tells the user something went wrong.
    std::function<void(const QString& message)> showError;

    // What the user chose when the file changed on disk under the editor.
    enum class DiskChoice {
        Reload,   // show the file's new content, dropping the editor's version
        KeepMine, // keep the editor's version; saving writes it over the file's
        Cancel    // neither, for now (a save then writes nothing)
    };
    // Where the change was noticed: while the editor was open, or by a save.
    enum class NoticedBy { Watcher, Save };
    // Asks what to do about a change of the file on disk that the editor has not shown;
    // @p unsavedEdits tells whether reloading drops edits. Tests replace it; the default
    // shows a message box.
    std::function<DiskChoice(NoticedBy noticedBy, bool unsavedEdits)> askChangedOnDisk;
    // How long a save waits for another program's lock on the file, in milliseconds.
    int lockWait = 2000;

    // The library's reports that the findings of the model do not carry, in arrival order:
    // a save's, and those of edits that no check repeats.
    const std::vector<std::pair<int, QString>>& LibraryReports() const { return m_reports; }
    // Receives one report of the library (its LogLevel as int) for the panel.
    void TakeReport(int level, const QString& message);
    // Tells the user why the model refused an edit, in the status bar.
    void ShowRefusal(const QString& reason);

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
    // Saving and watching the file (EditorFile.cpp).
    enum class Written { Yes, Refused, Changed };
    bool MaySave(KVT317XML::SaveFaults& faults, int& accepted);
    Written WriteLocked(const QString& path, bool compare, QByteArray& seen,
                        KVT317XML::SaveFaults faults);
    Written WriteThroughEdit(const QString& path, QByteArray& seen, bool& tried,
                             KVT317XML::SaveFaults faults);
    Written WriteDirect(const QString& path, bool compare, QByteArray& seen, int wait,
                        KVT317XML::SaveFaults faults);
    void Watch();
    void DiskChanged();
    void CheckDisk();
    void ShowReports(const QStringList& errors, const QString& what);

    KVT317XML::SettingsModel m_model;
    QSortFilterProxyModel* m_proxy = nullptr;
    QTableView* m_table = nullptr;
    QTreeWidget* m_diagnostics = nullptr;
    QLineEdit* m_filter = nullptr;
    QUndoStack* m_undo = nullptr;
    QString m_path;
    KVT317XML::DocumentForm m_form = KVT317XML::DocumentForm::Xml;
    KVT317XML::DetectedForm m_detected; // the form and text encoding the file was found in
    bool m_json = false;                // a JSON document
    QList<QAction*> m_rowActions;
    QByteArray m_diskDigest; // of what the editor last loaded, saved or was shown on disk
    QFileSystemWatcher* m_watcher = nullptr;
    QTimer* m_diskTimer = nullptr;
    bool m_asking = false;
    bool m_loading = false;
    QStringList m_lastErrors;                       // the ERROR reports of the last locked edit
    std::vector<std::pair<int, QString>> m_pending; // reports not yet matched to findings
    std::vector<std::pair<int, QString>> m_reports;
};
