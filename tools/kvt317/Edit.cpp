#include "Analysis.h"
#include "Commands.h"
#include "Json.h"
#include "Paths.h"
#include "Tree.h"
#include "Values.h"
#include "Writing.h"

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

// Checks a value given on the command line against the member's kind. Returns an error,
// or empty with the text to store; a value that would be rounded on writing gives a
// warning.
QString CheckValue(const MemberDescription& member, const QString& value, Form form, QString& text,
                   QString& warning)
{
    text = value;
    switch (member.kind) {
    case MemberKind::Integer: {
        bool ok = false;
        const int number = value.toInt(&ok, 10);
        if (!ok)
            return QStringLiteral("%1: '%2' is not a whole number of 32 bits")
                .arg(member.name, value);
        text = QString::number(number);
        return QString();
    }
    case MemberKind::Float:
    case MemberKind::Double: {
        const ValueFinding finding = CheckMemberText(member, value);
        if (finding.kind == ValueFinding::Kind::Lost)
            return QStringLiteral("%1: '%2' is not a number the member can hold")
                .arg(member.name, value);
        if (finding.kind == ValueFinding::Kind::Rounded)
            warning = finding.message;
        return QString();
    }
    case MemberKind::Enumeration:
        if (!member.enumeration->names.contains(value))
            return QStringLiteral("%1: unknown name '%2'; allowed: %3")
                .arg(member.name, value, AllowedNames(member));
        return QString();
    case MemberKind::DateTime:
        if (CheckMemberText(member, value).kind != ValueFinding::Kind::None)
            return QStringLiteral("%1: '%2' is not a date-time of the form "
                                  "yyyy-MM-ddThh:mm:ss,zzzZ")
                .arg(member.name, value);
        return QString();
    case MemberKind::Text: {
        const int forbidden = form == Form::Xml ? XmlForbiddenCharacter(value) : -1;
        if (forbidden >= 0)
            return QStringLiteral("%1: the value holds %2, which XML cannot carry")
                .arg(member.name, CharacterCode(forbidden));
        return QString();
    }
    case MemberKind::Record:
        return QStringLiteral("%1 is a record; set its members").arg(member.name);
    case MemberKind::RecordList:
        return QStringLiteral("%1 is a list; add and remove change it").arg(member.name);
    }
    return QString();
}

QString Join(const QString& path, const QString& name)
{
    if (name.isEmpty())
        return path;
    return path.isEmpty() ? name : path + QLatin1Char('.') + name;
}

// Sets the member a path selects, below `base` (whose own path is `basePath`).
QString Assign(Node& base, const QString& basePath, const QString& path, const QString& value,
               Form form, Touched& touched, DiagnosticList& findings)
{
    Target target;
    const QString error = Resolve(base, path, true, target);
    if (!error.isEmpty())
        return error;
    if (target.item >= 0)
        return QStringLiteral("%1 is a list item; set its members").arg(target.path);
    QString text;
    QString warning;
    const QString valueError = CheckValue(target.Member(), value, form, text, warning);
    if (!valueError.isEmpty())
        return Join(basePath, target.recordPath).isEmpty()
                   ? valueError
                   : Join(basePath, target.recordPath) + QStringLiteral(": ") + valueError;
    const QString recordPath = Join(basePath, target.recordPath);
    if (!warning.isEmpty())
        findings.Add(Location(), Level::Warning, nullptr, -1,
                     recordPath.isEmpty() ? warning : recordPath + QStringLiteral(": ") + warning);
    target.record->Set(target.bit).text = text;
    touched.emplace_back(recordPath, target.bit);
    for (const auto& [createdPath, bit] : target.created)
        touched.emplace_back(Join(basePath, createdPath), bit);
    return QString();
}

