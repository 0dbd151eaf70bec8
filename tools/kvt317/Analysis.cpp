#include "Analysis.h"
#include "FrameWalker.h"
#include "Values.h"

#include <KVT317_Settings.h>

#include <QDataStream>
#include <QJsonArray>
#include <QJsonDocument>
#include <QMap>
#include <QPair>
#include <QRegularExpression>
#include <QSet>
#include <QXmlStreamReader>

#include <algorithm>
#include <functional>

using namespace KVT317XML;
using REPORTGENERATOR::LogLevel;

namespace {

QString Position(const Location& where, bool binary)
{
    if (!where.Known())
        return QString();
    return binary ? QStringLiteral(" (first at offset %1)").arg(where.offset)
                  : QStringLiteral(" (first at %1:%2)").arg(where.line).arg(where.column);
}

// A member given twice: the later one wins. A record given twice in XML or binary is read
// into one record; JSON keeps only the later one (`recordsMerge` false).
void ReportTwice(Document& document, Site& site, const MemberDescription& member,
                 const Location& where, bool binary, bool recordsMerge = true)
{
    if (static_cast<std::size_t>(member.bit) >= site.members.size() ||
        !site.members[static_cast<std::size_t>(member.bit)].Known())
        return;
    const QString first = Position(site.members[static_cast<std::size_t>(member.bit)], binary);
    document.diagnostics.Add(
        where, Level::Warning, &site, member.bit,
        member.kind == MemberKind::Record && recordsMerge
            ? QStringLiteral("%1 given twice%2; both are read into one "
                             "record")
                  .arg(member.name, first)
            : QStringLiteral("%1 given twice%2; the later one wins").arg(member.name, first));
}

// Reports what the library makes of a member's text where that is not the text itself.
void CheckValue(Document& document, Site& site, const MemberDescription& member,
                const QString& text, const Location& where)
{
    const ValueFinding finding = CheckMemberText(member, text);
    if (finding.kind != ValueFinding::Kind::None)
        document.diagnostics.Add(
            where, finding.kind == ValueFinding::Kind::Lost ? Level::Error : Level::Warning, &site,
            member.bit, finding.message);
}

// ---- The library's reports -----------------------------------------------------------

// Ties the library's reports to records. Each list item is loaded on its own and checked,
// with what its list's owner says when it takes the item in; those reports are the item's
// and are taken from the whole document's. What remains belongs to the document's root.
class Attribution
{
public:
    Attribution(Document& document, const LineIndex* lines)
        : m_document(document)
        , m_lines(lines)
    {
    }

    // `source` is the item's text or bytes: items that are the same give the same reports,
    // so a document of a million copies of one item is loaded and checked once.
    void Item(const Site& item, const QByteArray& source, const std::function<bool(Record&)>& load)
    {
        // A document the library refused has no reports of its items to tie.
        if (!m_document.loaded)
            return;
        auto cached = m_cache.constFind(source);
        if (cached == m_cache.constEnd()) {
            if (m_cache.size() >= CacheSize)
                m_cache.clear();
            cached = m_cache.insert(
                source, ItemReports(*item.description, *item.parent->description, load));
        }
        for (const ReportTally::Report& report : cached.value()) {
            for (qint64 i = 0; i < report.count; ++i) {
                m_document.reports.Take(report.level, report.message);
                Add(item, report.level, report.message);
            }
        }
    }

    void Finish(const Site& root)
    {
        for (const ReportTally::Report& report : m_document.reports.Reports())
            for (qint64 i = 0; i < report.count; ++i)
                Add(root, report.level, report.message);
    }

    void ScannerReported(const QString& xmlError) { m_xmlErrors.insert(xmlError); }

private:
    // What a message names: the library's messages are fixed texts that name a record
    // and a member, or a line and column.
    struct Named {
        enum class Kind { Nothing, Member, Field, Record, Position };
        Kind kind = Kind::Nothing;
        QString record;
        QString member;
        int line = 0;
        int column = 0;
        QString text; // the message as the tool lists it
        bool skip = false;
    };

