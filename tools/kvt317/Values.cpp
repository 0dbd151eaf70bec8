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

QString AllowedNames(const MemberDescription& member)
{
    return member.enumeration->names.join(QStringLiteral(", "));
}
