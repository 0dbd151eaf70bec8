#include "Analysis.h"
#include "Commands.h"
#include "Json.h"
#include "JsonForm.h"
#include "Paths.h"
#include "Values.h"
#include "Writing.h"

#include <BearingSettings.h>
#include <FrequencyRange.h>
#include <KVT317_Settings.h>
#include <MemberDisplay.h>
#include <ReadObserver.h>
#include <StartingDetail.h>

#include <QHash>
#include <QRegularExpression>

using namespace KVT317XML;

namespace {

// A member a command set or reset: (record path, bit).
using Touched = std::vector<std::pair<QString, int>>;

bool IsTouched(const Touched& touched, const QString& recordPath, int bit)
{
    for (const auto& [path, member] : touched)
        if (path == recordPath && member == bit)
            return true;
    return false;
}

int Fail(const QString& message, int status = UsageOrIo)
{
    Err() << "kvt317: " << message << '\n';
    return status;
}

// Checks a value given on the command line against the member's kind, as the library reads
// it. Returns an error, or empty; a value that would be rounded on writing gives a warning.
QString CheckValue(const MemberDescription& member, const QString& value, Form form,
                   QString& warning)
{
    const MemberKindOperations& kind = *member.operations;
    if (kind.record)
        return QStringLiteral("%1 is a record; set its members").arg(member.name);
    if (kind.list)
        return QStringLiteral("%1 is a list; add and remove change it").arg(member.name);
    if (member.enumeration && !member.enumeration->names.contains(value))
        return QStringLiteral("%1: unknown name '%2'; allowed: %3")
            .arg(member.name, value, AllowedNames(member));
    QString said;
    const FindingKind found = kind.check(member, value, &said);
    if (found == FindingKind::ExtraDecimals)
        warning = said;
    else if (found != FindingKind::Report)
        return QStringLiteral("%1: '%2' is not %3").arg(member.name, value, kind.expected);
    // Free text is taken as it stands: it must be one XML can carry.
    uint code = 0;
    if (kind.text && form == Form::Xml &&
        REPORTGENERATOR::XmlText::FirstUnwritable(value, &code) >= 0)
        return QStringLiteral("%1: the value holds %2, which XML cannot carry")
            .arg(member.name, REPORTGENERATOR::XmlText::CodeName(code));
    return QString();
}

// A value given with a unit, as show prints it ("121.5 MHz", "500ms", "-95 dBµV"): the
// number in the member's own unit, shifted by powers of ten in its decimal text so that it
// is exact. The value itself when it carries no unit; an error when the unit is not the
// member's.
QString WithoutUnit(const RecordDescription& record, const MemberDescription& member,
                    const QString& value, QString& error)
{
    static const QRegularExpression withUnit(
        QStringLiteral("^\\s*([+-]?)([0-9]*)(?:\\.([0-9]*))?(?:[eE]([+-]?[0-9]+))?\\s*([^0-9\\s.+-]"
                       "[^\\s]*)\\s*$"));
    bool number = false;
    value.toDouble(&number);
    const QRegularExpressionMatch match = withUnit.match(value);
    if (number || !match.hasMatch() || (match.captured(2).isEmpty() && match.captured(3).isEmpty()))
        return value;
    const QString given = match.captured(5);
    const QString unit = MemberUnit(record, member);
    static const QHash<QString, int> hertz{{QStringLiteral("Hz"), 0},
                                           {QStringLiteral("kHz"), 3},
                                           {QStringLiteral("MHz"), 6},
                                           {QStringLiteral("GHz"), 9}};
    int shift = 0;
    if (unit == QLatin1String("Hz") && hertz.contains(given)) {
        shift = hertz.value(given);
    } else if (given != unit) {
        error = unit.isEmpty()
                    ? QStringLiteral("%1 takes no unit, not '%2'").arg(member.name, given)
                    : QStringLiteral("%1 is in %2, not '%3'")
                          .arg(member.name,
                               unit == QLatin1String("Hz") ? QStringLiteral("Hz, kHz, MHz or GHz")
                                                           : unit,
                               given);
        return QString();
    }
    // Digits and the place of the decimal point, moved by the unit and any exponent.
    QString digits = match.captured(2) + match.captured(3);
    int point = match.captured(2).size() + shift + match.captured(4).toInt();
    while (point > digits.size())
        digits.append(QLatin1Char('0'));
    while (point < 1) {
        digits.prepend(QLatin1Char('0'));
        ++point;
    }
    QString whole = digits.left(point);
    QString fraction = digits.mid(point);
    while (whole.size() > 1 && whole.startsWith(QLatin1Char('0')))
        whole.remove(0, 1);
    while (fraction.endsWith(QLatin1Char('0')))
        fraction.chop(1);
    return match.captured(1) + whole +
           (fraction.isEmpty() ? QString() : QLatin1Char('.') + fraction);
}

QString Join(const QString& path, const QString& name)
{
    if (name.isEmpty())
        return path;
    return path.isEmpty() ? name : path + QLatin1Char('.') + name;
}

// Sets the member a path selects, below `base` (whose own path is `basePath`).
QString Assign(Record& base, const QString& basePath, const QString& path, const QString& value,
               Form form, Touched& touched, DiagnosticList& findings)
{
    Target target;
    const QString error = Resolve(base, path, true, target);
    if (!error.isEmpty())
        return error;
    if (target.item >= 0)
        return QStringLiteral("%1 is a list item; set its members").arg(target.path);
    QString warning;
    QString unitError;
    const QString number =
        target.Member().operations->number
            ? WithoutUnit(target.record->GetDescription(), target.Member(), value, unitError)
            : value;
    const QString valueError =
        unitError.isEmpty() ? CheckValue(target.Member(), number, form, warning) : unitError;
    if (!valueError.isEmpty())
        return Join(basePath, target.recordPath).isEmpty()
                   ? valueError
                   : Join(basePath, target.recordPath) + QStringLiteral(": ") + valueError;
    const QString recordPath = Join(basePath, target.recordPath);
    if (!warning.isEmpty())
        findings.Add(Location(), Level::Warning,
                     recordPath.isEmpty() ? warning : recordPath + QStringLiteral(": ") + warning);
    target.record->SetMemberText(target.bit, number);
    touched.emplace_back(recordPath, target.bit);
    for (const auto& [createdPath, bit] : target.created)
        touched.emplace_back(Join(basePath, createdPath), bit);
    return QString();
}

// A document a command edits: locked until the command has written it, loaded and analysed,
// with the copy of its record that the command changes.
struct Edit {
    std::unique_ptr<REPORTGENERATOR::DocumentLock> lock;
    std::unique_ptr<Document> document; // null after printing why not
    std::unique_ptr<Record> edited;
    int status = Success; // the exit status when there is no document
};

Edit OpenEdit(const Options& options)
{
    Edit edit;
    const QString& path = options.arguments.at(0);
    edit.lock = LockForEdit(path, options);
    if (!edit.lock) {
        edit.status = UsageOrIo;
        return edit;
    }
    std::unique_ptr<Document> document = LoadDocument(path);
    edit.status = Unusable(*document);
    if (edit.status != Success)
        return edit;
    Analyse(*document);
    edit.edited = CopyRecord(*document->record);
    edit.document = std::move(document);
    return edit;
}

WriteRequest Request(const Document& document, const Options& options)
{
    WriteRequest request;
    request.path = document.path;
    request.form = document.form;
    request.force = options.force;
    request.edit = true;
    return request;
}

// Writes a document whose members a command set or reset: nothing else may change, and
// the input's findings about those members no longer count.
int WriteEdited(const Document& document, const Record& record, const Options& options,
                const Touched& touched, const DiagnosticList* findings)
{
    WriteRequest request = Request(document, options);
    request.findings = findings;
    request.before = document.record.get();
    request.changed = [&touched](const QString& path, int bit) {
        return IsTouched(touched, path, bit);
    };
    request.superseded = [&touched](const Diagnostic& diagnostic) {
        return diagnostic.record && IsTouched(touched, diagnostic.pathText, diagnostic.bit);
    };
    return WriteChecked(document, record, request);
}

void WriteJson(const Record& record)
{
    JsonWriter json;
    WriteRecordJson(json, record);
    Out().Write(json.Finish());
}

} // namespace

