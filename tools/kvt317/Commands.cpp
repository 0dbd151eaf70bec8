#include "Commands.h"
#include "Analysis.h"
#include "Compare.h"
#include "Json.h"
#include "JsonForm.h"
#include "Values.h"
#include "Writing.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>
#include <StartingDetail.h>

#include <QFileInfo>

#include <algorithm>

using namespace KVT317XML;

int UsageError(const QString& message, const QString& command)
{
    Err() << "kvt317: " << message << "\nTry 'kvt317 "
          << (command.isEmpty() ? QString() : command + QLatin1Char(' ')) << "--help'.\n";
    return UsageOrIo;
}

int Unusable(Document& document)
{
    if (!document.readable) {
        Err() << "kvt317: cannot read '" << document.label << "': " << document.readError << '\n';
        return UsageOrIo;
    }
    if (document.loaded)
        return Success;
    Analyse(document);
    PrintDiagnostics(Err(), document.label, document.diagnostics);
    return Faults;
}

std::unique_ptr<REPORTGENERATOR::DocumentLock> LockForEdit(const QString& path,
                                                           const Options& options)
{
    if (path == QLatin1String("-"))
        return std::make_unique<REPORTGENERATOR::DocumentLock>(QString());
    auto lock = std::make_unique<REPORTGENERATOR::DocumentLock>(path);
    QString fault;
    if (!lock->Acquire(options.waitMilliseconds, &fault)) {
        fault[0] = fault.at(0).toLower(); // "cannot lock 'f.xml': ..."
        Err() << "kvt317: " << fault << '\n';
        return nullptr;
    }
    return lock;
}

namespace {

QString Counted(qint64 count, const char* one, const char* many)
{
    return Grouped(count) + QLatin1Char(' ') + QLatin1String(count == 1 ? one : many);
}

} // namespace

// ---- check ---------------------------------------------------------------------------

int RunCheck(const Options& options)
{
    int status = Success;
    qint64 faulty = 0;
    qint64 errors = 0;
    qint64 warnings = 0;
    JsonWriter json;
    json.BeginObject();
    json.Key(QStringLiteral("files"));
    json.BeginArray();
    for (const QString& path : options.arguments) {
        const std::unique_ptr<Document> document = LoadDocument(path);
        if (options.json) {
            json.BeginObject();
            json.Key(QStringLiteral("file"));
            json.String(document->label);
        }
        if (!document->readable) {
            ++faulty;
            status = UsageOrIo;
            const QString message =
                QStringLiteral("cannot read '%1': %2").arg(document->label, document->readError);
            if (options.json) {
                json.Key(QStringLiteral("error"));
                json.String(message);
                json.EndObject();
            } else {
                Err() << "kvt317: " << message << '\n';
            }
            continue;
        }
        Analyse(*document, false, options.lint);
        const DiagnosticList& diagnostics = document->diagnostics;
        errors += diagnostics.Errors();
        warnings += diagnostics.Warnings();
        if (diagnostics.Count() > 0) {
            ++faulty;
            status = std::max(status, static_cast<int>(Faults));
        }
        if (options.json) {
            json.Key(QStringLiteral("form"));
            json.String(FormName(document->form));
            json.Key(QStringLiteral("type"));
            json.String(document->type);
            json.Key(QStringLiteral("errors"));
            json.Number(diagnostics.Errors());
            json.Key(QStringLiteral("warnings"));
            json.Number(diagnostics.Warnings());
            if (!options.quiet) {
                json.Key(QStringLiteral("diagnostics"));
                json.BeginArray();
                WriteDiagnosticsJson(json, document->label, diagnostics);
                json.EndArray();
            }
            json.EndObject();
        } else if (!options.quiet) {
            PrintDiagnostics(Out(), document->label, diagnostics);
        }
    }
    json.EndArray();
    if (options.json) {
        json.Key(QStringLiteral("errors"));
        json.Number(errors);
        json.Key(QStringLiteral("warnings"));
        json.Number(warnings);
        json.EndObject();
        Out().Write(json.Finish());
        return status;
    }
    Out() << "checked " << Counted(options.arguments.size(), "file", "files") << ", "
          << Grouped(faulty) << " with faults";
    if (errors + warnings > 0)
        Out() << " (" << Counted(errors, "error", "errors") << ", "
              << Counted(warnings, "warning", "warnings") << ")";
    Out() << '\n';
    return status;
}