    const Named& Parse(const QString& message)
    {
        const auto found = m_named.constFind(message);
        if (found != m_named.constEnd())
            return found.value();
        static const QRegularExpression pleaseSet(
            QStringLiteral("^(\\w+): Please set (\\w+) properly\\.$"));
        static const QRegularExpression enumeration(
            QStringLiteral("^enum is not valid \\(classname=(\\w+),membername=(\\w+)\\)$"));
        static const QRegularExpression parameters(
            QStringLiteral("^Parameters for (\\w+) are not set properly in '(\\w+)'\\.$"));
        static const QRegularExpression binary(QStringLiteral("^(\\w+)::SetBinary\\("));
        static const QRegularExpression xmlError(
            QStringLiteral("^XML error in line (\\d+), column (\\d+): (.*)$"));
        static const QRegularExpression linePosition(
            QStringLiteral("\\(line (\\d+), column (\\d+)\\)$"));
        Named named;
        named.text = message;
        QRegularExpressionMatch match;
        if ((match = pleaseSet.match(message)).hasMatch()) {
            named = {
                Named::Kind::Member, match.captured(1), match.captured(2), 0, 0, message, false};
        } else if ((match = enumeration.match(message)).hasMatch()) {
            named = {
                Named::Kind::Field, match.captured(1), match.captured(2), 0, 0, message, false};
        } else if ((match = parameters.match(message)).hasMatch()) {
            named = {
                Named::Kind::Member, match.captured(2), match.captured(1), 0, 0, message, false};
        } else if ((match = binary.match(message)).hasMatch()) {
            named = {Named::Kind::Record, match.captured(1), QString(), 0, 0, message, false};
        } else if ((match = xmlError.match(message)).hasMatch()) {
            // The same fault as the tool's own reading found is listed once, located.
            named = {Named::Kind::Position,
                     QString(),
                     QString(),
                     match.captured(1).toInt(),
                     match.captured(2).toInt(),
                     match.captured(3),
                     m_xmlErrors.contains(match.captured(3))};
        } else if ((match = linePosition.match(message)).hasMatch()) {
            // Located, the message needs its position no more.
            named = {Named::Kind::Position,
                     QString(),
                     QString(),
                     match.captured(1).toInt(),
                     match.captured(2).toInt(),
                     message.left(match.capturedStart()).trimmed(),
                     false};
        }
        return m_named.insert(message, named).value();
    }

    // Adds a report, tied to the record and member it names among the site and its record
    // members.
    void Add(const Site& site, LogLevel level, const QString& message)
    {
        const Named& named = Parse(message);
        if (named.skip)
            return;
        const Site* target = &site;
        int bit = -1;
        Location where = site.where;
        switch (named.kind) {
        case Named::Kind::Member:
        case Named::Kind::Field:
            if (const Site* found = site.FindRecord(named.record))
                target = found;
            for (const MemberDescription& candidate : target->description->members)
                if ((named.kind == Named::Kind::Field ? candidate.fieldName : candidate.name) ==
                    named.member)
                    bit = candidate.bit;
            where = target->MemberLocation(bit);
            break;
        case Named::Kind::Record:
            // A frame that ends too early: in the record of that name read last.
            if (const Site* found = site.FindRecord(named.record, true))
                target = found;
            where = target->where;
            break;
        case Named::Kind::Position:
            if (m_lines)
                where = m_lines->At(m_lines->Offset(named.line, named.column + 1));
            target = nullptr;
            break;
        case Named::Kind::Nothing:
            break;
        }
        m_document.diagnostics.Add(where, ToLevel(level), target, bit, named.text,
                                   Diagnostic::Origin::Library);
    }

    // What the library reports of an item on its own: while reading it, when checking it,
    // and when its list's owner takes it in.
    std::vector<ReportTally::Report> ItemReports(const RecordDescription& type,
                                                 const RecordDescription& owner,
                                                 const std::function<bool(Record&)>& load)
    {
        ReportTally tally;
        std::unique_ptr<Record> record = NewRecord(type.name);
        record->SetLogger(tally.Logger());
        try {
            // An item that does not load on its own (a namespace prefix its document
            // declares outside it) has no reports of its own: they stay the document's.
            if (!load(*record))
                return {};
        } catch (const REPORTGENERATOR::RGException&) {
            // Reported before it was raised.
        }
        record->Check(true);
        if (!m_owner)
            m_owner = NewRecord(owner.name);
        auto* settings = dynamic_cast<KVT317_Settings*>(m_owner.get());
        auto* detail = dynamic_cast<KVT317SettingsDetail*>(record.get());
        if (settings && detail) {
            settings->SetLogger(tally.Logger());
            settings->AppendKVT317SettingsDetail(*detail);
            settings->SetLogger(nullptr);
            settings->Reset();
        }
        record->SetLogger(nullptr);
        return tally.Reports();
    }

