// The editor's file: opening, saving under the document's lock, and noticing changes made
// on disk by other programs. A save never writes over a change the user was not told of.

#include "EditorWindow.h"

#include <BearingSettings.h>
#include <DocumentFile.h>
#include <KVT317_Settings.h>
#include <Logger.h>
#include <RGException.h>
#include <SettingsFile.h>

#include <QAction>
#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QSortFilterProxyModel>
#include <QStatusBar>
#include <QTableView>
#include <QTimer>
#include <QUndoStack>

using KVT317XML::DocumentForm;
using KVT317XML::Record;
using REPORTGENERATOR::DocumentLock;
using REPORTGENERATOR::Logger;
using REPORTGENERATOR::LogLevel;

namespace {

QByteArray Digest(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

// The digest of what the file holds; "missing" (no digest's length) when it cannot be read.
QByteArray DiskDigest(const QString& path, QByteArray* content = nullptr)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArrayLiteral("missing");
    const QByteArray bytes = file.readAll();
    if (content)
        *content = bytes;
    return Digest(bytes);
}

// Makes @p to hold exactly what @p from holds; its switch and logger stay.
bool CopyDocument(const Record& from, Record& to)
{
    using KVT317XML::BearingSettings;
    using KVT317XML::KVT317_Settings;
    auto* settings = dynamic_cast<KVT317_Settings*>(&to);
    auto* sourceSettings = dynamic_cast<const KVT317_Settings*>(&from);
    if (settings && sourceSettings) {
        *settings = *sourceSettings;
        return true;
    }
    auto* bearing = dynamic_cast<BearingSettings*>(&to);
    auto* sourceBearing = dynamic_cast<const BearingSettings*>(&from);
    if (bearing && sourceBearing) {
        *bearing = *sourceBearing;
        return true;
    }
    return false;
}

} // namespace

void EditorWindow::TakeReport(int level, const QString& message)
{
    // A load's reports are its findings already.
    if (!m_loading)
        m_pending.emplace_back(level, message);
}

bool EditorWindow::Open(const QString& path)
{
    // Read before the load: should the file change in between, the editor takes the older
    // content for what it has shown, and the change is noticed rather than overwritten.
    const QByteArray digest = DiskDigest(path);
    m_loading = true;
    // Every form, JSON included, through the library's one detection.
    KVT317XML::LoadedDocument document = KVT317XML::LoadSettingsDocument(path);
    const bool json = document.form == DocumentForm::Json;
    m_loading = false;
    if (!document.record) {
        showError(document.error);
        return false;
    }
    m_undo->clear();
    m_path = QFileInfo(path).absoluteFilePath();
    m_form = document.form;
    m_detected = document.detected;
    m_json = json;
    m_diskDigest = digest;
    m_pending.clear();
    m_reports.clear();
    m_model.SetDocument(std::move(document.record), std::move(document.findings));
    for (QAction* action : m_rowActions)
        action->setEnabled(m_model.HasRowList());
    m_undo->setClean();
    UpdateTitle();
    statusBar()->showMessage(
        tr("%1: %2 document")
            .arg(QFileInfo(path).fileName(),
                 m_json ? QStringLiteral("JSON") : KVT317XML::DocumentFormName(m_form)));
    if (m_proxy->rowCount() > 0)
        m_table->setCurrentIndex(m_proxy->index(0, 0));
    Watch();
    return true;
}

bool EditorWindow::Save()
{
    if (m_path.isEmpty()) {
        SaveAsDialog();
        return !isWindowModified();
    }
    return SaveAs(m_path);
}