// ---- convert -------------------------------------------------------------------------

int RunConvert(const Options& options)
{
    const QString& output = options.arguments.at(1);
    Form form = options.to;
    if (!options.formGiven && !FormFromFileName(output, form))
        return UsageError(QStringLiteral("cannot tell the output form from '%1'; name it .xml, "
                                         ".json, .bin or .binz, or use --to")
                              .arg(output),
                          QStringLiteral("convert"));
    // An existing document that is replaced is locked, as an edit would lock it.
    std::unique_ptr<REPORTGENERATOR::DocumentLock> lock;
    if (output != QLatin1String("-") && QFileInfo(output).isFile()) {
        lock = LockForEdit(output, options);
        if (!lock)
            return UsageOrIo;
    }
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    Analyse(*document);
    WriteRequest request;
    request.path = output;
    request.form = form;
    request.level = options.level;
    request.force = options.force;
    // A document converted in place is edited: the faults it had it keeps. One converted
    // onto another is read too, for the faults that one had already.
    request.edit = lock && QFileInfo(output).canonicalFilePath() ==
                               QFileInfo(options.arguments.at(0)).canonicalFilePath();
    std::unique_ptr<Document> replaced;
    if (lock && !request.edit) {
        replaced = LoadDocument(output);
        if (replaced->loaded) {
            Analyse(*replaced, false);
            request.replaced = replaced.get();
        }
    }
    return WriteChecked(*document, *document->record, request);
}

// ---- show ----------------------------------------------------------------------------

namespace {

QString Shown(const Record& record, const MemberDescription& member)
{
    if (!record.IsMemberSet(member.bit))
        return QStringLiteral("(unset)");
    const QString text = record.MemberText(member.bit);
    switch (member.kind) {
    case MemberKind::Text:
        return text.isNull()    ? QStringLiteral("(null)")
               : text.isEmpty() ? QStringLiteral("\"\"")
                                : text;
    case MemberKind::Enumeration:
        return text.isNull() ? QStringLiteral("(invalid)") : text;
    case MemberKind::DateTime:
        return text.isEmpty() ? QStringLiteral("(none)") : text;
    default:
        break;
    }
    const QString unit = Unit(record.GetDescription().name, member.name);
    if (unit == QLatin1String("Hz"))
        return Hertz(text, member.precision);
    return unit.isEmpty() ? text : text + QLatin1Char(' ') + unit;
}

// The widest member name of a block, with its indentation, nested records included.
int NameWidth(const RecordDescription& description, int indent)
{
    int width = 0;
    for (const MemberDescription& member : description.members) {
        if (member.kind == MemberKind::RecordList)
            continue;
        width = std::max(width, indent + static_cast<int>(member.name.size()));
        if (member.kind == MemberKind::Record)
            width = std::max(width, NameWidth(*member.nested(), indent + 2));
    }
    return width;
}

void ShowMembers(const Record& record, int indent, int width)
{
    const RecordDescription& description = record.GetDescription();
    for (const int bit : WriteOrder(description)) {
        const MemberDescription& member = description.members[bit];
        if (member.kind == MemberKind::RecordList)
            continue;
        const QString name = QString(indent, QLatin1Char(' ')) + member.name;
        if (member.kind == MemberKind::Record && record.IsMemberSet(bit)) {
            Out() << name << '\n';
            ShowMembers(*record.Child(bit), indent + 2, width);
            continue;
        }
        Out() << name.leftJustified(width + 2) << Printable(Shown(record, member)) << '\n';
    }
}

QString ItemHeading(const QString& path, const Record& item)
{
    const MemberDescription* name = item.GetDescription().FindName(QStringLiteral("Name"));
    if (!name || !item.IsMemberSet(name->bit) || item.MemberText(name->bit).isNull())
        return path;
    return QStringLiteral("%1 (\"%2\")").arg(path, item.MemberText(name->bit));
}

void ShowRecord(const Record& record)
{
    const RecordDescription& description = record.GetDescription();
    ShowMembers(record, 2, NameWidth(description, 2));
    for (const MemberDescription& member : description.members) {
        if (member.kind != MemberKind::RecordList)
            continue;
        const int width = NameWidth(*member.nested(), 2);
        for (int i = 0; i < record.ListSize(member.bit); ++i) {
            const Record& item = *record.ListItem(member.bit, i);
            Out() << Printable(
                         ItemHeading(QStringLiteral("%1[%2]").arg(member.name).arg(i + 1), item))
                  << '\n';
            ShowMembers(item, 2, width);
        }
    }
}

QString Heading(const Document& document)
{
    QString heading =
        QStringLiteral("%1: %2, %3").arg(document.label, document.type, FormName(document.form));
    for (const MemberDescription& member : document.record->GetDescription().members) {
        if (member.kind == MemberKind::RecordList) {
            const int size = document.record->ListSize(member.bit);
            heading += QStringLiteral(", %1 %2").arg(Grouped(size), size == 1 ? "item" : "items");
        }
    }
    return heading;
}

} // namespace