    static constexpr int CacheSize = 256;

    Document& m_document;
    const LineIndex* m_lines;
    std::unique_ptr<Record> m_owner;
    QSet<QString> m_xmlErrors;
    QHash<QByteArray, std::vector<ReportTally::Report>> m_cache;
    QHash<QString, Named> m_named;
};

// ---- XML -----------------------------------------------------------------------------

class XmlScanner
{
public:
    XmlScanner(Document& document, Attribution& attribution, const LineIndex& lines)
        : m_document(document)
        , m_attribution(attribution)
        , m_lines(lines)
        , m_reader(document.text)
    {
    }

    void Run(Site& root)
    {
        while (!m_reader.atEnd() && !m_reader.isStartElement()) {
            Next();
            // The library refuses a document type declaration and says where it is.
            if (m_reader.tokenType() == QXmlStreamReader::DTD)
                return;
        }
        if (!Failed() && m_reader.isStartElement()) {
            // Another root element is the library's to report; it is located here.
            root.where = StartOf();
            if (m_reader.name() == root.description->name)
                Record(root);
        }
        while (!m_reader.atEnd() && !m_reader.hasError())
            Next();
        Failed();
    }

private:
    void Next()
    {
        m_lastEnd = m_reader.characterOffset();
        m_reader.readNext();
        if (m_reader.tokenType() == QXmlStreamReader::Comment)
            m_document.notes.Add(TokenStart("<!--"), Level::Note, nullptr, -1,
                                 QStringLiteral("comment not written: a written document holds "
                                                "the settings only"));
        else if (m_reader.tokenType() == QXmlStreamReader::ProcessingInstruction)
            m_document.notes.Add(TokenStart("<?"), Level::Note, nullptr, -1,
                                 QStringLiteral("processing instruction '%1' not written: a "
                                                "written document holds the settings only")
                                     .arg(m_reader.processingInstructionTarget()));
    }

    // Reports the reader's error once; true when there is one.
    bool Failed()
    {
        if (!m_reader.hasError())
            return false;
        if (!m_failed) {
            m_failed = true;
            const Location where{m_reader.characterOffset(),
                                 static_cast<int>(m_reader.lineNumber()),
                                 static_cast<int>(m_reader.columnNumber()) + 1};
            m_document.diagnostics.Add(where, Level::Error, nullptr, -1, m_reader.errorString());
            m_attribution.ScannerReported(m_reader.errorString());
        }
        return true;
    }

    // Where the token just read, which opens with `opener`, starts: the reader stops up to a
    // character past the previous token's end, and only white space lies between.
    Location TokenStart(const char* opener) const
    {
        const int from = static_cast<int>(std::max<qint64>(0, m_lastEnd - 1));
        const int start = m_document.text.indexOf(QLatin1String(opener), from);
        return m_lines.At(start >= 0 ? start : m_lastEnd);
    }

    // The start of the tag the reader stands on: no '<' can occur inside a tag.
    Location StartOf() const
    {
        const qint64 end = m_reader.characterOffset();
        const qint64 start =
            m_document.text.lastIndexOf(QLatin1Char('<'), static_cast<int>(end) - 1);
        return m_lines.At(start >= 0 ? start : end);
    }

    // The namespaces declared on the elements that enclose the reader, outermost first.
    void Record(Site& site)
    {
        m_scopes.push_back(m_reader.namespaceDeclarations());
        Content(site);
        m_scopes.pop_back();
    }

    // An item's text, to be read on its own: with the namespaces its ancestors declare,
    // which it may use, added to its start tag.
    QString ItemText(qint64 start, int nameLength, const QXmlStreamNamespaceDeclarations& own)
    {
        QString text = m_document.text.mid(static_cast<int>(start),
                                           static_cast<int>(m_reader.characterOffset() - start));
        QMap<QString, QString> inScope;
        for (const QXmlStreamNamespaceDeclarations& scope : m_scopes)
            for (const QXmlStreamNamespaceDeclaration& declaration : scope)
                inScope.insert(declaration.prefix().toString(),
                               declaration.namespaceUri().toString());
        for (const QXmlStreamNamespaceDeclaration& declaration : own)
            inScope.remove(declaration.prefix().toString());
        QString declarations;
        for (auto it = inScope.cbegin(); it != inScope.cend(); ++it)
            declarations += (it.key().isEmpty() ? QStringLiteral(" xmlns=\"")
                                                : QStringLiteral(" xmlns:%1=\"").arg(it.key())) +
                            it.value().toHtmlEscaped() + QLatin1Char('"');
        return text.insert(1 + nameLength, declarations);
    }

