#include "JsonPlaces.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

namespace KVT317XML {

namespace {

// "0.1/2.-1/" and a member's bit, or -1 for the record itself, or an unknown key.
QString PlaceKey(const ReadPath& path, int bit, const QString& key = QString())
{
    QString text;
    for (const ReadStep& step : path)
        text += QString::number(step.bit) + QLatin1Char('.') + QString::number(step.item) +
                QLatin1Char('/');
    return text + (key.isNull() ? QString::number(bit) : QLatin1Char('"') + key);
}

} // namespace

JsonPlaces::JsonPlaces(const QString& text, ReadObserver* entries)
    : m_text(text)
    , m_entries(entries && entries->WantsEntries() ? entries : nullptr)
{
    m_lineStarts.push_back(0);
    for (int i = 0; i < text.size(); ++i)
        if (text.at(i) == QLatin1Char('\n'))
            m_lineStarts.push_back(i + 1);
}

ReadPosition JsonPlaces::PositionOf(qint64 offset) const
{
    const auto next = std::upper_bound(m_lineStarts.begin(), m_lineStarts.end(), offset);
    const auto line = next - m_lineStarts.begin();
    ReadPosition position;
    position.line = line;
    position.column = offset - m_lineStarts[static_cast<std::size_t>(line - 1)] + 1;
    position.offset = offset;
    return position;
}

ReadPosition JsonPlaces::At(const ReadPath& path, int bit, const QString& key) const
{
    return m_places.value(PlaceKey(path, bit, key));
}

void JsonPlaces::Run(const RecordDescription& root)
{
    Blank();
    if (!Take(u'{'))
        return;
    Blank();
    const ReadPosition where = PositionOf(m_pos);
    Key();
    Blank();
    Take(u':');
    ReadPath path;
    Record(root, path, where);
    // Entries go out once the walk knows which of a record given twice stands.
    for (const auto& [entryPath, entry] : m_pending)
        m_entries->Read(entryPath, entry);
    m_pending.clear();
}

QChar JsonPlaces::Peek() const
{
    return m_pos < m_text.size() ? m_text.at(m_pos) : QChar();
}

bool JsonPlaces::Take(char16_t c)
{
    if (Peek() != QChar(c))
        return false;
    ++m_pos;
    return true;
}

void JsonPlaces::Blank()
{
    while (m_pos < m_text.size() && (m_text.at(m_pos) == u' ' || m_text.at(m_pos) == u'\n' ||
                                     m_text.at(m_pos) == u'\r' || m_text.at(m_pos) == u'\t'))
        ++m_pos;
}

// A string: its text, escapes resolved.
QString JsonPlaces::Key()
{
    const int start = m_pos;
    SkipString();
    const QStringView raw = QStringView(m_text).mid(start + 1, m_pos - start - 2);
    if (!raw.contains(u'\\'))
        return raw.toString();
    const QByteArray array = '[' + m_text.mid(start, m_pos - start).toUtf8() + ']';
    return QJsonDocument::fromJson(array).array().at(0).toString();
}

void JsonPlaces::SkipString()
{
    ++m_pos;
    while (m_pos < m_text.size() && m_text.at(m_pos) != u'"')
        m_pos += m_text.at(m_pos) == u'\\' ? 2 : 1;
    ++m_pos;
}

// Any value, nested ones included.
void JsonPlaces::SkipValue()
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
void JsonPlaces::Record(const RecordDescription& description, ReadPath& path,
                        const ReadPosition& where)
{
    Keep(PlaceKey(path, -1), where);
    if (m_entries) {
        ReadEntry entry;
        entry.record = &description;
        entry.position = where;
        m_pending.emplace_back(path, entry);
    }
    Blank();
    if (!Take(u'{')) {
        SkipValue();
        return;
    }
    QHash<int, ReadPosition> given;
    for (;;) {
        Blank();
        if (Take(u'}'))
            return;
        if (Peek() != QChar(u'"'))
            return;
        const ReadPosition at = PositionOf(m_pos);
        const QString key = Key();
        Blank();
        Take(u':');
        Member(description, path, key, at, given);
        Blank();
        Take(u',');
    }
}

void JsonPlaces::Member(const RecordDescription& description, ReadPath& path, const QString& key,
                        const ReadPosition& where, QHash<int, ReadPosition>& given)
{
    const MemberDescription* member = description.FindName(key);
    if (!member) {
        Keep(PlaceKey(path, -1, key), where);
        SkipValue();
        return;
    }
    if (given.contains(member->bit)) {
        const ReadPosition first = given.value(member->bit);
        ReadFinding finding;
        finding.level = REPORTGENERATOR::LogLevel::Warning;
        finding.kind = FindingKind::GivenTwice;
        finding.path = path;
        finding.record = &description;
        finding.member = member;
        finding.position = where;
        finding.message = QStringLiteral("%1 given twice (first at %2:%3); the later one wins")
                              .arg(member->name)
                              .arg(first.line)
                              .arg(first.column);
        m_twice.push_back(std::move(finding));
        if (member->kind == MemberKind::Record) {
            // What the earlier one gave is gone: the later one wins.
            ReadPath child = path;
            child.append(ReadStep{member->bit, -1});
            const QString prefix = PlaceKey(child, -1).chopped(2);
            for (auto it = m_places.begin(); it != m_places.end();)
                it = it.key().startsWith(prefix) ? m_places.erase(it) : std::next(it);
            const auto inside = [&child](const std::pair<ReadPath, ReadEntry>& pending) {
                return pending.first.size() >= child.size() &&
                       std::equal(child.begin(), child.end(), pending.first.begin());
            };
            m_pending.erase(std::remove_if(m_pending.begin(), m_pending.end(), inside),
                            m_pending.end());
        }
    }
    given.insert(member->bit, where);
    Keep(PlaceKey(path, member->bit), where);
    if (m_entries) {
        ReadEntry entry;
        entry.member = member;
        entry.record = &description;
        entry.position = where;
        m_pending.emplace_back(path, entry);
    }
    Blank();
    if (member->kind == MemberKind::Record) {
        path.append(ReadStep{member->bit, -1});
        Record(*member->nested(), path, where);
        path.removeLast();
    } else if (member->kind == MemberKind::RecordList && Peek() == QChar(u'[')) {
        ++m_pos;
        for (int item = 0;; ++item) {
            Blank();
            if (Peek().isNull() || Take(u']'))
                return;
            path.append(ReadStep{member->bit, item});
            Record(*member->nested(), path, PositionOf(m_pos));
            path.removeLast();
            Blank();
            Take(u',');
        }
    } else {
        SkipValue();
    }
}

} // namespace KVT317XML