int RunShow(const Options& options)
{
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    if (options.json) {
        JsonWriter json;
        json.BeginObject();
        json.Key(QStringLiteral("file"));
        json.String(document->label);
        json.Key(QStringLiteral("form"));
        json.String(FormName(document->form));
        json.Key(QStringLiteral("type"));
        json.String(document->type);
        json.Key(QStringLiteral("document"));
        json.BeginObject();
        json.Key(document->type);
        WriteRecordJson(json, *document->record);
        json.EndObject();
        json.EndObject();
        Out().Write(json.Finish());
        return Success;
    }
    Out() << Heading(*document) << '\n';
    ShowRecord(*document->record);
    return Success;
}

// ---- dump ----------------------------------------------------------------------------

namespace {

QString TagText(quint32 tag)
{
    return Hex32(tag);
}

// How deep an entry stands: the frame 0, its members 1, a list's items 2 and their members
// 3, a nested record's members one more than the record.
int Depth(const ReadPath& path)
{
    int depth = 1;
    for (const ReadStep& step : path)
        depth += step.item >= 0 ? 2 : 1;
    return depth;
}

// Lists the entries of a binary document one by one as the library reads them, in input
// order: the frame, member entries, unknown entries, lists and their items. No listing of
// the whole document is held, so that listing costs little more than loading. Where the
// library finds the document damaged, the listing ends with the place and the reason.
class Lister : public ReadObserver
{
public:
    explicit Lister(const QByteArray& frame)
        : m_frame(frame)
    {
    }

    void Found(const ReadFinding& finding) override
    {
        if (finding.kind == FindingKind::DocumentFault && !damaged) {
            damaged = true;
            damage = finding.position.offset;
            why = finding.message;
        }
    }
    bool WantsEntries() const override { return true; }
    void Read(const ReadPath& path, const ReadEntry& entry) override
    {
        ++listed;
        List(path, entry);
    }

    qint64 listed = 0;
    bool damaged = false;
    qint64 damage = -1;
    QString why;

protected:
    virtual void List(const ReadPath& path, const ReadEntry& entry) = 0;

    // The payload of an unknown entry, as bytes.
    QByteArray Payload(const ReadEntry& entry, int most) const
    {
        return m_frame.mid(static_cast<int>(entry.position.offset + 8),
                           static_cast<int>(qMin<qint64>(entry.length, most)));
    }

private:
    const QByteArray& m_frame;
};

QString EntryValue(const ReadEntry& entry)
{
    if (entry.member->kind == MemberKind::Integer)
        return entry.text;
    return entry.text.isNull() ? QStringLiteral("(null)")
                               : QLatin1Char('"') + Printable(entry.text) + QLatin1Char('"');
}

// The listing as text, a line per entry.
class TextListing : public Lister
{
public:
    using Lister::Lister;