    void Content(Site& site)
    {
        Attributes(site);
        while (!m_reader.atEnd()) {
            Next();
            if (Failed())
                return;
            if (m_reader.isStartElement()) {
                Element(site);
                if (Failed())
                    return;
            } else if (m_reader.isEndElement()) {
                return;
            } else if (m_reader.isCharacters() && !m_reader.isWhitespace()) {
                QString text = m_reader.text().toString().simplified();
                if (text.size() > 40)
                    text = text.left(37) + QStringLiteral("...");
                m_document.diagnostics.Add(m_lines.At(m_lastEnd), Level::Warning, &site, -1,
                                           QStringLiteral("text '%1' outside any member "
                                                          "(ignored)")
                                               .arg(text));
            }
        }
    }

    void Attributes(Site& site)
    {
        const RecordDescription& description = *site.description;
        QStringList attributeNames;
        for (const MemberDescription& member : description.members)
            if (member.attribute)
                attributeNames.append(member.name);
        for (const QXmlStreamAttribute& attribute : m_reader.attributes()) {
            const QString name = attribute.qualifiedName().toString();
            const MemberDescription* member = description.FindName(name);
            if (member && member->attribute) {
                const QString value = attribute.value().toString();
                site.Given(member->bit, site.where);
                CheckValue(m_document, site, *member, value, site.where);
                if (member->kind == MemberKind::Text && member->name == QLatin1String("Name"))
                    site.name = value;
                continue;
            }
            QString message;
            if (member) {
                message = QStringLiteral("attribute '%1' (ignored); %1 is an element").arg(name);
            } else {
                const QString suggestion = Suggestion(name, attributeNames);
                message = QStringLiteral("unknown attribute '%1' (ignored)").arg(name);
                if (!suggestion.isNull())
                    message += QStringLiteral("; did you mean '%1'?").arg(suggestion);
            }
            m_document.diagnostics.Add(site.where, Level::Error, &site, -1, message);
        }
    }

    void Element(Site& site)
    {
        const QString name = m_reader.name().toString();
        const Location where = StartOf();
        const MemberDescription* member = site.description->FindName(name);
        if (!member) {
            QStringList names;
            for (const MemberDescription& candidate : site.description->members)
                names.append(candidate.name);
            const QString suggestion = Suggestion(name, names);
            QString message = QStringLiteral("unknown element '%1' (ignored)").arg(name);
            if (!suggestion.isNull())
                message += QStringLiteral("; did you mean '%1'?").arg(suggestion);
            m_document.diagnostics.Add(where, Level::Error, &site, -1, message);
            Skip();
            return;
        }
        if (member->kind == MemberKind::RecordList) {
            Site& item = site.AddItem(member->bit);
            item.where = where;
            const int nameLength = static_cast<int>(m_reader.qualifiedName().size());
            const QXmlStreamNamespaceDeclarations own = m_reader.namespaceDeclarations();
            Record(item);
            if (!m_reader.hasError()) {
                const QString xml = ItemText(where.offset, nameLength, own);
                m_attribution.Item(item, xml.toUtf8(), [&xml](KVT317XML::Record& record) -> bool {
                    return record.SetXmlString(xml, true);
                });
            }
            return;
        }
        ReportTwice(m_document, site, *member, where, false);
        site.Given(member->bit, where);
        if (member->kind == MemberKind::Record) {
            Site& child = site.Child(member->bit);
            child.where = where;
            Record(child);
            return;
        }
        const QString text = MemberText(site, *member);
        if (m_reader.hasError())
            return;
        CheckValue(m_document, site, *member, text, where);
        if (member->kind == MemberKind::Text && member->name == QLatin1String("Name"))
            site.name = text;
    }

    // The member element's text, nested elements' text included, as the library takes it.
    QString MemberText(Site& site, const MemberDescription& member)
    {
        QString text;
        int depth = 0;
        bool reported = false;
        while (!m_reader.atEnd()) {
            Next();
            if (m_reader.hasError())
                break;
            if (m_reader.isCharacters()) {
                text += m_reader.text();
            } else if (m_reader.isStartElement()) {
                if (!reported)
                    m_document.diagnostics.Add(StartOf(), Level::Error, &site, member.bit,
                                               QStringLiteral("%1: element '%2' inside the "
                                                              "member's text")
                                                   .arg(member.name, m_reader.name().toString()));
                reported = true;
                ++depth;
            } else if (m_reader.isEndElement()) {
                if (depth == 0)
                    break;
                --depth;
            }
        }
        return text;
    }