bool EditorWindow::SaveAs(const QString& path)
{
    if (!m_model.Document())
        return false;
    // The file is to hold what the editor shows: what the load took in silence, and no edit
    // has replaced, would be changed by saving.
    QStringList reasons;
    for (const KVT317XML::ReadFinding& finding : m_model.StandingReadFindings())
        reasons.append(KVT317XML::FindingLine(finding));
    if (!reasons.isEmpty() && !confirmLossySave(reasons))
        return false;
    KVT317XML::SaveFaults faults = KVT317XML::SaveFaults::Refuse;
    int accepted = 0;
    if (!MaySave(faults, accepted))
        return false;
    const QString target = QFileInfo(path).absoluteFilePath();
    // Another file, chosen in the save dialog, is replaced as the dialog confirmed; the open
    // one only while it holds what the editor last read, wrote or told of.
    const bool compare = target == m_path;
    for (;;) {
        QByteArray seen;
        const Written written = WriteLocked(target, compare, seen, faults);
        UpdateDiagnostics();
        if (written == Written::Yes)
            break;
        if (written == Written::Refused)
            return false;
        m_asking = true;
        const DiskChoice choice = askChangedOnDisk(NoticedBy::Save, !m_undo->isClean());
        m_asking = false;
        if (choice == DiskChoice::Reload) {
            Open(m_path);
            return false;
        }
        if (choice == DiskChoice::Cancel) {
            statusBar()->showMessage(
                tr("Not saved: %1 changed on disk").arg(QFileInfo(path).fileName()));
            return false;
        }
        // The change was told of: written over now, unless it changes once more first.
        m_diskDigest = seen;
    }
    m_path = target;
    m_undo->setClean();
    UpdateTitle();
    Watch();
    // A document saved with its faults is not a plain success.
    statusBar()->showMessage(accepted > 0
                                 ? tr("Saved %1 with %2 fault(s) at level error, as accepted")
                                       .arg(QFileInfo(path).fileName())
                                       .arg(accepted)
                                 : tr("Saved %1").arg(QFileInfo(path).fileName()));
    return true;
}

bool EditorWindow::MaySave(KVT317XML::SaveFaults& faults, int& accepted)
{
    // The model's save rule, which the locked edit applies again to what it writes. The JSON
    // form is checked as the binary form, which carries every value as the model shows it.
    const KVT317XML::SaveReport problems =
        KVT317XML::SaveProblems(*m_model.Document(), m_json ? DocumentForm::Binary : m_form);
    if (!problems.error.isEmpty()) {
        const QString refused = tr("The document cannot be saved: %1").arg(problems.error);
        m_pending.emplace_back(static_cast<int>(LogLevel::Error), refused);
        UpdateDiagnostics();
        ShowReports({refused}, m_path);
        return false;
    }
    if (problems.faults.empty())
        return true;
    QStringList lines;
    for (const KVT317XML::ReadFinding& finding : problems.faults)
        lines.append(KVT317XML::FindingLine(finding));
    if (!confirmFaultySave(lines)) {
        statusBar()->showMessage(tr("Not saved: the document has %1 fault(s) at level error")
                                     .arg(problems.faults.size()));
        return false;
    }
    faults = KVT317XML::SaveFaults::Accept;
    accepted = static_cast<int>(problems.faults.size());
    return true;
}

EditorWindow::Written EditorWindow::WriteLocked(const QString& path, bool compare, QByteArray& seen,
                                                KVT317XML::SaveFaults faults)
{
    // XML and binary documents go through the library's locked edit; JSON, a new file, and
    // a file the edit cannot load (another form now, or no document at all) under the same
    // lock, taken directly.
    if (!m_json && compare && QFileInfo::exists(path)) {
        bool tried = false;
        const Written written = WriteThroughEdit(path, seen, tried, faults);
        if (tried || written != Written::Refused)
            return written;
        DocumentLock probe(path);
        if (!probe.Acquire(0)) {
            ShowReports(m_lastErrors, path);
            return Written::Refused;
        }
    }
    return WriteDirect(path, compare, seen, lockWait, faults);
}