    void End() const
    {
        if (damaged)
            Out() << "damaged at offset " << damage << ": " << why << '\n';
    }

protected:
    void List(const ReadPath& path, const ReadEntry& entry) override
    {
        const auto line = [](qint64 offset, int depth, const QString& text) {
            Out() << QString::number(offset).rightJustified(8, QLatin1Char(' ')) << "  "
                  << QString(depth * 2, QLatin1Char(' ')) << text << '\n';
        };
        const qint64 offset = entry.position.offset;
        const int depth = Depth(path);
        const QString head =
            QStringLiteral("%1 %2, length %3")
                .arg(TagText(entry.tag),
                     entry.member ? entry.member->name : QStringLiteral("(unknown)"))
                .arg(entry.length);
        if (!entry.member && path.isEmpty() && offset == 0 && entry.tag != 0) {
            line(0, 0,
                 QStringLiteral("frame %1 %2, length %3")
                     .arg(TagText(entry.tag), entry.record->name)
                     .arg(entry.length));
        } else if (!entry.member && entry.tag == 0) {
            line(offset, depth - 1,
                 QStringLiteral("item %1, length %2").arg(path.last().item + 1).arg(entry.length));
        } else if (!entry.member) {
            line(offset, depth,
                 head + QStringLiteral(": ") + Payload(entry, 32).toHex(' ') +
                     (entry.length > 32 ? " ..." : ""));
        } else if (entry.member->kind == MemberKind::RecordList) {
            const int count = entry.text.toInt();
            line(offset, depth,
                 head + QStringLiteral(", %1 %2").arg(count).arg(count == 1 ? "item" : "items"));
        } else if (entry.member->kind == MemberKind::Record) {
            line(offset, depth, head);
        } else {
            line(offset, depth, head + QStringLiteral(": ") + EntryValue(entry));
        }
    }
};

// The same as JSON: the frame and its entries, nested as the frame nests them, written out
// as the listing grows.
class JsonListing : public Lister
{
public:
    using Lister::Lister;

    void End()
    {
        if (!listed)
            return;
        CloseTo(QStringList());
        if (m_frameOpen) {
            m_json.EndArray();
            m_json.EndObject();
        }
        if (damaged) {
            m_json.Key(QStringLiteral("damage"));
            m_json.BeginObject();
            m_json.Key(QStringLiteral("offset"));
            m_json.Number(damage);
            m_json.Key(QStringLiteral("expected"));
            m_json.String(why);
            m_json.EndObject();
        }
        m_json.EndObject();
        Out().Write(m_json.Finish());
    }

protected:
    void List(const ReadPath& path, const ReadEntry& entry) override
    {
        if (listed == 1) {
            m_json.BeginObject();
            m_json.Key(QStringLiteral("frame"));
        }
        Entry(path, entry);
        if (m_json.Size() >= 1 << 16)
            Out().Write(m_json.Take());
    }

private:
    // The containers open below the frame's entries, each an object with an array: a list's
    // items ("I3"), an item's or a nested record's entries ("E3.0", "E6.-1").
    static QStringList Containers(const ReadPath& path)
    {
        QStringList keys;
        for (const ReadStep& step : path) {
            if (step.item >= 0)
                keys.append(QStringLiteral("I%1").arg(step.bit));
            keys.append(QStringLiteral("E%1.%2").arg(step.bit).arg(step.item));
        }
        return keys;
    }
    void CloseTo(const QStringList& needed)
    {
        int keep = 0;
        while (keep < m_open.size() && keep < needed.size() && m_open.at(keep) == needed.at(keep))
            ++keep;
        while (m_open.size() > keep) {
            m_json.EndArray();
            m_json.EndObject();
            m_open.removeLast();
        }
    }
    void Begin(qint64 offset)
    {
        m_json.BeginObject();
        m_json.Key(QStringLiteral("offset"));
        m_json.Number(offset);
    }

