// Where the records and members of a loaded document stand: a few bytes per record and per
// member given, so that a check after the load is placed without reading the input again.

#include "SourcePlaces.h"

#include <QHash>
#include <QtAlgorithms>

#include <algorithm>
#include <deque>
#include <limits>
#include <vector>

namespace KVT317XML {

namespace {

constexpr quint32 Unknown = std::numeric_limits<quint32>::max();

// Offsets beyond 32 bits are not kept: such a member stands at its record, or nowhere.
quint32 Compact(qint64 offset)
{
    return offset >= 0 && offset < qint64(Unknown) ? static_cast<quint32>(offset) : Unknown;
}

QString Key(const ReadPath& path, int bit)
{
    QString text;
    for (const ReadStep& step : path)
        text += QString::number(step.bit) + QLatin1Char('.') + QString::number(step.item) +
                QLatin1Char('/');
    return text + QString::number(bit);
}

} // namespace

struct SourcePlaces::Private {
    // A few bytes per record: a check of a large document holds its places beside its
    // records, within what its text would take.
    struct Node {
        quint32 offset = Unknown; // XML: character offset; binary: byte offset
        quint32 given = 0;        // bits of the members given
        quint32 first = 0;        // their places start here in `members`, in bit order
        quint32 parent = 0;       // the enclosing record's node + 1 (0: none), and ...
        qint32 item = -1;         // ... the step from it: list position, and
        qint8 bit = -1;           // member
    };
    // Deques grow without moving what they hold: no moment holds a list twice.
    std::deque<Node> nodes;
    std::deque<QPair<qint32, qint32>> lines; // XML: line and column of each node
    // Each member's offset from its record's start; Far: see `far`.
    std::deque<quint16> members;
    static constexpr quint16 Far = 0xFFFF;
    QHash<quint64, quint32> far; // offsets of members far from their record's start
    // Nodes by (parent, bit, item), built at the first look-up.
    mutable std::vector<quint32> index;
    // Places given entry by entry (the JSON form), by path and member.
    QHash<QString, FindingPlace> entries;

    static quint64 FarKey(std::size_t node, int bit) { return (quint64(node) << 5) | quint64(bit); }

    bool Less(quint32 a, quint32 parent, int bit, int item) const
    {
        const Node& node = nodes[a];
        if (node.parent != parent)
            return node.parent < parent;
        if (node.bit != bit)
            return node.bit < bit;
        return node.item < item;
    }

    int Find(const ReadPath& path) const
    {
        if (nodes.empty())
            return -1;
        if (index.size() != nodes.size()) {
            index.resize(nodes.size());
            for (std::size_t i = 0; i < index.size(); ++i)
                index[i] = static_cast<quint32>(i);
            std::sort(index.begin(), index.end(), [this](quint32 a, quint32 b) {
                const Node& node = nodes[b];
                return Less(a, node.parent, node.bit, node.item);
            });
        }
        quint32 current = 0;
        for (const ReadStep& step : path) {
            const auto found = std::lower_bound(index.begin(), index.end(), 0, [&](quint32 a, int) {
                return Less(a, current + 1, step.bit, step.item);
            });
            if (found == index.end())
                return -1;
            const Node& node = nodes[*found];
            if (node.parent != current + 1 || node.bit != step.bit || node.item != step.item)
                return -1;
            current = *found;
        }
        return static_cast<int>(current);
    }

