#include "NameSuggestion.h"

#include <algorithm>
#include <vector>

namespace KVT317XML {

namespace {

// The edit distance of two texts (insertions, deletions, replacements).
int Distance(const QString& a, const QString& b)
{
    std::vector<int> row(static_cast<std::size_t>(b.size()) + 1);
    for (int j = 0; j <= b.size(); ++j)
        row[static_cast<std::size_t>(j)] = j;
    for (int i = 1; i <= a.size(); ++i) {
        int diagonal = row[0];
        row[0] = i;
        for (int j = 1; j <= b.size(); ++j) {
            const int above = row[static_cast<std::size_t>(j)];
            const int cost = a.at(i - 1) == b.at(j - 1) ? 0 : 1;
            row[static_cast<std::size_t>(j)] =
                std::min({above + 1, row[static_cast<std::size_t>(j - 1)] + 1, diagonal + cost});
            diagonal = above;
        }
    }
    return row[static_cast<std::size_t>(b.size())];
}

} // namespace

QString ClosestName(const QString& name, const QStringList& candidates)
{
    // Case is compared too loosely to be a typo's only cause, so it counts for nothing.
    const QString lower = name.toLower();
    QString best;
    int bestDistance = 0;
    for (const QString& candidate : candidates) {
        const int distance = Distance(lower, candidate.toLower());
        if (best.isNull() || distance < bestDistance) {
            best = candidate;
            bestDistance = distance;
        }
    }
    const int allowed = name.size() >= 5 ? 2 : 1;
    return !best.isNull() && bestDistance <= allowed && bestDistance < name.size() ? best
                                                                                   : QString();
}

} // namespace KVT317XML