// The text a member takes when it is reset: a new record's default, where it has one.
bool DefaultText(const RecordDescription& description, int bit, QString& text)
{
    const std::unique_ptr<Record> fresh = NewRecord(description.name);
    fresh->SetLogger(nullptr);
    fresh->ResetToDefault();
    if (!fresh->IsMemberSet(bit))
        return false;
    text = fresh->MemberText(bit);
    return true;
}

// Loads and analyses the document a command edits; null after printing why not.
std::unique_ptr<Document> Editable(const QString& path, int& status)
{
    std::unique_ptr<Document> document = LoadDocument(path);
    status = Unusable(*document);
    if (status != Success)
        return nullptr;
    Analyse(*document);
    return document;
}

WriteRequest Request(const Document& document, const Options& options)
{
    WriteRequest request;
    request.path = document.path;
    request.form = document.form;
    request.force = options.force;
    return request;
}

// Writes a document whose members a command set or reset: nothing else may change, and
// the input's findings about those members no longer count.
int WriteEdited(const Document& document, const Node& root, const Options& options,
                const Touched& touched, const DiagnosticList* findings)
{
    ReportTally reports;
    const std::unique_ptr<Record> record = RecordFromNode(root, reports);
    WriteRequest request = Request(document, options);
    request.findings = findings;
    request.before = document.record.get();
    request.changed = [&touched](const QString& path, int bit) {
        return IsTouched(touched, path, bit);
    };
    request.superseded = [&touched](const Diagnostic& diagnostic) {
        return diagnostic.site && IsTouched(touched, diagnostic.site->Path(), diagnostic.bit);
    };
    return WriteChecked(document, *record, request);
}

void WriteJson(const Node& node)
{
    ReportTally reports;
    const std::unique_ptr<Record> record = RecordFromNode(node, reports);
    JsonWriter json;
    WriteRecordJson(json, *record);
    Out().Write(json.Finish());
}

} // namespace

int RunGet(const Options& options)
{
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    Node root = NodeFromRecord(*document->record);
    Target target;
    bool notSet = false;
    const QString error = Resolve(root, options.arguments.at(1), false, target, &notSet);
    if (!error.isEmpty())
        return Fail(document->label + QStringLiteral(": ") + error, notSet ? Faults : UsageOrIo);
    const MemberDescription& member = target.Member();
    const Node::Member* value = target.record->Find(target.bit);
    if (member.kind == MemberKind::RecordList) {
        if (target.item >= 0) {
            WriteJson(value->items[static_cast<std::size_t>(target.item)]);
            return Success;
        }
        JsonWriter json;
        json.BeginArray();
        for (std::size_t i = 0; value && i < value->items.size(); ++i) {
            ReportTally reports;
            WriteRecordJson(json, *RecordFromNode(value->items[i], reports));
        }
        json.EndArray();
        Out().Write(json.Finish());
        return Success;
    }
    if (!value)
        return Fail(QStringLiteral("%1: %2 is not set").arg(document->label, target.path), Faults);
    if (member.kind == MemberKind::Record)
        WriteJson(*value->child);
    else
        Out() << value->text << '\n';
    return Success;
}

int RunSet(const Options& options)
{
    if (options.arguments.size() % 2 == 0)
        return UsageError(QStringLiteral("set takes FILE and pairs of PATH VALUE"),
                          QStringLiteral("set"));
    int status = Success;
    const std::unique_ptr<Document> document = Editable(options.arguments.at(0), status);
    if (!document)
        return status;
    Node root = NodeFromRecord(*document->record);
    Touched touched;
    DiagnosticList findings;
    for (int i = 1; i + 1 < options.arguments.size(); i += 2) {
        const QString error =
            Assign(root, QString(), options.arguments.at(i), options.arguments.at(i + 1),
                   document->form, touched, findings);
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error);
    }
    return WriteEdited(*document, root, options, touched, &findings);
}

