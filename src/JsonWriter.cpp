#include "JsonWriter.h"

#include <QRegularExpression>

namespace KVT317XML {

void JsonWriter::BeforeValue()
{
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_levels.empty())
        return;
    if (!m_levels.back().empty)
        m_text.append(',');
    m_levels.back().empty = false;
    m_text.append('\n');
    m_text.append(QByteArray(static_cast<int>(m_levels.size()) * 2, ' '));
}

void JsonWriter::Open(char bracket)
{
    BeforeValue();
    m_text.append(bracket);
    m_levels.push_back(Level());
}

void JsonWriter::Close(char bracket)
{
    const bool empty = m_levels.back().empty;
    m_levels.pop_back();
    if (!empty) {
        m_text.append('\n');
        m_text.append(QByteArray(static_cast<int>(m_levels.size()) * 2, ' '));
    }
    m_text.append(bracket);
}

void JsonWriter::BeginObject()
{
    Open('{');
}

void JsonWriter::EndObject()
{
    Close('}');
}

void JsonWriter::BeginArray()
{
    Open('[');
}

void JsonWriter::EndArray()
{
    Close(']');
}

void JsonWriter::Key(const QString& key)
{
    BeforeValue();
    m_text.append(JsonString(key));
    m_text.append(": ");
    m_afterKey = true;
}

void JsonWriter::String(const QString& text)
{
    BeforeValue();
    m_text.append(text.isNull() ? QByteArray("null") : JsonString(text));
}

void JsonWriter::Number(qint64 number)
{
    BeforeValue();
    m_text.append(QByteArray::number(number));
}

void JsonWriter::RawNumber(const QString& token)
{
    BeforeValue();
    m_text.append(token.toLatin1());
}

void JsonWriter::Bool(bool value)
{
    BeforeValue();
    m_text.append(value ? "true" : "false");
}

void JsonWriter::Null()
{
    BeforeValue();
    m_text.append("null");
}

QByteArray JsonWriter::Take()
{
    QByteArray text;
    text.swap(m_text);
    return text;
}

QByteArray JsonWriter::Finish()
{
    QByteArray text = m_text;
    text.append('\n');
    m_text.clear();
    m_levels.clear();
    m_afterKey = false;
    return text;
}

QByteArray JsonString(const QString& text)
{
    QString escaped;
    escaped.reserve(text.size() + 2);
    escaped.append(QLatin1Char('"'));
    const auto unicodeEscape = [&escaped](ushort code) {
        escaped.append(QStringLiteral("\\u%1").arg(code, 4, 16, QLatin1Char('0')));
    };
    for (int i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const ushort code = c.unicode();
        switch (code) {
        case '"':
            escaped.append(QLatin1String("\\\""));
            continue;
        case '\\':
            escaped.append(QLatin1String("\\\\"));
            continue;
        case '\n':
            escaped.append(QLatin1String("\\n"));
            continue;
        case '\r':
            escaped.append(QLatin1String("\\r"));
            continue;
        case '\t':
            escaped.append(QLatin1String("\\t"));
            continue;
        default:
            break;
        }
        if (code < 0x20) {
            unicodeEscape(code);
        } else if (c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            escaped.append(c);
            escaped.append(text.at(++i));
        } else if (c.isSurrogate()) {
            // UTF-8 has no form for half a pair; the escape keeps it.
            unicodeEscape(code);
        } else {
            escaped.append(c);
        }
    }
    escaped.append(QLatin1Char('"'));
    return escaped.toUtf8();
}

bool IsJsonNumber(const QString& text)
{
    static const QRegularExpression number(
        QStringLiteral("^-?(0|[1-9][0-9]*)(\\.[0-9]+)?([eE][+-]?[0-9]+)?$"));
    return number.match(text).hasMatch();
}

} // namespace KVT317XML