    void Skip()
    {
        int depth = 0;
        while (!m_reader.atEnd()) {
            Next();
            if (m_reader.hasError())
                return;
            if (m_reader.isStartElement())
                ++depth;
            else if (m_reader.isEndElement() && depth-- == 0)
                return;
        }
    }

    Document& m_document;
    Attribution& m_attribution;
    const LineIndex& m_lines;
    QXmlStreamReader m_reader;
    std::vector<QXmlStreamNamespaceDeclarations> m_scopes;
    qint64 m_lastEnd = 0;
    bool m_failed = false;
};

// ---- JSON ----------------------------------------------------------------------------

// QJsonDocument tells no positions, and folds a key given twice into the last one without
// a word. The text, which QJsonDocument has read, is walked once more with the member
// tables: it locates every record, item and member given, and reports keys given twice.
class JsonScanner
{
public:
    JsonScanner(Document& document, const LineIndex& lines)
        : m_document(document)
        , m_text(document.text)
        , m_lines(lines)
    {
    }

    // {"Type": {...}}: the root is where its type is named.
    void Run(Site& root)
    {
        Blank();
        if (!Take(u'{'))
            return;
        Blank();
        root.where = At(m_pos);
        Key();
        Blank();
        Take(u':');
        Record(root);
    }

    // Where an unknown key of a record was given, or where the record is.
    Location Unknown(const Site& site, const QString& key) const
    {
        return m_unknown.value(qMakePair(&site, key), site.where);
    }

private:
    Location At(int position) const { return m_lines.At(position); }
    QChar Peek() const { return m_pos < m_text.size() ? m_text.at(m_pos) : QChar(); }
    bool Take(char16_t c)
    {
        if (Peek() != QChar(c))
            return false;
        ++m_pos;
        return true;
    }
    void Blank()
    {
        while (m_pos < m_text.size() && (m_text.at(m_pos) == u' ' || m_text.at(m_pos) == u'\n' ||
                                         m_text.at(m_pos) == u'\r' || m_text.at(m_pos) == u'\t'))
            ++m_pos;
    }

    // A string: its text, escapes resolved.
    QString Key()
    {
        const int start = m_pos;
        SkipString();
        const QStringView raw = QStringView(m_text).mid(start + 1, m_pos - start - 2);
        if (!raw.contains(u'\\'))
            return raw.toString();
        const QByteArray array = '[' + m_text.mid(start, m_pos - start).toUtf8() + ']';
        return QJsonDocument::fromJson(array).array().at(0).toString();
    }
    void SkipString()
    {
        ++m_pos;
        while (m_pos < m_text.size() && m_text.at(m_pos) != u'"')
            m_pos += m_text.at(m_pos) == u'\\' ? 2 : 1;
        ++m_pos;
    }
    // Any value, nested ones included.
    void SkipValue()
    {
        int depth = 0;
        do {
            Blank();
            const QChar c = Peek();
            if (c.isNull())
                return;
            if (c == u'"') {
                SkipString();
            } else if (c == u'{' || c == u'[') {
                ++depth;
                ++m_pos;
            } else if (c == u'}' || c == u']') {
                --depth;
                ++m_pos;
            } else if (c == u',' || c == u':') {
                ++m_pos;
            } else {
                while (m_pos < m_text.size() && QStringLiteral(",:]} \n\r\t").indexOf(Peek()) < 0)
                    ++m_pos;
            }
        } while (depth > 0);
    }

    // A record's object; anything else is skipped, as the reader ignores it.
    void Record(Site& site)
    {
        Blank();
        if (!Take(u'{')) {
            SkipValue();
            return;
        }
        for (;;) {
            Blank();
            if (Take(u'}'))
                return;
            if (Peek() != QChar(u'"'))
                return;
            const Location where = At(m_pos);
            const QString key = Key();
            Blank();
            Take(u':');
            Member(site, key, where);
            Blank();
            Take(u',');
        }
    }

