#pragma once

#include "KVT317XmlExport.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace KVT317XML {

/// @brief Writes JSON text in the order the calls come, indented by two blanks.
///
/// QJsonObject keeps its keys sorted; the JSON form of a document (SettingsJson.h) and the
/// reports of programs want members in member order, so they are written with this.
class KVT317XML_EXPORT JsonWriter
{
public:
    /// Opens an object.
    void BeginObject();
    /// Closes the innermost object.
    void EndObject();
    /// Opens an array.
    void BeginArray();
    /// Closes the innermost array.
    void EndArray();
    /// The key of the next value, inside an object.
    void Key(const QString& key);
    /// A string; a null text is written as null.
    void String(const QString& text);
    /// A whole number.
    void Number(qint64 number);
    /// A number token as it stands (it must be valid JSON).
    void RawNumber(const QString& token);
    /// true or false.
    void Bool(bool value);
    /// null.
    void Null();

    /// The text written so far, ended by a line feed.
    QByteArray Finish();
    /// The text written since the last Take, which the writer then no longer holds: a long
    /// text goes out in parts while it is written.
    QByteArray Take();
    /// The size of the text held, in bytes.
    int Size() const { return m_text.size(); }

private:
    void BeforeValue();
    void Open(char bracket);
    void Close(char bracket);

    struct Level {
        bool empty = true;
    };
    QByteArray m_text;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

/// A text as a JSON string token. Control characters and unpaired surrogates are escaped,
/// so that JSON carries every text exactly.
KVT317XML_EXPORT QByteArray JsonString(const QString& text);

/// Whether a text is a valid JSON number token.
KVT317XML_EXPORT bool IsJsonNumber(const QString& text);

} // namespace KVT317XML
