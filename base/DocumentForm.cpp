#include "DocumentForm.h"

#include <QRegularExpression>

namespace REPORTGENERATOR {

namespace {

bool IsBlank(char16_t c)
{
    return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n';
}

// The code unit at `index` of a text in `encoding` (from `start`); 0 past the end.
char16_t UnitAt(const QByteArray& bytes, int start, TextEncoding encoding, int index)
{
    if (encoding == TextEncoding::Utf8) {
        const int at = start + index;
        return at < bytes.size() ? static_cast<uchar>(bytes.at(at)) : 0;
    }
    const int at = start + 2 * index;
    if (at + 1 >= bytes.size())
        return 0;
    const auto first = static_cast<uchar>(bytes.at(at));
    const auto second = static_cast<uchar>(bytes.at(at + 1));
    return encoding == TextEncoding::Utf16LittleEndian ? char16_t(first | second << 8)
                                                       : char16_t(first << 8 | second);
}

// The first character after blanks, in a text of `encoding` from `start`.
char16_t FirstCharacter(const QByteArray& bytes, int start, TextEncoding encoding)
{
    for (int i = 0;; ++i) {
        const char16_t c = UnitAt(bytes, start, encoding, i);
        if (!IsBlank(c))
            return c;
    }
}

bool IsAscii(char c)
{
    return c != 0 && static_cast<uchar>(c) < 0x80;
}

// UTF-16 without a mark: a text starts with an ASCII character ('<', '{', '[' or a blank),
// which has a zero byte beside it; the second character too. No record's frame tag has
// that shape.
bool LooksLikeUtf16(const QByteArray& bytes, TextEncoding encoding)
{
    if (bytes.size() < 4)
        return false;
    const int zero = encoding == TextEncoding::Utf16LittleEndian ? 1 : 0;
    for (const int unit : {0, 2})
        if (bytes.at(unit + zero) != 0 || !IsAscii(bytes.at(unit + 1 - zero)))
            return false;
    const char16_t first = FirstCharacter(bytes, 0, encoding);
    return first == u'<' || first == u'{' || first == u'[';
}

} // namespace

DetectedForm DetectDocumentForm(const QByteArray& bytes)
{
    DetectedForm detected;
    int start = 0;
    if (bytes.startsWith("\xFF\xFE")) {
        detected.encoding = TextEncoding::Utf16LittleEndian;
        detected.byteOrderMark = true;
        start = 2;
    } else if (bytes.startsWith("\xFE\xFF")) {
        detected.encoding = TextEncoding::Utf16BigEndian;
        detected.byteOrderMark = true;
        start = 2;
    } else if (bytes.startsWith("\xEF\xBB\xBF")) {
        detected.byteOrderMark = true;
        start = 3;
    } else if (bytes.startsWith("KVTZ")) {
        detected.form = DocumentForm::Compressed;
        return detected;
    } else if (LooksLikeUtf16(bytes, TextEncoding::Utf16LittleEndian)) {
        detected.encoding = TextEncoding::Utf16LittleEndian;
    } else if (LooksLikeUtf16(bytes, TextEncoding::Utf16BigEndian)) {
        detected.encoding = TextEncoding::Utf16BigEndian;
    }
    const char16_t first = FirstCharacter(bytes, start, detected.encoding);
    if (first == u'{' || first == u'[')
        detected.form = DocumentForm::Json;
    else if (first == u'<' || detected.byteOrderMark || detected.encoding != TextEncoding::Utf8)
        detected.form = DocumentForm::Xml; // a marked text that is no JSON: XML says why not
    else
        detected.form = DocumentForm::Binary;
    return detected;
}

QString DocumentFormName(DocumentForm form)
{
    switch (form) {
    case DocumentForm::Xml:
        return QStringLiteral("XML");
    case DocumentForm::Json:
        return QStringLiteral("JSON");
    case DocumentForm::Binary:
        return QStringLiteral("binary");
    case DocumentForm::Compressed:
        return QStringLiteral("compressed binary");
    }
    return QString();
}

bool DocumentFormFromName(const QString& name, DocumentForm& form)
{
    static const struct {
        const char* name;
        DocumentForm form;
    } names[] = {{"xml", DocumentForm::Xml},
                 {"json", DocumentForm::Json},
                 {"binary", DocumentForm::Binary},
                 {"bin", DocumentForm::Binary},
                 {"compressed", DocumentForm::Compressed},
                 {"binz", DocumentForm::Compressed}};
    for (const auto& entry : names) {
        if (name == QLatin1String(entry.name)) {
            form = entry.form;
            return true;
        }
    }
    return false;
}

bool DocumentFormFromFileName(const QString& path, DocumentForm& form)
{
    static const struct {
        const char* ending;
        DocumentForm form;
    } endings[] = {{".xml", DocumentForm::Xml},
                   {".json", DocumentForm::Json},
                   {".bin", DocumentForm::Binary},
                   {".binz", DocumentForm::Compressed}};
    for (const auto& entry : endings) {
        if (path.endsWith(QLatin1String(entry.ending), Qt::CaseInsensitive)) {
            form = entry.form;
            return true;
        }
    }
    return false;
}

QString TextEncodingName(TextEncoding encoding)
{
    switch (encoding) {
    case TextEncoding::Utf8:
        return QStringLiteral("UTF-8");
    case TextEncoding::Utf16LittleEndian:
        return QStringLiteral("UTF-16LE");
    case TextEncoding::Utf16BigEndian:
        return QStringLiteral("UTF-16BE");
    }
    return QString();
}

QString DecodeDocumentText(const QByteArray& bytes, const DetectedForm& detected)
{
    if (detected.encoding == TextEncoding::Utf8)
        return QString::fromUtf8(
            detected.byteOrderMark && bytes.startsWith("\xEF\xBB\xBF") ? bytes.mid(3) : bytes);
    const int start = detected.byteOrderMark ? 2 : 0;
    const int units = static_cast<int>((bytes.size() - start) / 2);
    QString text(units, Qt::Uninitialized);
    QChar* out = text.data();
    for (int i = 0; i < units; ++i)
        out[i] = QChar(UnitAt(bytes, start, detected.encoding, i));
    return text;
}

QByteArray EncodeDocumentText(const QString& text, TextEncoding encoding, bool byteOrderMark)
{
    QString named = text;
    // The declaration says what the bytes are; a UTF-16 file saying UTF-8 would not read.
    static const QRegularExpression declaration(
        QStringLiteral("^(<\\?xml[^>]*encoding\\s*=\\s*[\"'])([A-Za-z0-9._-]+)([\"'])"));
    named.replace(declaration, QStringLiteral("\\1%1\\3")
                                   .arg(encoding == TextEncoding::Utf8 ? QStringLiteral("UTF-8")
                                                                       : QStringLiteral("UTF-16")));
    if (encoding == TextEncoding::Utf8)
        return (byteOrderMark ? QByteArray("\xEF\xBB\xBF") : QByteArray()) + named.toUtf8();
    QByteArray bytes;
    bytes.reserve(2 * named.size() + 2);
    const bool little = encoding == TextEncoding::Utf16LittleEndian;
    const auto put = [&bytes, little](char16_t unit) {
        const char low = static_cast<char>(unit & 0xFF);
        const char high = static_cast<char>(unit >> 8);
        bytes.append(little ? low : high);
        bytes.append(little ? high : low);
    };
    if (byteOrderMark)
        put(0xFEFF);
    for (const QChar c : named)
        put(c.unicode());
    return bytes;
}

} // namespace REPORTGENERATOR
