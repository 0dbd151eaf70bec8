#include "DocumentInternals.h"
#include "XmlText.h"

namespace REPORTGENERATOR {

namespace {

uint Digit(uchar c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : 0;
}

} // namespace

QString UnwritableInDocument(const QByteArray& document, bool writerError)
{
    const auto byte = [&document](qsizetype i) {
        return i < document.size() ? static_cast<uchar>(document.at(i)) : uchar(0);
    };
    qsizetype line = 1;
    qsizetype lineStart = 0;
    for (qsizetype i = 0; i < document.size(); ++i) {
        const uchar c = byte(i);
        uint code = 0;
        if (c == '\n') {
            ++line;
            lineStart = i + 1;
            continue;
        }
        if (c < 0x20 && c != '\t' && c != '\r') {
            code = c;
        } else if (c == 0xEF && byte(i + 1) == 0xBF && (byte(i + 2) & 0xFE) == 0xBE) {
            code = 0xFF00u | byte(i + 2);
        } else if (c == 0xED && byte(i + 1) >= 0xA0) {
            code = 0xD000u | ((byte(i + 1) & 0x3Fu) << 6) | (byte(i + 2) & 0x3Fu);
        } else if (c == '&' && byte(i + 1) == '#') {
            const bool hex = byte(i + 2) == 'x';
            qsizetype j = i + (hex ? 3 : 2);
            for (; j < document.size() && byte(j) != ';' && code <= 0x10FFFF; ++j)
                code = code * (hex ? 16 : 10) + Digit(byte(j));
            if (XmlText::IsXmlCharacter(code))
                continue;
        } else {
            continue;
        }
        qsizetype column = 1;
        for (qsizetype k = lineStart; k < i; ++k)
            column += (byte(k) & 0xC0) != 0x80;
        return QStringLiteral("the document holds %1 at line %2, column %3, a character XML "
                              "cannot carry")
            .arg(XmlText::CodeName(code))
            .arg(line)
            .arg(column);
    }
    if (writerError)
        return QStringLiteral("the document holds a character XML cannot carry, which the XML "
                              "writer left out");
    return QString();
}

} // namespace REPORTGENERATOR