    FindingPlace At(std::size_t handle) const
    {
        const Node& node = nodes[handle];
        if (node.offset == Unknown)
            return FindingPlace();
        if (handle < lines.size() && lines[handle].first > 0)
            return {node.offset, lines[handle].first, lines[handle].second};
        return FindingPlace::Binary(node.offset);
    }
};

SourcePlaces::SourcePlaces()
    : d(new Private)
{
}

SourcePlaces::~SourcePlaces() = default;
SourcePlaces::SourcePlaces(SourcePlaces&& other) noexcept = default;
SourcePlaces& SourcePlaces::operator=(SourcePlaces&& other) noexcept = default;

void SourcePlaces::Clear()
{
    d.reset(new Private);
}

bool SourcePlaces::IsEmpty() const
{
    return !d || (d->nodes.empty() && d->entries.isEmpty());
}

int SourcePlaces::StartRecord(int parent, const ReadStep& step, const ReadPosition& at)
{
    if (!d) // moved from
        d.reset(new Private);
    Private::Node node;
    node.offset = Compact(at.offset);
    node.parent = parent >= 0 ? static_cast<quint32>(parent) + 1 : 0;
    node.bit = static_cast<qint8>(step.bit);
    node.item = step.item;
    d->nodes.push_back(node);
    if (at.line > 0) {
        d->lines.resize(d->nodes.size());
        d->lines.back() = {static_cast<qint32>(at.line), static_cast<qint32>(at.column)};
    }
    return static_cast<int>(d->nodes.size() - 1);
}

void SourcePlaces::Given(int handle, quint32 given, const ReadPosition* first)
{
    if (!d || handle < 0 || static_cast<std::size_t>(handle) >= d->nodes.size())
        return;
    Private::Node& node = d->nodes[static_cast<std::size_t>(handle)];
    node.given = given;
    node.first = static_cast<quint32>(d->members.size());
    for (int bit = 0; bit < 32; ++bit) {
        if (!(given & (quint32(1) << bit)))
            continue;
        const quint32 at = Compact(first[bit].offset);
        if (node.offset != Unknown && at != Unknown && at >= node.offset &&
            at - node.offset < Private::Far) {
            d->members.push_back(static_cast<quint16>(at - node.offset));
        } else {
            d->members.push_back(Private::Far);
            d->far.insert(Private::FarKey(static_cast<std::size_t>(handle), bit), at);
        }
    }
}

void SourcePlaces::Add(const ReadPath& path, const ReadEntry& entry)
{
    if (!d)
        d.reset(new Private);
    const QString key = Key(path, entry.member ? entry.member->bit : -1);
    if (!d->entries.contains(key))
        d->entries.insert(key, FindingPlace::Of(entry.position));
}

FindingPlace SourcePlaces::Record(const ReadPath& path) const
{
    if (!d)
        return FindingPlace();
    if (!d->entries.isEmpty())
        return d->entries.value(Key(path, -1));
    const int found = d->Find(path);
    return found < 0 ? FindingPlace() : d->At(static_cast<std::size_t>(found));
}

FindingPlace SourcePlaces::Member(const ReadPath& path, int bit, const QString* text) const
{
    if (!d || bit < 0 || bit >= 32)
        return FindingPlace();
    if (!d->entries.isEmpty())
        return d->entries.value(Key(path, bit));
    const int found = d->Find(path);
    if (found < 0)
        return FindingPlace();
    const auto handle = static_cast<std::size_t>(found);
    const Private::Node& node = d->nodes[handle];
    const quint32 flag = quint32(1) << bit;
    if (!(node.given & flag))
        return FindingPlace();
    const quint16 delta = d->members[node.first + qPopulationCount(node.given & (flag - 1))];
    const quint32 at = delta != Private::Far ? node.offset + delta
                                             : d->far.value(Private::FarKey(handle, bit), Unknown);
    if (at == Unknown)
        return FindingPlace();
    if (handle >= d->lines.size() || d->lines[handle].first <= 0)
        return FindingPlace::Binary(at);
    // XML: count lines from the record's start, which the load placed exactly.
    if (!text || node.offset == Unknown || at < node.offset || at > quint32(text->size()))
        return FindingPlace();
    const FindingPlace start = d->At(handle);
    int line = start.line;
    int column = start.column;
    // Line breaks as XML reads them: LF, CR LF and a CR alone.
    for (quint32 i = node.offset; i < at; ++i) {
        const QChar c = text->at(static_cast<int>(i));
        if (c == QLatin1Char('\r') ||
            (c == QLatin1Char('\n') &&
             (i == 0 || text->at(static_cast<int>(i - 1)) != QLatin1Char('\r')))) {
            ++line;
            column = 1;
        } else if (c != QLatin1Char('\n')) {
            ++column;
        }
    }
    return {at, line, column};
}

FindingPlace SourcePlaces::Nearest(const ReadPath& path, int bit, const QString* text) const
{
    const FindingPlace member = Member(path, bit, text);
    return member.Known() ? member : Record(path);
}

} // namespace KVT317XML