int RunGet(const Options& options)
{
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    QString expandError;
    const QStringList paths = Expand(*document->record, options.arguments.at(1), expandError);
    if (!expandError.isEmpty())
        return Fail(document->label + QStringLiteral(": ") + expandError);
    int status = Success;
    for (const QString& path : paths) {
        Target target;
        bool notSet = false;
        const QString error = Resolve(*document->record, path, false, target, &notSet);
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error,
                        notSet ? Faults : UsageOrIo);
        const MemberDescription& member = target.Member();
        const Record& record = *target.record;
        const bool set = record.IsMemberSet(target.bit);
        if (member.operations->list) {
            if (target.item >= 0) {
                WriteJson(*record.ListItem(target.bit, target.item));
                continue;
            }
            JsonWriter json;
            json.BeginArray();
            for (int i = 0; set && i < record.ListSize(target.bit); ++i)
                WriteRecordJson(json, *record.ListItem(target.bit, i));
            json.EndArray();
            Out().Write(json.Finish());
            continue;
        }
        if (!set) {
            Fail(QStringLiteral("%1: %2 is not set").arg(document->label, target.path), Faults);
            status = Faults;
            continue;
        }
        if (member.operations->record)
            WriteJson(*record.Child(target.bit));
        else
            Out() << record.MemberText(target.bit) << '\n';
    }
    return status;
}

int RunSet(const Options& options)
{
    if (options.arguments.size() % 2 == 0)
        return UsageError(QStringLiteral("set takes FILE and pairs of PATH VALUE"),
                          QStringLiteral("set"));
    const Edit edit = OpenEdit(options);
    if (!edit.document)
        return edit.status;
    const std::unique_ptr<Document>& document = edit.document;
    const std::unique_ptr<Record>& edited = edit.edited;
    Touched touched;
    DiagnosticList findings;
    for (int i = 1; i + 1 < options.arguments.size(); i += 2) {
        QString error;
        for (const QString& path : Expand(*edited, options.arguments.at(i), error)) {
            error = Assign(*edited, QString(), path, options.arguments.at(i + 1), document->form,
                           touched, findings);
            if (!error.isEmpty())
                break;
        }
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error);
    }
    return WriteEdited(*document, *edited, options, touched, &findings);
}