int RunUnset(const Options& options)
{
    int status = Success;
    const std::unique_ptr<Document> document = Editable(options.arguments.at(0), status);
    if (!document)
        return status;
    Node root = NodeFromRecord(*document->record);
    Touched touched;
    for (int i = 1; i < options.arguments.size(); ++i) {
        Target target;
        bool notSet = false;
        const QString error = Resolve(root, options.arguments.at(i), false, target, &notSet);
        if (notSet)
            continue; // inside a record that is not set: nothing to reset
        if (!error.isEmpty())
            return Fail(document->label + QStringLiteral(": ") + error);
        const MemberDescription& member = target.Member();
        if (member.kind == MemberKind::RecordList)
            return Fail(QStringLiteral("%1: %2 is a list; remove takes items out")
                            .arg(document->label, target.path));
        // XML and binary carry such a member always: reset, it carries its default.
        if (member.AlwaysWritten() && document->form != Form::Json) {
            QString text;
            if (!DefaultText(*target.record->description, target.bit, text))
                return Fail(QStringLiteral("%1: %2 is always written and has no default; it "
                                           "cannot be unset")
                                .arg(document->label, target.path));
            target.record->Set(target.bit).text = text;
            Err() << "kvt317: " << document->label << ": " << target.path
                  << " is always written; reset to its default " << text << '\n';
        } else {
            target.record->Unset(target.bit);
        }
        touched.emplace_back(target.recordPath, target.bit);
    }
    return WriteEdited(*document, root, options, touched, nullptr);
}

namespace {

const MemberDescription* ListMember(const RecordDescription& description)
{
    for (const MemberDescription& member : description.members)
        if (member.kind == MemberKind::RecordList)
            return &member;
    return nullptr;
}

} // namespace

int RunAdd(const Options& options)
{
    if (options.arguments.size() % 2 == 0)
        return UsageError(QStringLiteral("add takes FILE and pairs of PATH VALUE"),
                          QStringLiteral("add"));
    int status = Success;
    const std::unique_ptr<Document> document = Editable(options.arguments.at(0), status);
    if (!document)
        return status;
    const MemberDescription* list = ListMember(document->record->GetDescription());
    if (!list)
        return Fail(QStringLiteral("%1: a %2 document holds no list; add works on "
                                   "KVT317_Settings documents")
                        .arg(document->label, document->type));
    Node root = NodeFromRecord(*document->record);
    Node::Member& items = root.Set(list->bit);
    const int position = static_cast<int>(items.items.size()) + 1;
    Node item = NodeFromRecord(*StartingDetail(position));
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
    items.items.push_back(std::move(item));
    ReportTally reports;
    const std::unique_ptr<Record> record = RecordFromNode(root, reports);
    WriteRequest request = Request(*document, options);
    request.findings = &findings;
    return WriteChecked(*document, *record, request);
}

int RunRemove(const Options& options)
{
    int status = Success;
    const std::unique_ptr<Document> document = Editable(options.arguments.at(0), status);
    if (!document)
        return status;
    Node root = NodeFromRecord(*document->record);
    Target target;
    const QString error = Resolve(root, options.arguments.at(1), false, target);
    if (!error.isEmpty())
        return Fail(document->label + QStringLiteral(": ") + error);
    if (target.item < 0)
        return Fail(QStringLiteral("%1: %2 is no list item; select one with [N] or [Name=...]")
                        .arg(document->label, target.path));
    std::vector<Node>& items = target.record->Find(target.bit)->items;
    items.erase(items.begin() + target.item);
    const QString removed = target.path;
    ReportTally reports;
    const std::unique_ptr<Record> record = RecordFromNode(root, reports);
    WriteRequest request = Request(*document, options);
    request.locatable = false;
    request.superseded = [&removed](const Diagnostic& diagnostic) {
        if (!diagnostic.site)
            return false;
        const QString path = diagnostic.site->Path();
        return path == removed || path.startsWith(removed + QLatin1Char('.'));
    };
    return WriteChecked(*document, *record, request);
}
