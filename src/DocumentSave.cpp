// Lossless or refused, for a whole document: what a save of an opened document would
// change, drop or bring, weighed in one place for every program.

#include "DocumentSave.h"

#include <QHash>
#include <QRegularExpression>

namespace KVT317XML {

namespace {

// Adds what a save would change as findings, placed in the input where its places still fit.
void AddChanges(const OpenedDocument& input, const std::vector<SaveChange>& changes, bool locatable,
                const std::function<bool(const QString&, int)>& changed, DocumentFindingList& out)
{
    DocumentFindingList found;
    for (const SaveChange& change : changes) {
        const int bit = change.member ? change.member->bit : -1;
        if (changed && input.record &&
            changed(RecordPathText(input.record->GetDescription(), change.path), bit))
            continue;
        DocumentFinding finding;
        finding.level = FindingLevel::Error;
        finding.message = change.message;
        if (locatable) {
            // The record the change is in, for its place; the message names it already.
            finding.path = change.path;
            finding.record = change.record;
            finding.bit = bit;
        }
        found.Add(std::move(finding));
    }
    PlaceFindings(input, found);
    for (const DocumentFindingList::Entry& entry : found.Sorted()) {
        DocumentFinding finding = *entry.diagnostic;
        finding.record = nullptr;
        out.Add(std::move(finding));
    }
}

// How many of a list's findings pass a filter, counting those summarised.
qint64 Count(const DocumentFindingList& list,
             const std::function<bool(const DocumentFinding&)>& filter)
{
    qint64 count = 0;
    for (const DocumentFindingList::Entry& entry : list.Sorted())
        if (filter(*entry.diagnostic))
            count += 1 + entry.more;
    return count;
}

// Whether writing a finding's document in a form would change or drop what it is about.
bool Blocks(const DocumentFinding& finding)
{
    return finding.origin == DocumentFinding::Origin::Input ||
           finding.origin == DocumentFinding::Origin::XmlText;
}

// A fault told apart from others by its record and message, not by its item's position,
// which a removal moves.
QString FaultKey(const DocumentFinding& finding)
{
    static const QRegularExpression position(QStringLiteral("\\[[0-9]+\\]"));
    return QString(finding.label).replace(position, QStringLiteral("[]")) + QLatin1Char('\n') +
           finding.message;
}

// The faults the library finds in an edited record that the input did not have (those of
// the input that `kept` passes), as lines. Returns how many there are.
qint64 NewFaults(const OpenedDocument& input, const Record& record,
                 const std::function<bool(const DocumentFinding&)>& kept, QStringList& lines)
{
    QHash<QString, qint64> before;
    for (const DocumentFindingList::Entry& entry : input.findings.Sorted())
        if (kept(*entry.diagnostic))
            before[FaultKey(*entry.diagnostic)] += 1 + entry.more;
    DocumentFindingList after;
    {
        FindingCollector collector(after);
        ObserveReading observe(collector);
        record.Check(true);
    }
    after.ForEachKept([&record](DocumentFinding& finding) { LabelFinding(finding, record); });
    qint64 added = 0;
    lines += FindingLines(input.label, after, [&](const DocumentFinding& finding) {
        qint64& left = before[FaultKey(finding)];
        if (left > 0) {
            --left;
            return false;
        }
        ++added;
        return true;
    });
    return added;
}

} // namespace

DocumentSaveReview ReviewDocumentSave(const OpenedDocument& input, const Record& record,
                                      const DocumentSaveRequest& request)
{
    DocumentSaveReview review;
    const auto relevant = [&request](const DocumentFinding& finding) {
        if (request.superseded && request.superseded(finding))
            return false;
        return finding.origin != DocumentFinding::Origin::XmlText ||
               request.form == DocumentForm::Xml;
    };
    // An edit keeps the file's text encoding and byte-order mark: UTF-16 stays UTF-16.
    DetectedForm written;
    written.form = request.form;
    if (request.edit && request.form == input.form)
        written = input.detected;
    record.SetLogger(nullptr);
    // What writing reports is shown with the record and member it is about.
    DocumentFindingList writing;
    SavePlan plan = [&] {
        FindingCollector collector(writing);
        ObserveReading observe(collector);
        return PlanSave(record, written, {}, request.level);
    }();
    review.bytes = std::move(plan.bytes);
    review.refusal = plan.refusal;

    DocumentFindingList changes;
    if (request.before)
        AddChanges(input, ChangesBetween(*request.before, record), request.locatable,
                   request.changed, changes);
    if (plan.refusal.isEmpty())
        AddChanges(input, plan.changes, request.locatable, nullptr, changes);

    // An edit lists what stops it and what it brings; the faults that were there already,
    // and stay, are counted, not listed on every edit.
    const auto there = [&](const DocumentFinding& finding) {
        return relevant(finding) && !Blocks(finding);
    };
    // A conversion onto another document: the input's faults that one had already.
    QHash<QString, qint64> replacedFaults;
    if (request.replaced && !request.edit)
        for (const DocumentFindingList::Entry& entry : request.replaced->findings.Sorted())
            replacedFaults[FaultKey(*entry.diagnostic)] += 1 + entry.more;
    const QString& label = input.label;
    review.lines = FindingLines(label, input.findings, [&](const DocumentFinding& finding) {
        if (!relevant(finding))
            return false;
        if (request.edit)
            return Blocks(finding);
        qint64* left = Blocks(finding) ? nullptr : &replacedFaults[FaultKey(finding)];
        if (left && *left > 0) {
            --*left;
            ++review.already;
            return false;
        }
        return true;
    });
    if (request.findings)
        review.lines += FindingLines(label, *request.findings);
    review.lines += FindingLines(label, changes);
    // What writing reports about a member the input's findings name already adds nothing.
    review.lines += FindingLines(label, writing, [&input](const DocumentFinding& finding) {
        for (const DocumentFindingList::Entry& entry : input.findings.Sorted())
            if (entry.diagnostic->path == finding.path && entry.diagnostic->bit == finding.bit)
                return false;
        return true;
    });
    review.lines += FindingLines(label, input.notes);
    if (request.edit) {
        review.added = NewFaults(input, record, there, review.lines);
        review.already = Count(input.findings, there);
    }
    review.alreadyIn = request.edit || !request.replaced ? &input : request.replaced;
    review.uncarried = Count(input.findings, [&](const DocumentFinding& finding) {
        return relevant(finding) && finding.origin == DocumentFinding::Origin::XmlText;
    });
    review.blocking =
        Count(input.findings,
              [&](const DocumentFinding& finding) {
                  return relevant(finding) && finding.origin == DocumentFinding::Origin::Input;
              }) +
        (request.findings ? request.findings->Count() : 0) + changes.Count();
    return review;
}

} // namespace KVT317XML