    void Entry(const ReadPath& path, const ReadEntry& entry)
    {
        JsonWriter& json = m_json;
        if (path.isEmpty() && !entry.member && entry.tag != 0 && !m_frameOpen &&
            entry.position.offset == 0) {
            m_frameOpen = true;
            Begin(0);
            json.Key(QStringLiteral("tag"));
            json.String(TagText(entry.tag));
            json.Key(QStringLiteral("record"));
            json.String(entry.record->name);
            json.Key(QStringLiteral("length"));
            json.Number(entry.length);
            json.Key(QStringLiteral("entries"));
            json.BeginArray();
            return;
        }
        if (!m_frameOpen)
            return;
        if (!entry.member && entry.tag == 0 && !path.isEmpty()) {
            // An item's start: inside its list's items.
            QStringList needed = Containers(path);
            needed.removeLast();
            CloseTo(needed);
            Begin(entry.position.offset);
            json.Key(QStringLiteral("length"));
            json.Number(entry.length);
            json.Key(QStringLiteral("entries"));
            json.BeginArray();
            m_open.append(Containers(path).last());
            return;
        }
        CloseTo(Containers(path));
        Begin(entry.position.offset);
        json.Key(QStringLiteral("tag"));
        json.String(TagText(entry.tag));
        json.Key(QStringLiteral("member"));
        entry.member ? json.String(entry.member->name) : json.Null();
        json.Key(QStringLiteral("length"));
        json.Number(entry.length);
        if (!entry.member) {
            json.Key(QStringLiteral("bytes"));
            json.String(QLatin1String("") +
                        QString::fromLatin1(Payload(entry, entry.length).toHex(' ')));
            json.EndObject();
        } else if (entry.member->kind == MemberKind::RecordList) {
            json.Key(QStringLiteral("count"));
            json.Number(entry.text.toLongLong());
            json.Key(QStringLiteral("items"));
            json.BeginArray();
            m_open.append(QStringLiteral("I%1").arg(entry.member->bit));
        } else if (entry.member->kind == MemberKind::Record) {
            json.Key(QStringLiteral("entries"));
            json.BeginArray();
            m_open.append(QStringLiteral("E%1.-1").arg(entry.member->bit));
        } else {
            json.Key(QStringLiteral("value"));
            if (entry.member->kind == MemberKind::Integer)
                json.Number(entry.text.toLongLong());
            else
                json.String(entry.text);
            json.EndObject();
        }
    }

    JsonWriter m_json;
    QStringList m_open;
    bool m_frameOpen = false;
};

// Lists the document's entries while the library loads it.
void ListEntries(const Document& document, Lister& lister)
{
    const RecordDescription* description = FindDescription(document.type);
    if (!description)
        return;
    const std::unique_ptr<Record> record = NewRecord(*description);
    record->SetLogger(nullptr);
    ObserveReading observe(lister);
    QByteArray bytes = document.bytes;
    record->SetBinaryRepresentation(bytes);
}

} // namespace

int RunDump(const Options& options)
{
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (!document->readable)
        return Unusable(*document);
    if (document->form == Form::Xml || document->form == Form::Json) {
        Err() << "kvt317: " << document->label << " is " << FormName(document->form)
              << "; dump lists binary documents\n";
        return UsageOrIo;
    }
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document->bytes);
    TextListing text(frame);
    JsonListing json(frame);
    Lister& lister = options.json ? static_cast<Lister&>(json) : text;
    if (frame.size() >= 8) {
        // The listing loads the input once more: the first record is let go before.
        document->record.reset();
        ListEntries(*document, lister);
    }
    if (!lister.listed) {
        // The frame cannot be listed: too short, not inflated, or of no known type.
        document->loaded = document->loaded && document->record;
        Analyse(*document);
        PrintDiagnostics(Err(), document->label, document->diagnostics);
        return Faults;
    }
    options.json ? json.End() : text.End();
    return lister.damaged ? Faults : Success;
}

// ---- diff ----------------------------------------------------------------------------

