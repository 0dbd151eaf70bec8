#pragma once

// Reads a document with QXmlStreamReader and with XmlTokens and compares every token: type,
// names, attributes, texts, flags and positions. Shared by the tests and the fuzz target.

#include <XmlTokenizer.h>

#include <QByteArray>
#include <QString>
#include <QXmlStreamReader>

#include <memory>
#include <string>

namespace xmltokencompare {

enum class Outcome { Agreed, FellBack, Disagreed };

struct Result {
    Outcome outcome = Outcome::Disagreed;
    bool qtAccepted = false; // QXmlStreamReader read the document without an error
    std::string difference;  // where they disagree
};

inline std::string Describe(const QString& text)
{
    return text.toStdString();
}

// With asString, QXmlStreamReader reads the document as a QString, and the tokenizer that
// string's UTF-8.
inline Result Compare(const QByteArray& document, bool asString = false)
{
    using REPORTGENERATOR::XmlToken;
    using REPORTGENERATOR::XmlTokens;
    Result result;
    XmlTokens mine;
    const QString input = asString ? QString::fromUtf8(document) : QString();
    const QByteArray bytes = asString ? input.toUtf8() : document;
    const bool accepted =
        mine.Tokenize(bytes, asString ? XmlTokens::Source::String : XmlTokens::Source::Bytes);
    const std::unique_ptr<QXmlStreamReader> qtReader =
        asString ? std::make_unique<QXmlStreamReader>(input)
                 : std::make_unique<QXmlStreamReader>(bytes);
    QXmlStreamReader& reader = *qtReader;
    const auto& tokens = mine.Tokens();
    std::size_t index = 0;
    auto fail = [&](const std::string& what) {
        result.outcome = Outcome::Disagreed;
        result.difference = "token " + std::to_string(index) + ": " + what;
        return result;
    };
    auto same = [&](const char* what, const QString& qt, std::string_view own) -> std::string {
        const QString text = XmlTokens::ToString(own);
        if (qt == text)
            return {};
        return std::string(what) + " '" + Describe(qt) + "' against '" + Describe(text) + "'";
    };
    while (!reader.atEnd()) {
        const QXmlStreamReader::TokenType type = reader.readNext();
        if (type == QXmlStreamReader::Invalid) {
            result.qtAccepted = false;
            if (accepted)
                return fail("QXmlStreamReader refuses: " + Describe(reader.errorString()));
            result.outcome = Outcome::FellBack;
            return result;
        }
        if (!accepted)
            continue;
        if (index >= tokens.size())
            return fail("QXmlStreamReader has more tokens");
        const XmlToken& token = tokens[index];
        if (token.Type() != type)
            return fail("type " + std::to_string(int(type)) + " against " +
                        std::to_string(int(token.Type())));
        if (reader.lineNumber() != token.line || reader.columnNumber() != mine.Column(token) ||
            reader.characterOffset() != token.offset)
            return fail("position " + std::to_string(reader.lineNumber()) + ":" +
                        std::to_string(reader.columnNumber()) + "@" +
                        std::to_string(reader.characterOffset()) + " against " +
                        std::to_string(token.line) + ":" + std::to_string(mine.Column(token)) +
                        "@" + std::to_string(token.offset));
        std::string d;
        switch (type) {
        case QXmlStreamReader::StartDocument:
            d = same("version", reader.documentVersion().toString(), mine.Name(token));
            if (d.empty())
                d = same("encoding", reader.documentEncoding().toString(), mine.Text(token));
            if (d.empty() && reader.isStandaloneDocument() != token.IsStandalone())
                d = "standalone";
            break;
        case QXmlStreamReader::StartElement:
        case QXmlStreamReader::EndElement:
            d = same("name", reader.name().toString(), mine.Name(token));
            if (d.empty())
                d = same("qualified name", reader.qualifiedName().toString(), mine.Name(token));
            if (d.empty() && (!reader.prefix().isEmpty() || !reader.namespaceUri().isEmpty()))
                d = "namespace";
            if (d.empty() && type == QXmlStreamReader::StartElement) {
                const QXmlStreamAttributes attributes = reader.attributes();
                if (!reader.namespaceDeclarations().isEmpty())
                    d = "namespace declarations";
                else if (attributes.size() != int(token.AttributeCount()))
                    d = "attribute count " + std::to_string(attributes.size()) + " against " +
                        std::to_string(token.AttributeCount());
                for (int i = 0; d.empty() && i < attributes.size(); ++i) {
                    const auto& own = mine.Attributes()[token.FirstAttribute() + i];
                    d = same("attribute", attributes[i].qualifiedName().toString(), mine.Name(own));
                    if (d.empty())
                        d = same("attribute name", attributes[i].name().toString(), mine.Name(own));
                    if (d.empty())
                        d = same("value", attributes[i].value().toString(), mine.Value(own));
                    if (d.empty() && attributes[i].isDefault())
                        d = "default attribute";
                }
            }
            break;
        case QXmlStreamReader::Characters:
            d = same("text", reader.text().toString(), mine.Text(token));
            if (d.empty() && (reader.isWhitespace() != token.IsWhitespace()))
                d = "whitespace flag";
            if (d.empty() && (reader.isCDATA() != token.IsCdata()))
                d = "CDATA flag";
            break;
        case QXmlStreamReader::Comment:
            d = same("comment", reader.text().toString(), mine.Text(token));
            break;
        case QXmlStreamReader::ProcessingInstruction:
            d = same("target", reader.processingInstructionTarget().toString(), mine.Name(token));
            if (d.empty())
                d = same("data", reader.processingInstructionData().toString(), mine.Text(token));
            break;
        default:
            break;
        }
        if (!d.empty())
            return fail(d);
        ++index;
    }
    result.qtAccepted = true;
    if (!accepted) {
        result.outcome = Outcome::FellBack;
        return result;
    }
    if (index != tokens.size())
        return fail("the tokenizer has more tokens");
    result.outcome = Outcome::Agreed;
    return result;
}

} // namespace xmltokencompare
