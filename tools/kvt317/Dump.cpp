#include "Analysis.h"
#include "Commands.h"
#include "Json.h"
#include "JsonForm.h"
#include "Values.h"

using namespace KVT317XML;

namespace {

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
    if (entry.member->operations->integerPayload)
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
        const QString head = QStringLiteral("%1 %2, length %3")
                                 .arg(Hex32(entry.tag), entry.member ? entry.member->name
                                                                     : QStringLiteral("(unknown)"))
                                 .arg(entry.length);
        if (!entry.member && path.isEmpty() && offset == 0 && entry.tag != 0) {
            line(0, 0,
                 QStringLiteral("frame %1 %2, length %3")
                     .arg(Hex32(entry.tag), entry.record->name)
                     .arg(entry.length));
        } else if (!entry.member && entry.tag == 0) {
            line(offset, depth - 1,
                 QStringLiteral("item %1, length %2").arg(path.last().item + 1).arg(entry.length));
        } else if (!entry.member) {
            line(offset, depth,
                 head + QStringLiteral(": ") + Payload(entry, 32).toHex(' ') +
                     (entry.length > 32 ? " ..." : ""));
        } else if (entry.member->operations->list) {
            const int count = entry.text.toInt();
            line(offset, depth,
                 head + QStringLiteral(", %1 %2").arg(count).arg(count == 1 ? "item" : "items"));
        } else if (entry.member->operations->record) {
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
            json.String(Hex32(entry.tag));
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
        json.String(Hex32(entry.tag));
        json.Key(QStringLiteral("member"));
        entry.member ? json.String(entry.member->name) : json.Null();
        json.Key(QStringLiteral("length"));
        json.Number(entry.length);
        if (!entry.member) {
            json.Key(QStringLiteral("bytes"));
            json.String(QLatin1String("") +
                        QString::fromLatin1(Payload(entry, entry.length).toHex(' ')));
            json.EndObject();
        } else if (entry.member->operations->list) {
            json.Key(QStringLiteral("count"));
            json.Number(entry.text.toLongLong());
            json.Key(QStringLiteral("items"));
            json.BeginArray();
            m_open.append(QStringLiteral("I%1").arg(entry.member->bit));
        } else if (entry.member->operations->record) {
            json.Key(QStringLiteral("entries"));
            json.BeginArray();
            m_open.append(QStringLiteral("E%1.-1").arg(entry.member->bit));
        } else {
            json.Key(QStringLiteral("value"));
            if (entry.member->operations->integerPayload)
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
        PrintDiagnostics(Err(), document->label, document->findings);
        return Faults;
    }
    options.json ? json.End() : text.End();
    return lister.damaged ? Faults : Success;
}