    void Member(Site& site, const QString& key, const Location& where)
    {
        const MemberDescription* member = site.description->FindName(key);
        if (!member) {
            m_unknown.insert(qMakePair(static_cast<const Site*>(&site), key), where);
            SkipValue();
            return;
        }
        ReportTwice(m_document, site, *member, where, false, false);
        site.Given(member->bit, where);
        Blank();
        if (member->kind == MemberKind::Record) {
            // What an earlier one gave is gone: the later one wins.
            if (static_cast<std::size_t>(member->bit) < site.children.size())
                site.children[static_cast<std::size_t>(member->bit)].reset();
            Site& child = site.Child(member->bit);
            child.where = where;
            Record(child);
        } else if (member->kind == MemberKind::RecordList && Peek() == QChar(u'[')) {
            site.items.clear();
            ++m_pos;
            for (;;) {
                Blank();
                if (Peek().isNull() || Take(u']'))
                    return;
                Site& item = site.AddItem(member->bit);
                item.where = At(m_pos);
                Record(item);
                Blank();
                Take(u',');
            }
        } else {
            SkipValue();
        }
    }

    Document& m_document;
    const QString& m_text;
    const LineIndex& m_lines;
    int m_pos = 0;
    QHash<QPair<const Site*, QString>, Location> m_unknown;
};

// ---- Binary --------------------------------------------------------------------------

class BinaryScanner : public FrameWalker
{
public:
    BinaryScanner(Document& document, Attribution& attribution, Site& root, bool positions)
        : FrameWalker(document.frame)
        , m_document(document)
        , m_attribution(attribution)
        , m_positions(positions)
    {
        m_stack.push_back(&root);
    }

private:
    // Without positions (a frame made from JSON), the sites already hold the JSON's
    // positions: a member's, or its record's.
    Location At(qint64 offset) const { return m_positions ? Location::Binary(offset) : Location(); }
    Location At(const Entry& entry)
    {
        if (m_positions)
            return Location::Binary(entry.offset);
        return Current().MemberLocation(entry.member ? entry.member->bit : -1);
    }

    Site& Current() { return *m_stack.back(); }

    void Member(const Entry& entry)
    {
        if (!m_positions)
            return;
        ReportTwice(m_document, Current(), *entry.member, At(entry.offset), true);
        Current().Given(entry.member->bit, At(entry.offset));
    }

    void OnFrame(qint32, qint32) override
    {
        if (m_positions)
            Current().where = At(0);
    }

    void OnUnknown(const Entry& entry) override
    {
        m_document.diagnostics.Add(At(entry), Level::Error, &Current(), -1,
                                   QStringLiteral("unknown entry %1 of %2 bytes (ignored)")
                                       .arg(Hex32(static_cast<quint32>(entry.tag)))
                                       .arg(entry.length));
    }

    void OnInteger(const Entry& entry, qint64 value) override
    {
        Member(entry);
        const auto kept = static_cast<qint32>(static_cast<quint32>(value & 0xFFFFFFFF));
        if (kept != value)
            m_document.diagnostics.Add(At(entry), Level::Error, &Current(), entry.member->bit,
                                       QStringLiteral("%1: %2 does not fit in 32 bits (read as %3)")
                                           .arg(entry.member->name)
                                           .arg(value)
                                           .arg(kept));
    }

    void OnText(const Entry& entry, const QByteArray& bytes, bool null) override
    {
        Member(entry);
        const MemberDescription& member = *entry.member;
        const int bad = null ? -1 : InvalidUtf8(bytes);
        if (bad >= 0)
            m_document.diagnostics.Add(At(entry.Payload() + 4 + bad), Level::Error, &Current(),
                                       member.bit,
                                       QStringLiteral("%1: the text is not valid UTF-8 (byte %2; "
                                                      "read as U+FFFD)")
                                           .arg(member.name, HexByte(bytes.at(bad))));
        const QString text = null ? QString() : QString::fromUtf8(bytes);
        CheckValue(m_document, Current(), member, text, At(entry));
        if (member.kind != MemberKind::Text)
            return;
        const int forbidden = XmlForbiddenCharacter(text);
        if (forbidden >= 0)
            m_document.diagnostics.Add(At(entry), Level::Error, &Current(), member.bit,
                                       QStringLiteral("%1: holds %2, which XML cannot carry")
                                           .arg(member.name, CharacterCode(forbidden)),
                                       Diagnostic::Origin::XmlText);
        if (member.name == QLatin1String("Name"))
            Current().name = text;
    }