EditorWindow::Written EditorWindow::WriteThroughEdit(const QString& path, QByteArray& seen,
                                                     bool& tried, KVT317XML::SaveFaults faults)
{
    const Record& document = *m_model.Document();
    std::unique_ptr<Record> scratch = KVT317XML::NewRecord(document.GetDescription());
    scratch->SetValidate(false);
    bool saving = false;
    m_lastErrors.clear();
    std::vector<std::pair<int, QString>> saveReports;
    // What the file's load says is known already (it holds what the editor read); what the
    // save says is the editor's to show.
    scratch->SetLogger(std::make_shared<Logger>([&](LogLevel level, const QString& message) {
        if (saving)
            saveReports.emplace_back(static_cast<int>(level), message);
        else if (level == LogLevel::Error)
            m_lastErrors.append(message);
    }));
    bool changed = false;
    QString refusal;
    QByteArray expected;
    bool done = false;
    // A report raised inside the edit leaves the file untouched; the editor says why.
    try {
        done = scratch->EditFile(
            path,
            [&](REPORTGENERATOR::IRGObject&) {
                QByteArray bytes;
                const QByteArray digest = DiskDigest(path, &bytes);
                if (digest != m_diskDigest) {
                    tried = true;
                    changed = true;
                    seen = digest;
                    return false;
                }
                // The edit saves in the file's form; a file in another form is left to the
                // direct write, which keeps the editor's.
                if (KVT317XML::DetectDocumentForm(bytes).form != m_form ||
                    !CopyDocument(document, *scratch))
                    return false;
                tried = true;
                // What the edit saves is held to the model's rule, as SaveSettingsDocument()
                // holds its own save.
                const KVT317XML::SaveReport rule = KVT317XML::SaveProblems(*scratch, m_form);
                refusal = rule.error;
                if (refusal.isEmpty() && !rule.faults.empty() &&
                    faults == KVT317XML::SaveFaults::Refuse)
                    refusal =
                        tr("the document has %1 fault(s) at level error").arg(rule.faults.size());
                if (refusal.isEmpty() && !rule.changes.empty() &&
                    faults == KVT317XML::SaveFaults::Refuse)
                    refusal = tr("writing would change what the document holds (%1 change(s)); "
                                 "the first: %2")
                                  .arg(rule.changes.size())
                                  .arg(rule.changes.front().message);
                if (!refusal.isEmpty())
                    return false;
                // The edit keeps the file's encoding (UTF-16 stays UTF-16), as the bytes do.
                expected = KVT317XML::SettingsDocumentBytes(*scratch,
                                                            KVT317XML::DetectDocumentForm(bytes));
                saving = true;
                return true;
            },
            lockWait);
    } catch (const REPORTGENERATOR::RGException& exception) {
        saveReports.emplace_back(static_cast<int>(LogLevel::Error), exception.GetMessage());
        tried = true;
        changed = false;
        done = false;
    }
    scratch->SetLogger(nullptr);
    for (const auto& report : saveReports)
        m_pending.push_back(report);
    if (done) {
        m_diskDigest = Digest(expected);
        return Written::Yes;
    }
    if (changed)
        return Written::Changed;
    if (tried) {
        QStringList errors;
        for (const auto& report : saveReports)
            if (report.first == static_cast<int>(LogLevel::Error))
                errors.append(report.second);
        if (!refusal.isEmpty())
            errors.append(tr("The document cannot be saved: %1").arg(refusal));
        ShowReports(errors, path);
    }
    return Written::Refused;
}