int RunDiff(const Options& options)
{
    const std::unique_ptr<Document> a = LoadDocument(options.arguments.at(0));
    const std::unique_ptr<Document> b = LoadDocument(options.arguments.at(1));
    const int statusA = Unusable(*a);
    const int statusB = Unusable(*b);
    if (statusA || statusB)
        return std::max(statusA, statusB);
    const bool sameType = a->type == b->type;
    const std::vector<Difference> differences =
        sameType ? CompareRecords(*a->record, *b->record, options.byName)
                 : std::vector<Difference>();
    const bool equal = sameType && differences.empty();
    if (options.json) {
        JsonWriter json;
        json.BeginObject();
        json.Key(QStringLiteral("equal"));
        json.Bool(equal);
        if (!sameType) {
            json.Key(QStringLiteral("types"));
            json.BeginArray();
            json.String(a->type);
            json.String(b->type);
            json.EndArray();
        }
        json.Key(QStringLiteral("differences"));
        json.BeginArray();
        for (const Difference& difference : differences) {
            json.BeginObject();
            json.Key(QStringLiteral("path"));
            json.String(difference.path);
            if (difference.onlyInA || difference.onlyInB) {
                json.Key(QStringLiteral("only"));
                json.String(difference.onlyInA ? QStringLiteral("A") : QStringLiteral("B"));
            } else {
                // Numbers as JSON numbers where the text is one, as the JSON form writes them.
                for (const auto& [key, text] :
                     {std::make_pair("a", difference.a), std::make_pair("b", difference.b)}) {
                    json.Key(QLatin1String(key));
                    if (difference.numeric && IsJsonNumber(text))
                        json.RawNumber(text);
                    else
                        json.String(text);
                }
            }
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        Out().Write(json.Finish());
        return equal ? Success : Faults;
    }
    if (!sameType)
        Out() << "A is " << a->type << ", B is " << b->type << '\n';
    for (const Difference& difference : differences) {
        if (difference.onlyInA || difference.onlyInB)
            Out() << difference.path << ": only in " << (difference.onlyInA ? "A" : "B") << '\n';
        else
            Out() << difference.path << ": " << Printable(difference.a) << " -> "
                  << Printable(difference.b) << '\n';
    }
    if (equal)
        Out() << "equal\n";
    return equal ? Success : Faults;
}

// ---- new -----------------------------------------------------------------------------

std::unique_ptr<Record> StartingDocument(bool bearing)
{
    if (bearing) {
        auto settings = std::make_unique<BearingSettings>();
        settings->SetName(QStringLiteral("Bearing 1"));
        settings->SetIndex(1);
        settings->SetFrequency(100000000.0);
        settings->SetDFMode(BearingSettings::DFMode_Norm);
        settings->SetAveragingTime(1000);
        return settings;
    }
    auto settings = std::make_unique<KVT317_Settings>();
    settings->AppendKVT317SettingsDetail(StartingDetail(1, QStringLiteral("Setting 1")));
    return settings;
}

int RunNew(const Options& options)
{
    const QString output = options.output.isEmpty() ? QStringLiteral("-") : options.output;
    Form form = options.to;
    if (!options.formGiven && output != QLatin1String("-") && !FormFromFileName(output, form))
        return UsageError(QStringLiteral("cannot tell the output form from '%1'; name it .xml, "
                                         ".json, .bin or .binz, or use --to")
                              .arg(output),
                          QStringLiteral("new"));
    const std::unique_ptr<Record> record = StartingDocument(options.bearing);
    const QString error = WriteOutput(output, Serialise(*record, form, options.level));
    if (!error.isEmpty()) {
        Err() << "kvt317: " << error << '\n';
        return UsageOrIo;
    }
    return Success;
}

// ---- members -------------------------------------------------------------------------

int RunMembers(const Options& options)
{
    std::vector<const RecordDescription*> records;
    if (options.arguments.isEmpty()) {
        records = AllRecordDescriptions();
    } else {
        const RecordDescription* description = FindDescription(options.arguments.at(0));
        if (!description) {
            QStringList names;
            for (const RecordDescription* candidate : AllRecordDescriptions())
                names.append(candidate->name);
            return UsageError(QStringLiteral("no record type '%1'; the types are %2")
                                  .arg(options.arguments.at(0), names.join(QStringLiteral(", "))),
                              QStringLiteral("members"));
        }
        records.push_back(description);
    }
    if (options.json) {
        JsonWriter json;
        json.BeginArray();
        for (const RecordDescription* description : records) {
            const std::unique_ptr<Record> fresh = NewRecord(*description);
            fresh->SetLogger(nullptr);
            fresh->ResetToDefault();
            json.BeginObject();
            json.Key(QStringLiteral("record"));
            json.String(description->name);
            json.Key(QStringLiteral("members"));
            json.BeginArray();
            for (const int bit : WriteOrder(*description)) {
                const MemberDescription& member = description->members[bit];
                json.BeginObject();
                json.Key(QStringLiteral("member"));
                json.String(member.name);
                json.Key(QStringLiteral("kind"));
                json.String(KindName(member));
                json.Key(QStringLiteral("attribute"));
                json.Bool(member.attribute);
                json.Key(QStringLiteral("default"));
                const bool hasDefault = member.kind != MemberKind::Record &&
                                        member.kind != MemberKind::RecordList &&
                                        fresh->IsMemberSet(bit);
                const QString text = hasDefault ? fresh->MemberText(bit) : QString();
                const bool numeric = member.kind == MemberKind::Integer ||
                                     member.kind == MemberKind::Float ||
                                     member.kind == MemberKind::Double;
                if (!hasDefault)
                    json.Null();
                else if (numeric && IsJsonNumber(text))
                    json.RawNumber(text);
                else
                    json.String(text);
                json.Key(QStringLiteral("required"));
                json.Bool(member.required);
                if (member.kind == MemberKind::Enumeration) {
                    json.Key(QStringLiteral("allowed"));
                    json.BeginArray();
                    for (const QString& name : member.enumeration->names)
                        json.String(name);
                    json.EndArray();
                }
                json.EndObject();
            }
            json.EndArray();
            json.EndObject();
        }
        json.EndArray();
        Out().Write(json.Finish());
        return Success;
    }
    bool first = true;
    for (const RecordDescription* description : records) {
        // The defaults a document takes: a new record's, where it has one to give.
        const std::unique_ptr<Record> fresh = NewRecord(*description);
        fresh->SetLogger(nullptr);
        fresh->ResetToDefault();
        std::vector<QStringList> rows;
        rows.push_back({QStringLiteral("member"), QStringLiteral("kind"), QStringLiteral("default"),
                        QStringLiteral("required"), QStringLiteral("allowed")});
        for (const int bit : WriteOrder(*description)) {
            const MemberDescription& member = description->members[bit];
            QString kind = KindName(member);
            if (member.attribute)
                kind += QStringLiteral(", attribute");
            const bool hasDefault = member.kind != MemberKind::Record &&
                                    member.kind != MemberKind::RecordList &&
                                    fresh->IsMemberSet(bit);
            rows.push_back(
                {member.name, kind, hasDefault ? fresh->MemberText(bit) : QStringLiteral("-"),
                 member.required ? QStringLiteral("yes") : QStringLiteral("no"),
                 member.kind == MemberKind::Enumeration ? AllowedNames(member) : QString()});
        }
        std::vector<int> widths(4, 0);
        for (const QStringList& row : rows)
            for (int column = 0; column < 4; ++column)
                widths[static_cast<std::size_t>(column)] = std::max(
                    widths[static_cast<std::size_t>(column)], static_cast<int>(row[column].size()));
        if (!first)
            Out() << '\n';
        first = false;
        Out() << description->name << '\n';
        for (const QStringList& row : rows) {
            QString line = QStringLiteral("  ");
            for (int column = 0; column < 4; ++column)
                line += row[column].leftJustified(widths[static_cast<std::size_t>(column)] + 2);
            line += row[4];
            while (line.endsWith(QLatin1Char(' ')))
                line.chop(1);
            Out() << line << '\n';
        }
    }
    return Success;
}
