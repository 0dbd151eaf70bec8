#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

// Writes JSON text in the order the calls come, indented by two blanks. The tool writes
// its JSON itself because QJsonObject keeps its keys sorted, and members must come in
// member order.
class JsonWriter
{
public:
    void BeginObject();
    void EndObject();
    void BeginArray();
    void EndArray();
    // The key of the next value, inside an object.
    void Key(const QString& key);
    void String(const QString& text); // a null text is written as null
    void Number(qint64 number);
    // A number token as it stands (it must be valid JSON).
    void RawNumber(const QString& token);
    void Bool(bool value);
    void Null();

    // The text written so far, ended by a line feed.
    QByteArray Finish();
    // The text written since the last Take, which the writer then no longer holds: a long
    // text goes out in parts while it is written.
    QByteArray Take();
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

// A text as a JSON string token. Control characters and unpaired surrogates are escaped,
// so that JSON carries every text exactly.
QByteArray JsonString(const QString& text);

// Whether a text is a valid JSON number token.
bool IsJsonNumber(const QString& text);