EditorWindow::Written EditorWindow::WriteDirect(const QString& path, bool compare, QByteArray& seen,
                                                int wait, KVT317XML::SaveFaults faults)
{
    DocumentLock lock(path);
    QString fault;
    if (!lock.Acquire(wait, &fault)) {
        ShowReports({fault}, path);
        return Written::Refused;
    }
    const QByteArray digest = DiskDigest(path);
    if (compare && digest != m_diskDigest) {
        seen = digest;
        return Written::Changed;
    }
    const Record& document = *m_model.Document();
    QByteArray bytes;
    bool saved = false;
    QStringList errors;
    if (m_json) {
        bytes = DocumentBytes(document, DocumentForm::Json);
        QStringList warnings;
        saved = REPORTGENERATOR::WriteDocumentFile(path, bytes, &fault, &warnings);
        for (const QString& warning : warnings)
            m_pending.emplace_back(static_cast<int>(LogLevel::Warning), warning);
        if (!saved)
            errors.append(fault);
    } else {
        // The model's save, under its rule; what it says is the editor's to show.
        KVT317XML::SaveReport report;
        // The file's text encoding is kept: a UTF-16 file stays UTF-16.
        KVT317XML::DetectedForm target;
        target.form = m_form;
        if (m_form == m_detected.form)
            target = m_detected;
        saved = KVT317XML::SaveSettingsDocument(document, path, target, &report, faults);
        for (const QString& warning : report.warnings)
            m_pending.emplace_back(static_cast<int>(LogLevel::Warning), warning);
        if (saved) {
            // What the save wrote, from a silent copy: the editor's own save is no change.
            std::unique_ptr<Record> copy = KVT317XML::CopyRecord(document);
            copy->SetLogger(nullptr);
            bytes = KVT317XML::SettingsDocumentBytes(*copy, target);
        } else {
            m_pending.emplace_back(static_cast<int>(LogLevel::Error), report.error);
            errors.append(report.error);
        }
    }
    if (!saved) {
        ShowReports(errors, path);
        return Written::Refused;
    }
    m_diskDigest = Digest(bytes);
    return Written::Yes;
}

void EditorWindow::ShowReports(const QStringList& errors, const QString& path)
{
    showError(errors.isEmpty()
                  ? tr("%1 could not be saved; the file is as it was.").arg(path)
                  : tr("%1; the file is as it was.").arg(errors.join(QLatin1Char('\n'))));
}

void EditorWindow::Watch()
{
    // A save replaces the file by renaming a new one onto it, and the watch ends with the
    // old file: it is taken up again for the new one. The directory is watched as well, for
    // a file removed and written anew.
    const QString directory = m_path.isEmpty() ? QString() : QFileInfo(m_path).absolutePath();
    const QStringList files = m_watcher->files();
    for (const QString& file : files)
        if (file != m_path)
            m_watcher->removePath(file);
    const QStringList directories = m_watcher->directories();
    for (const QString& watched : directories)
        if (watched != directory)
            m_watcher->removePath(watched);
    if (m_path.isEmpty())
        return;
    if (!m_watcher->files().contains(m_path) && QFileInfo::exists(m_path))
        m_watcher->addPath(m_path);
    if (!m_watcher->directories().contains(directory) && QFileInfo::exists(directory))
        m_watcher->addPath(directory);
}

void EditorWindow::DiskChanged()
{
    Watch();
    // Writers that replace the file in steps are let finish first.
    m_diskTimer->start();
}

void EditorWindow::CheckDisk()
{
    Watch();
    if (m_path.isEmpty() || !m_model.Document() || m_asking)
        return;
    const QByteArray digest = DiskDigest(m_path);
    if (digest == m_diskDigest)
        return; // the editor's own save, or the same content written again
    if (!QFileInfo::exists(m_path)) {
        // Nothing to reload and nothing to lose: a save writes the file again.
        m_diskDigest = digest;
        m_undo->resetClean();
        UpdateTitle();
        statusBar()->showMessage(tr("%1 was removed or renamed on disk; saving writes it again")
                                     .arg(QFileInfo(m_path).fileName()));
        return;
    }
    m_asking = true;
    const DiskChoice choice = askChangedOnDisk(NoticedBy::Watcher, !m_undo->isClean());
    m_asking = false;
    switch (choice) {
    case DiskChoice::Reload:
        Open(m_path);
        return;
    case DiskChoice::KeepMine:
        // The change was told of: a save writes over it. The file no longer holds what the
        // editor shows, so the document counts as modified.
        m_diskDigest = digest;
        m_undo->resetClean();
        UpdateTitle();
        statusBar()->showMessage(
            tr("%1 changed on disk; kept the editor's version").arg(QFileInfo(m_path).fileName()));
        break;
    case DiskChoice::Cancel:
        break;
    }
    // It may have changed again while the question was open.
    if (DiskDigest(m_path) != m_diskDigest && choice == DiskChoice::KeepMine)
        m_diskTimer->start();
}
