#include "Writing.h"
#include "Analysis.h"
#include "JsonForm.h"

#include "Output.h"
#include <SaveChanges.h>

#include <QHash>
#include <QRegularExpression>

using namespace KVT317XML;

QByteArray Serialise(const Record& record, Form form, int level, const DetectedForm* encoding)
{
    record.SetLogger(nullptr);
    DetectedForm target;
    target.form = form;
    if (encoding) {
        target.encoding = encoding->encoding;
        target.byteOrderMark = encoding->byteOrderMark;
    }
    return SettingsDocumentBytes(record, target, level);
}

namespace {

// Adds what a save would change as findings, placed in the input where its places still fit.
void AddChanges(const Document& input, const std::vector<SaveChange>& changes, bool locatable,
                const std::function<bool(const QString&, int)>& changed, DiagnosticList& out)
{
    DiagnosticList found;
    for (const SaveChange& change : changes) {
        const int bit = change.member ? change.member->bit : -1;
        if (changed && input.record &&
            changed(PathText(input.record->GetDescription(), change.path), bit))
            continue;
        Diagnostic diagnostic;
        diagnostic.level = Level::Error;
        diagnostic.message = change.message;
        if (locatable) {
            // The record the change is in, for its place; the message names it already.
            diagnostic.path = change.path;
            diagnostic.record = change.record;
            diagnostic.bit = bit;
        }
        found.Add(std::move(diagnostic));
    }
    Place(input, found);
    for (const DiagnosticList::Entry& entry : found.Sorted()) {
        Diagnostic diagnostic = *entry.diagnostic;
        diagnostic.record = nullptr;
        out.Add(std::move(diagnostic));
    }
}

// How many of a list's diagnostics pass a filter, counting those summarised.
qint64 Count(const DiagnosticList& list, const std::function<bool(const Diagnostic&)>& filter)
{
    qint64 count = 0;
    for (const DiagnosticList::Entry& entry : list.Sorted())
        if (filter(*entry.diagnostic))
            count += 1 + entry.more;
    return count;
}

// Whether writing a diagnostic's document in a form would change or drop what it is about.
bool Blocks(const Diagnostic& diagnostic)
{
    return diagnostic.origin == Diagnostic::Origin::Input ||
           diagnostic.origin == Diagnostic::Origin::XmlText;
}

// A fault told apart from others by its record and message, not by its item's position,
// which a removal moves.
QString FaultKey(const Diagnostic& diagnostic)
{
    static const QRegularExpression position(QStringLiteral("\\[[0-9]+\\]"));
    return QString(diagnostic.label).replace(position, QStringLiteral("[]")) + QLatin1Char('\n') +
           diagnostic.message;
}

// The faults the library finds in an edited record that the input did not have (those of
// the input that `kept` passes). Returns how many there are, after printing them.
qint64 PrintNewFaults(const Document& input, const Record& record,
                      const std::function<bool(const Diagnostic&)>& kept)
{
    QHash<QString, qint64> before;
    for (const DiagnosticList::Entry& entry : input.findings.Sorted())
        if (kept(*entry.diagnostic))
            before[FaultKey(*entry.diagnostic)] += 1 + entry.more;
    DiagnosticList after;
    {
        Collector collector(after);
        ObserveReading observe(collector);
        record.Check(true);
    }
    after.ForEachKept([&record](Diagnostic& diagnostic) { Label(diagnostic, record); });
    qint64 added = 0;
    PrintDiagnostics(Err(), input.label, after, [&](const Diagnostic& diagnostic) {
        qint64& left = before[FaultKey(diagnostic)];
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

int WriteChecked(const Document& input, const Record& record, const WriteRequest& request)
{
    const auto relevant = [&request](const Diagnostic& diagnostic) {
        if (request.superseded && request.superseded(diagnostic))
            return false;
        return diagnostic.origin != Diagnostic::Origin::XmlText || request.form == Form::Xml;
    };
    // An edit keeps the file's text encoding and byte-order mark: UTF-16 stays UTF-16.
    DetectedForm written;
    written.form = request.form;
    if (request.edit && request.form == input.form)
        written = input.detected;
    record.SetLogger(nullptr);
    // What writing reports is shown with the record and member it is about.
    DiagnosticList writing;
    const SavePlan plan = [&] {
        Collector collector(writing);
        ObserveReading observe(collector);
        return PlanSave(record, written, {}, request.level);
    }();
    const QByteArray& bytes = plan.bytes;

    DiagnosticList changes;
    if (request.before)
        AddChanges(input, ChangesBetween(*request.before, record), request.locatable,
                   request.changed, changes);
    if (plan.refusal.isEmpty())
        AddChanges(input, plan.changes, request.locatable, nullptr, changes);

    // An edit lists what stops it and what it brings; the faults that were there already,
    // and stay, are counted, not listed on every edit.
    const auto there = [&](const Diagnostic& diagnostic) {
        return relevant(diagnostic) && !Blocks(diagnostic);
    };
    // A conversion onto another document: the input's faults that one had already.
    QHash<QString, qint64> replacedFaults;
    if (request.replaced && !request.edit)
        for (const DiagnosticList::Entry& entry : request.replaced->findings.Sorted())
            replacedFaults[FaultKey(*entry.diagnostic)] += 1 + entry.more;
    qint64 already = 0;
    PrintDiagnostics(Err(), input.label, input.findings, [&](const Diagnostic& diagnostic) {
        if (!relevant(diagnostic))
            return false;
        if (request.edit)
            return Blocks(diagnostic);
        qint64* left = Blocks(diagnostic) ? nullptr : &replacedFaults[FaultKey(diagnostic)];
        if (left && *left > 0) {
            --*left;
            ++already;
            return false;
        }
        return true;
    });
    if (request.findings)
        PrintDiagnostics(Err(), input.label, *request.findings);
    PrintDiagnostics(Err(), input.label, changes);
    // What writing reports about a member the input's findings name already adds nothing.
    PrintDiagnostics(Err(), input.label, writing, [&input](const Diagnostic& diagnostic) {
        for (const DiagnosticList::Entry& entry : input.findings.Sorted())
            if (entry.diagnostic->path == diagnostic.path &&
                entry.diagnostic->bit == diagnostic.bit)
                return false;
        return true;
    });
    PrintDiagnostics(Err(), input.label, input.notes);
    const qint64 added = request.edit ? PrintNewFaults(input, record, there) : 0;
    if (request.edit)
        already = Count(input.findings, there);
    const Document& target = request.edit || !request.replaced ? input : *request.replaced;
    if (already > 0)
        Err() << "kvt317: " << target.label << ": " << Grouped(already)
              << (already == 1 ? " fault was" : " faults were") << " already there; `kvt317 check "
              << target.path << "` lists " << (already == 1 ? "it" : "them") << '\n';

    const QString output =
        request.path == QLatin1String("-") ? QStringLiteral("<stdout>") : request.path;
    if (!plan.refusal.isEmpty()) {
        Err() << "kvt317: " << output << " not written: " << plan.refusal << '\n';
        return Faults;
    }
    const qint64 uncarried = Count(input.findings, [&](const Diagnostic& diagnostic) {
        return relevant(diagnostic) && diagnostic.origin == Diagnostic::Origin::XmlText;
    });
    if (uncarried > 0) {
        Err() << "kvt317: " << output << " not written: XML cannot carry "
              << (uncarried == 1 ? QStringLiteral("a text")
                                 : QStringLiteral("%1 texts").arg(uncarried))
              << " of the document\n";
        return Faults;
    }
    const qint64 blocking =
        Count(input.findings,
              [&](const Diagnostic& diagnostic) {
                  return relevant(diagnostic) && diagnostic.origin == Diagnostic::Origin::Input;
              }) +
        (request.findings ? request.findings->Count() : 0) + changes.Count();
    if (blocking > 0 && !request.force) {
        Err() << "kvt317: " << output << " not written: writing would change what the input holds ("
              << Grouped(blocking) << (blocking == 1 ? " finding" : " findings")
              << "); --force writes it anyway\n";
        return Faults;
    }
    const QString error = WriteOutput(request.path, bytes);
    if (!error.isEmpty()) {
        Err() << "kvt317: " << error << '\n';
        return UsageOrIo;
    }
    if (blocking > 0)
        Err() << "kvt317: " << output << " written as --force asks, with the changes listed\n";
    if (added > 0) {
        Err() << "kvt317: " << output << " written; the edit added " << Grouped(added)
              << (added == 1 ? " fault" : " faults") << '\n';
        return Faults;
    }
    return Success;
}
