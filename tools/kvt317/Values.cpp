#include "Values.h"

#include <IRGObject.h>

#include <QRegularExpression>

#include <algorithm>
#include <cmath>

using namespace KVT317XML;

QString KindName(const MemberDescription& member)
{
    return member.kindName;
}

QString Printable(const QString& text)
{
    QString shown;
    shown.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        const bool pair =
            c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair) {
            shown.append(c);
            shown.append(text.at(++i));
        } else if (code < 0x20 || code == 0x7F || c.isSurrogate() || code == 0xFFFE ||
                   code == 0xFFFF) {
            shown.append(QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0')));
        } else {
            shown.append(c);
        }
    }
    return shown;
}

QString HexByte(char byte)
{
    return QStringLiteral("0x") + QString::number(static_cast<unsigned char>(byte), 16)
                                      .rightJustified(2, QLatin1Char('0'))
                                      .toUpper();
}

QString Hex32(quint32 value)
{
    return QStringLiteral("0x") +
           QString::number(value, 16).rightJustified(8, QLatin1Char('0')).toUpper();
}

int InvalidUtf8(const QByteArray& bytes)
{
    const auto byte = [&bytes](int i) { return static_cast<unsigned char>(bytes.at(i)); };
    int i = 0;
    while (i < bytes.size()) {
        const unsigned char lead = byte(i);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        int length = 0;
        unsigned char low = 0x80;
        unsigned char high = 0xBF;
        if (lead >= 0xC2 && lead <= 0xDF) {
            length = 2;
        } else if (lead >= 0xE0 && lead <= 0xEF) {
            length = 3;
            if (lead == 0xE0)
                low = 0xA0; // no overlong forms
            if (lead == 0xED)
                high = 0x9F; // no surrogates
        } else if (lead >= 0xF0 && lead <= 0xF4) {
            length = 4;
            if (lead == 0xF0)
                low = 0x90;
            if (lead == 0xF4)
                high = 0x8F; // nothing above U+10FFFF
        } else {
            return i;
        }
        if (i + length > bytes.size())
            return i;
        if (byte(i + 1) < low || byte(i + 1) > high)
            return i;
        for (int k = 2; k < length; ++k)
            if (byte(i + k) < 0x80 || byte(i + k) > 0xBF)
                return i;
        i += length;
    }
    return -1;
}

namespace {

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

QString Suggestion(const QString& name, const QStringList& candidates)
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

QString AllowedNames(const MemberDescription& member)
{
    return member.enumeration->names.join(QStringLiteral(", "));
}
