#include "SaveChanges.h"
#include "RecordComparison.h"
#include "RecordDescription.h"

#include <DocumentFile.h>

#include <exception>

namespace KVT317XML {

std::vector<SaveChange> ChangesBetween(const Record& before, const Record& after)
{
    std::vector<SaveChange> changes;
    for (const RecordDifference& difference : CompareRecords(before, after)) {
        SaveChange change;
        // The root's own members have no path: the root is named by its type.
        const QString path =
            difference.path.isEmpty() ? before.GetDescription().name : difference.path;
        if (difference.bit < 0)
            change.message = QStringLiteral("%1 would change on writing: it holds numbers with "
                                            "more decimals than are written")
                                 .arg(path);
        else if (difference.onlyInA || difference.onlyInB)
            change.message =
                QStringLiteral("%1 would be %2 on writing")
                    .arg(difference.path,
                         difference.onlyInA ? QStringLiteral("dropped") : QStringLiteral("added"));
        else
            change.message = QStringLiteral("%1 would change on writing: %2 -> %3")
                                 .arg(path, difference.a, difference.b);
        change.kind = difference.onlyInA   ? SaveChange::Kind::Dropped
                      : difference.onlyInB ? SaveChange::Kind::Added
                                           : SaveChange::Kind::ValueChanged;
        const RecordDescription* record = &before.GetDescription();
        for (const auto& [bit, item] : difference.steps) {
            change.path.append(ReadStep{bit, item});
            record = record->members[static_cast<std::size_t>(bit)].nested();
        }
        change.record = record;
        if (difference.bit >= 0 && record)
            change.member = &record->members[static_cast<std::size_t>(difference.bit)];
        changes.push_back(std::move(change));
    }
    return changes;
}

SavePlan PlanSave(const Record& record, const DetectedForm& form,
                  const std::vector<ReadFinding>& loadFindings, int level)
{
    SavePlan plan;
    int uncarried = 0;
    for (const ReadFinding& finding : loadFindings) {
        if (finding.kind == FindingKind::NotXmlCharacter) {
            ++uncarried;
            continue;
        }
        // The library's own reports and what is merely dropped (comments) change nothing the
        // record holds.
        if (finding.kind == FindingKind::Report || finding.level == REPORTGENERATOR::LogLevel::Info)
            continue;
        SaveChange change;
        change.kind = SaveChange::Kind::InputNotKept;
        change.path = finding.path;
        change.record = finding.record;
        change.member = finding.member;
        change.message = finding.message;
        change.position = finding.position;
        plan.changes.push_back(std::move(change));
    }
    if (uncarried > 0 && form.form == DocumentForm::Xml) {
        plan.refusal =
            uncarried == 1
                ? QStringLiteral("XML cannot carry a text of the document")
                : QStringLiteral("XML cannot carry %1 texts of the document").arg(uncarried);
        return plan;
    }
    const std::unique_ptr<Record> copy = CopyRecord(record);
    copy->SetLogger(nullptr);
    try {
        ObserveReading quiet([](const ReadFinding&) {});
        plan.bytes = SettingsDocumentBytes(*copy, form, level);
    } catch (const std::exception& refused) {
        plan.bytes.clear();
        plan.refusal = QStringLiteral("the library refuses to write the document: %1")
                           .arg(QString::fromUtf8(refused.what()));
        return plan;
    }
    QString reason;
    const std::unique_ptr<Record> back = ReadSettingsDocument(plan.bytes, nullptr, &reason);
    if (!back) {
        plan.refusal = QStringLiteral("the %1 written would not read back: %2")
                           .arg(DocumentFormName(form.form), reason);
        return plan;
    }
    for (SaveChange& change : ChangesBetween(record, *back))
        plan.changes.push_back(std::move(change));
    return plan;
}

bool WritePlannedSave(const QString& path, const SavePlan& plan, SaveChanges accept, QString* fault)
{
    if (!plan.refusal.isEmpty()) {
        if (fault)
            *fault = plan.refusal;
        return false;
    }
    if (!plan.changes.empty() && accept == SaveChanges::Refuse) {
        if (fault)
            *fault = QStringLiteral("writing would change what the input holds (%1 %2); the "
                                    "first: %3")
                         .arg(plan.changes.size())
                         .arg(plan.changes.size() == 1 ? QStringLiteral("change")
                                                       : QStringLiteral("changes"))
                         .arg(plan.changes.front().message);
        return false;
    }
    return REPORTGENERATOR::WriteDocumentFile(path, plan.bytes, fault);
}

} // namespace KVT317XML