    void OnRecordBegin(const Entry& entry) override
    {
        Member(entry);
        Site& child = Current().Child(entry.member->bit);
        if (m_positions)
            child.where = At(entry.offset);
        m_stack.push_back(&child);
    }

    void OnRecordEnd(const Entry&) override { m_stack.pop_back(); }

    void OnListBegin(const Entry& entry, qint32) override
    {
        if (m_positions)
            Current().Given(entry.member->bit, At(entry.offset));
    }

    void OnItemBegin(const Entry& list, qint64 offset, int index, qint32) override
    {
        std::vector<std::unique_ptr<Site>>& items = Current().items;
        if (!m_positions && static_cast<std::size_t>(index) < items.size()) {
            m_stack.push_back(items[static_cast<std::size_t>(index)].get());
            return;
        }
        Site& item = Current().AddItem(list.member->bit);
        item.where = At(offset);
        m_stack.push_back(&item);
    }

    void OnItemEnd(const Entry&, qint64 offset, int, qint32 length) override
    {
        const Site& item = Current();
        m_stack.pop_back();
        const QByteArray bytes = Frame().mid(static_cast<int>(offset) + 4, length);
        m_attribution.Item(item, bytes, [&bytes, length](KVT317XML::Record& record) -> bool {
            QDataStream stream(bytes);
            stream.setVersion(QDataStream::Qt_5_15);
            stream.setByteOrder(QDataStream::BigEndian);
            record.SetBinary(stream, length);
            return true;
        });
    }

    void OnDamage(qint64 offset, const QString& expected) override
    {
        m_document.diagnostics.Add(
            At(offset), Level::Error, &Current(), -1,
            QStringLiteral("the frame is damaged here: expected %1").arg(expected));
    }

    Document& m_document;
    Attribution& m_attribution;
    bool m_positions;
    std::vector<Site*> m_stack;
};

} // namespace

const Site* ResolveSteps(const Site& root, const std::vector<std::pair<int, int>>& steps)
{
    const Site* site = &root;
    for (const auto& [bit, item] : steps) {
        if (item >= 0) {
            if (static_cast<std::size_t>(item) >= site->items.size())
                break;
            site = site->items[static_cast<std::size_t>(item)].get();
        } else {
            if (static_cast<std::size_t>(bit) >= site->children.size() ||
                !site->children[static_cast<std::size_t>(bit)])
                break;
            site = site->children[static_cast<std::size_t>(bit)].get();
        }
    }
    return site;
}

void Analyse(Document& document)
{
    if (document.analysed)
        return;
    document.analysed = true;
    const RecordDescription* description = FindDescription(document.type);
    if (!description)
        return;
    document.sites = std::make_unique<Site>();
    Site& root = *document.sites;
    root.description = description;
    if (document.form == Form::Binary || document.form == Form::Compressed)
        root.where = Location::Binary(0);
    else if (document.form == Form::Xml)
        root.where = {0, 1, 1};
    if (document.loaded)
        document.record->Check(true);

    const bool textual = document.form == Form::Xml || document.form == Form::Json;
    const LineIndex lines(textual ? document.text : QString());
    Attribution attribution(document, document.form == Form::Xml ? &lines : nullptr);
    JsonScanner json(document, lines);
    switch (document.form) {
    case Form::Xml:
        if (!document.text.isNull())
            XmlScanner(document, attribution, lines).Run(root);
        break;
    case Form::Binary:
    case Form::Compressed:
        if (document.frame.size() >= 8)
            BinaryScanner(document, attribution, root, true).Walk(*description);
        break;
    case Form::Json:
        // The JSON reader's findings first: they come from reading, the frame's after it.
        if (!document.frame.isNull()) {
            json.Run(root);
            BinaryScanner(document, attribution, root, false).Walk(*description);
        }
        for (const JsonFinding& finding : document.jsonFindings) {
            Diagnostic diagnostic;
            diagnostic.level = finding.level;
            diagnostic.site = ResolveSteps(root, finding.steps);
            diagnostic.bit = finding.bit;
            if (diagnostic.site)
                diagnostic.where = finding.key.isNull()
                                       ? diagnostic.site->MemberLocation(finding.bit)
                                       : json.Unknown(*diagnostic.site, finding.key);
            diagnostic.message = finding.message;
            document.diagnostics.Add(std::move(diagnostic), true);
        }
        break;
    }
    attribution.Finish(root);
}
