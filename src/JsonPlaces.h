#pragma once

// Where the records and members of a JSON document stand. QJsonDocument tells no positions
// and folds a key given twice into the last one without a word: the text is walked once
// more with the member tables.

#include "ReadObserver.h"

#include <QHash>
#include <QString>

#include <utility>
#include <vector>

namespace KVT317XML {

class JsonPlaces
{
public:
    // With `entries`, every record and member found is passed to its Read() as it is met.
    JsonPlaces(const QString& text, ReadObserver* entries);

    // {"Type": {...}}: the root is placed where its type is named.
    void Run(const RecordDescription& root);

    // The place of a record (bit -1), of one of its members, or of an unknown key of it;
    // unknown when the walk did not meet it. A member given twice is at its later key.
    ReadPosition At(const ReadPath& path, int bit, const QString& key = QString()) const;

    // Keys given twice in one object, in text order.
    const std::vector<ReadFinding>& GivenTwice() const { return m_twice; }

    // The line and column (from 1) of a character offset.
    ReadPosition PositionOf(qint64 offset) const;

private:
    QChar Peek() const;
    bool Take(char16_t c);
    void Blank();
    QString Key();
    void SkipString();
    void SkipValue();
    void Record(const RecordDescription& description, ReadPath& path, const ReadPosition& where);
    void Member(const RecordDescription& description, ReadPath& path, const QString& key,
                const ReadPosition& where, QHash<int, ReadPosition>& given);
    void Keep(const QString& key, const ReadPosition& where) { m_places.insert(key, where); }

    const QString& m_text;
    ReadObserver* m_entries;
    std::vector<qint64> m_lineStarts;
    QHash<QString, ReadPosition> m_places;
    std::vector<ReadFinding> m_twice;
    std::vector<std::pair<ReadPath, ReadEntry>> m_pending; // entries not yet passed on
    int m_pos = 0;
};

} // namespace KVT317XML