int RunUnset(const Options& options)
{
    const Edit edit = OpenEdit(options);
    if (!edit.document)
        return edit.status;
    const std::unique_ptr<Document>& document = edit.document;
    const std::unique_ptr<Record>& edited = edit.edited;
    Touched touched;
    for (int i = 1; i < options.arguments.size(); ++i) {
        Target target;
        bool notSet = false;
        const QString error = Resolve(*edited, options.arguments.at(i), false, target, &notSet);
        if (notSet)
            continue; // inside a record that is not set: nothing to reset
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error);
        const MemberDescription& member = target.Member();
        if (member.operations->list)
            return Fail(QStringLiteral("%1: %2 is a list; remove takes items out")
                            .arg(document->label, target.path));
        // XML and binary carry such a member always: reset, it carries its default.
        if (member.AlwaysWritten() && document->form != Form::Json) {
            const QString& text = member.defaultText;
            if (!member.hasDefault)
                return Fail(QStringLiteral("%1: %2 is always written and has no default; it "
                                           "cannot be unset")
                                .arg(document->label, target.path));
            target.record->SetMemberText(target.bit, text);
            Err() << "kvt317: " << document->label << ": " << target.path
                  << " is always written; reset to its default " << text << '\n';
        } else {
            target.record->ResetMember(target.bit);
        }
        touched.emplace_back(target.recordPath, target.bit);
    }
    return WriteEdited(*document, *edited, options, touched, nullptr);
}

namespace {

const MemberDescription* ListMember(const RecordDescription& description)
{
    for (const MemberDescription& member : description.members)
        if (member.operations->list)
            return &member;
    return nullptr;
}

} // namespace

int RunAdd(const Options& options)
{
    if (options.arguments.size() % 2 == 0)
        return UsageError(QStringLiteral("add takes FILE and pairs of PATH VALUE"),
                          QStringLiteral("add"));
    const Edit edit = OpenEdit(options);
    if (!edit.document)
        return edit.status;
    const std::unique_ptr<Document>& document = edit.document;
    const std::unique_ptr<Record>& edited = edit.edited;
    const MemberDescription* list = ListMember(document->record->GetDescription());
    if (!list)
        return Fail(QStringLiteral("%1: a %2 document holds no list; add works on "
                                   "KVT317_Settings documents")
                        .arg(document->label, document->type));
    const int position = edited->ListSize(list->bit) + 1;
    // The library's next detail: the one a new row of the item model gets too, its name and
    // index unused by the document's other details.
    const auto* settings = dynamic_cast<const KVT317_Settings*>(edited.get());
    if (!settings)
        return Fail(QStringLiteral("%1: a %2 document holds no list of details")
                        .arg(document->label, document->type));
    KVT317SettingsDetail item = NextSettingsDetail(*settings);
    item.SetLogger(nullptr);
    const QString itemPath = QStringLiteral("%1[%2]").arg(list->name).arg(position);
    Touched touched;
    DiagnosticList findings;
    for (int i = 1; i + 1 < options.arguments.size(); i += 2) {
        const QString error =
            Assign(item, itemPath, options.arguments.at(i), options.arguments.at(i + 1),
                   document->form, touched, findings);
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error);
    }
    edited->AppendListItem(list->bit, item);
    WriteRequest request = Request(*document, options);
    request.findings = &findings;
    return WriteChecked(*document, *edited, request);
}

int RunRemove(const Options& options)
{
    const Edit edit = OpenEdit(options);
    if (!edit.document)
        return edit.status;
    const std::unique_ptr<Document>& document = edit.document;
    const std::unique_ptr<Record>& edited = edit.edited;
    Target target;
    const QString error = Resolve(*edited, options.arguments.at(1), false, target);
    if (!error.isEmpty())
        return Fail(document->label + QStringLiteral(": ") + error);
    if (target.item < 0)
        return Fail(QStringLiteral("%1: %2 is no list item; select one with [N] or [Name=...]")
                        .arg(document->label, target.path));
    target.record->RemoveListItem(target.bit, target.item);
    if (target.record->ListSize(target.bit) == 0 && target.Member().required && !options.force)
        return Fail(QStringLiteral("%1: %2 is the last of %3, and a document without any does "
                                   "not check; --force removes it anyway")
                        .arg(document->label, target.path, target.Member().name),
                    Faults);
    const QString removed = target.path;
    WriteRequest request = Request(*document, options);
    request.locatable = false;
    request.superseded = [&removed](const Diagnostic& diagnostic) {
        if (!diagnostic.record)
            return false;
        const QString& path = diagnostic.pathText;
        return path == removed || path.startsWith(removed + QLatin1Char('.'));
    };
    return WriteChecked(*document, *edited, request);
}
