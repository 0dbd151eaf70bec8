#include "RepositoryDocuments.h"
#include "XmlTokenCompare.h"

#include <Documents.h>
#include <XmlTokenizer.h>

#include <QDirIterator>
#include <QFile>

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using REPORTGENERATOR::XmlToken;
using REPORTGENERATOR::XmlTokens;
using xmltokencompare::Compare;
using xmltokencompare::Outcome;

namespace {

// The tokens in a short written form: type, name or text, flags, attributes, position.
std::vector<std::string> Written(const QByteArray& document,
                                 XmlTokens::Source source = XmlTokens::Source::Bytes)
{
    XmlTokens tokens;
    if (!tokens.Tokenize(document, source))
        return {"not mine"};
    std::vector<std::string> out;
    for (const XmlToken& t : tokens.Tokens()) {
        std::string line;
        switch (t.Type()) {
        case QXmlStreamReader::StartDocument:
            line = "SD " + std::string(tokens.Name(t)) + " " + std::string(tokens.Text(t)) +
                   (t.IsStandalone() ? " standalone" : "");
            break;
        case QXmlStreamReader::EndDocument:
            line = "ED";
            break;
        case QXmlStreamReader::StartElement:
            line = "SE " + std::string(tokens.Name(t));
            for (std::uint32_t i = 0; i < t.AttributeCount(); ++i) {
                const auto& a = tokens.Attributes()[t.FirstAttribute() + i];
                line +=
                    " " + std::string(tokens.Name(a)) + "=[" + std::string(tokens.Value(a)) + "]";
            }
            break;
        case QXmlStreamReader::EndElement:
            line = "EE " + std::string(tokens.Name(t));
            break;
        case QXmlStreamReader::Characters:
            line = "CH [" + std::string(tokens.Text(t)) + "]" + (t.IsWhitespace() ? " ws" : "") +
                   (t.IsCdata() ? " cdata" : "");
            break;
        case QXmlStreamReader::Comment:
            line = "CM [" + std::string(tokens.Text(t)) + "]";
            break;
        case QXmlStreamReader::ProcessingInstruction:
            line = "PI " + std::string(tokens.Name(t)) + " [" + std::string(tokens.Text(t)) + "]";
            break;
        default:
            line = "?";
            break;
        }
        line += " " + std::to_string(t.line) + ":" + std::to_string(tokens.Column(t)) + "@" +
                std::to_string(t.offset);
        out.push_back(line);
    }
    return out;
}

void ExpectTokens(const QByteArray& document, const std::vector<std::string>& expected)
{
    EXPECT_EQ(Written(document), expected);
    const auto result = Compare(document);
    EXPECT_EQ(result.outcome, Outcome::Agreed) << result.difference;
}

void ExpectFallback(const QByteArray& document, bool qtAccepts)
{
    EXPECT_EQ(Written(document), std::vector<std::string>{"not mine"});
    const auto result = Compare(document);
    EXPECT_EQ(result.outcome, Outcome::FellBack) << result.difference;
    EXPECT_EQ(result.qtAccepted, qtAccepts);
}

} // namespace

TEST(XmlTokenizer, EntitiesAndReferencesInText)
{
    ExpectTokens(
        "<a>x&amp;y&lt;z&gt;&quot;&apos;</a>",
        {"SD   1:2@2", "SE a 1:3@3", "CH [x&y<z>\"'] 1:32@32", "EE a 1:35@35", "ED 1:35@35"});
    ExpectTokens("<a>&#00065;&#x041;&#x4a;</a>",
                 {"SD   1:2@2", "SE a 1:3@3", "CH [AAJ] 1:25@25", "EE a 1:28@28", "ED 1:28@28"});
    ExpectTokens("<a>&#x10FFFF;&#x1F600;</a>",
                 {"SD   1:2@2", "SE a 1:3@3", "CH [\xF4\x8F\xBF\xBF\xF0\x9F\x98\x80] 1:23@23",
                  "EE a 1:26@26", "ED 1:26@26"});
    // A reference makes even a blank text non-blank.
    ExpectTokens("<a> &#32; </a>",
                 {"SD   1:2@2", "SE a 1:3@3", "CH [   ] 1:11@11", "EE a 1:14@14", "ED 1:14@14"});
}

TEST(XmlTokenizer, EntitiesAndReferencesInAttributes)
{
    ExpectTokens("<a x=\"&amp;&lt;&gt;&quot;&apos;&#10;&#x9;&#13;\"/>",
                 {"SD   1:2@2", "SE a x=[&<>\"'\n\t\r] 1:49@49", "EE a 1:49@49", "ED 1:49@49"});
}

TEST(XmlTokenizer, AttributeWhitespaceIsNormalised)
{
    ExpectTokens(
        "<a x=\" a\tb\nc\r\nd\re  \" y='1' />",
        {"SD   1:2@2", "SE a x=[ a b c d e  ] y=[1] 4:13@29", "EE a 4:13@29", "ED 4:13@29"});
}

TEST(XmlTokenizer, LineEnds)
{
    ExpectTokens("<a>\r\nx\ry\r\n</a>",
                 {"SD   1:2@2", "SE a 1:3@3", "CH [\nx\ny\n] 4:1@11", "EE a 4:4@14", "ED 4:4@14"});
    ExpectTokens("<a\r\n>\r\n</a\r\n>",
                 {"SD   1:2@2", "SE a 2:1@5", "CH [\n] ws 3:1@8", "EE a 4:1@13", "ED 4:1@13"});
    ExpectTokens("\n<a/>", {"SD   1:1@1", "SE a 2:4@5", "EE a 2:4@5", "ED 2:4@5"});
    ExpectTokens("<a>\n</a>\r\n",
                 {"SD   1:2@2", "SE a 1:3@3", "CH [\n] ws 2:1@5", "EE a 2:4@8", "ED 3:0@10"});
    // A carriage return that ends the document does not start a line.
    ExpectTokens("<a/>\r\n\r", {"SD   1:2@2", "SE a 1:4@4", "EE a 1:4@4", "ED 2:1@7"});
    ExpectTokens("<a/><!--x-->\r",
                 {"SD   1:2@2", "SE a 1:4@4", "EE a 1:4@4", "CM [x] 1:12@12", "ED 1:13@13"});
    ExpectTokens("<a/>\n\n  ", {"SD   1:2@2", "SE a 1:4@4", "EE a 1:4@4", "ED 3:2@8"});
}

TEST(XmlTokenizer, DeclarationAndByteOrderMark)
{
    ExpectTokens("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<root>\n  <b x=\"1\"/>\n</root>\n",
                 {"SD 1.0 UTF-8 1:38@38", "SE root 2:6@45", "CH [\n  ] ws 3:3@49",
                  "SE b x=[1] 3:12@58", "EE b 3:12@58", "CH [\n] ws 4:1@60", "EE root 4:7@66",
                  "ED 5:0@67"});
    ExpectTokens("<?xml version='1.0' encoding='utf-8' standalone='yes' ?><a/>",
                 {"SD 1.0 utf-8 standalone 1:56@56", "SE a 1:60@60", "EE a 1:60@60", "ED 1:60@60"});
    ExpectTokens("\xEF\xBB\xBF<a/>", {"SD   1:2@2", "SE a 1:4@4", "EE a 1:4@4", "ED 1:4@4"});
    ExpectTokens("\xEF\xBB\xBF<?xml version=\"1.0\"?><a/>",
                 {"SD 1.0  1:21@21", "SE a 1:25@25", "EE a 1:25@25", "ED 1:25@25"});
}

TEST(XmlTokenizer, AStringTakesAnyDeclaredEncoding)
{
    // QXmlStreamReader reads a QString as UTF-8 and only reports the declared encoding.
    const QByteArray document = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a>\xC3\xA9</a>";
    EXPECT_EQ(Written(document, XmlTokens::Source::String),
              (std::vector<std::string>{"SD 1.0 ISO-8859-1 1:43@43", "SE a 1:46@46",
                                        "CH [\xC3\xA9] 1:48@48", "EE a 1:51@51", "ED 1:51@51"}));
    EXPECT_EQ(Compare(document, true).outcome, Outcome::Agreed);
    EXPECT_EQ(Written(document), std::vector<std::string>{"not mine"});
    EXPECT_EQ(Written("<?xml version=\"1.0\" encoding=\"8bit\"?><a/>", XmlTokens::Source::String),
              std::vector<std::string>{"not mine"});
}

TEST(XmlTokenizer, CommentsInstructionsAndCdata)
{
    ExpectTokens("<!--c--><?pi   data  here  ?><a>x<![CDATA[y]]>z<![CDATA[]]></a><?p?>",
                 {"SD   1:2@2", "CM [c] 1:8@8", "PI pi [data  here  ] 1:29@29", "SE a 1:32@32",
                  "CH [x] 1:34@34", "CH [y] cdata 1:46@46", "CH [z] 1:48@48", "CH [] cdata 1:59@59",
                  "EE a 1:63@63", "PI p [] 1:68@68", "ED 1:68@68"});
    ExpectTokens(
        "<a><![CDATA[a\r\nb\rc]]]></a>",
        {"SD   1:2@2", "SE a 1:3@3", "CH [a\nb\nc]] cdata 3:5@22", "EE a 3:9@26", "ED 3:9@26"});
    ExpectTokens("<?xyz?><a/>",
                 {"SD   1:4@4", "PI xyz [] 1:7@7", "SE a 1:11@11", "EE a 1:11@11", "ED 1:11@11"});
    ExpectTokens("<?p a\r\nb?><a/>",
                 {"SD   1:3@3", "PI p [a\nb] 2:3@10", "SE a 2:7@14", "EE a 2:7@14", "ED 2:7@14"});
}

TEST(XmlTokenizer, NonAsciiIsCountedInUtf16Units)
{
    ExpectTokens("<a x=\"\xC3\xA9\xF0\x9F\x98\x80\">\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80x</a>",
                 {"SD   1:2@2", "SE a x=[\xC3\xA9\xF0\x9F\x98\x80] 1:11@11",
                  "CH [\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80x] 1:17@17", "EE a 1:20@20",
                  "ED 1:20@20"});
}

TEST(XmlTokenizer, FallsBackOnWhatItDoesNotHandle)
{
    ExpectFallback("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?><a/>", true);
    ExpectFallback("<!DOCTYPE a><a/>", true);
    ExpectFallback("<a xmlns=\"u\"/>", true);
    ExpectFallback("<a xml:lang=\"en\"/>", true);
    ExpectFallback("<?xml-stylesheet href=\"a\"?><a/>", true);
    ExpectFallback("<a><b></a></b>", false);
    ExpectFallback("<a></b>", false);
    ExpectFallback("<a>", false);
    ExpectFallback("", false);
    ExpectFallback("<a>&foo;</a>", false);
    ExpectFallback("<a>&#0;</a>", false);
    ExpectFallback("<a>]]></a>", false);
    ExpectFallback("<a x=\"1\" x=\"2\"/>", false);
    ExpectFallback("<a>\x01</a>", false);
    ExpectFallback("<a>\xC3</a>", false);
    ExpectFallback("<a:b/>", false);
    ExpectFallback("<a/>x", false);
}

namespace {

// Every document of the repository: files, every corpus input whole, and the documents tests
// and tool tests write inline, as they stand and with their C escapes undone.
std::vector<QByteArray> Documents()
{
    repository::DocumentSet set;
    set.everyCorpusInputWhole = true;
    set.inlineDocuments = true;
    set.inlineAsWrittenToo = true;
    return repository::XmlDocuments(set);
}

QByteArray Mutated(const QByteArray& document, std::mt19937& random)
{
    static const char* const pieces[] = {"&amp;",
                                         "&lt;",
                                         "&gt;",
                                         "&quot;",
                                         "&apos;",
                                         "&#65;",
                                         "&#x20AC;",
                                         "&#10;",
                                         "&#13;",
                                         "&#x1F600;",
                                         "&bogus;",
                                         "<![CDATA[x]]>",
                                         "<![CDATA[]]>",
                                         "<!--c-->",
                                         "<?pi d?>",
                                         "\r\n",
                                         "\r",
                                         "\n",
                                         "\t",
                                         " ",
                                         "\xC3\xA9",
                                         "\xE2\x82\xAC",
                                         "\xF0\x9F\x98\x80",
                                         "<",
                                         ">",
                                         "&",
                                         "]]>",
                                         "\"",
                                         "'",
                                         "<x/>",
                                         "</x>",
                                         "<x a='1'>",
                                         "\xEF\xBB\xBF",
                                         "\xFF"};
    QByteArray out = document;
    const int edits = 1 + int(random() % 3);
    for (int e = 0; e < edits; ++e) {
        const int size = out.size();
        const int at = size ? int(random() % size) : 0;
        switch (random() % 7) {
        case 5:
        case 6: {
            // Into element text, where most insertions stay well formed.
            const int gt = out.indexOf('>', at);
            if (gt >= 0)
                out.insert(gt + 1, pieces[random() % 24]);
            break;
        }
        case 0:
            if (size)
                out[at] = char(out[at] ^ (1 << (random() % 8)));
            break;
        case 1:
            out.truncate(at);
            break;
        case 2:
            out.insert(at, pieces[random() % (sizeof pieces / sizeof *pieces)]);
            break;
        case 3:
            out.remove(at, 1 + int(random() % 8));
            break;
        default:
            out.insert(at, out.mid(int(random() % (size + 1)), 1 + int(random() % 16)));
            break;
        }
    }
    return out;
}

} // namespace

TEST(XmlTokenizer, AgreesWithQXmlStreamReaderOnEveryDocument)
{
    const std::vector<QByteArray> documents = Documents();
    ASSERT_GT(documents.size(), 400u);
    int agreed = 0, qtAccepted = 0;
    for (const QByteArray& document : documents) {
        const auto asString = Compare(document, true);
        ASSERT_NE(asString.outcome, Outcome::Disagreed) << asString.difference << "\n"
                                                        << document.toStdString();
        const auto result = Compare(document);
        ASSERT_NE(result.outcome, Outcome::Disagreed) << result.difference << "\n"
                                                      << document.toStdString();
        agreed += result.outcome == Outcome::Agreed;
        qtAccepted += result.qtAccepted;
    }
    // Every well-formed document of the repository is the tokenizer's own but the one with a
    // namespace.
    EXPECT_EQ(agreed, qtAccepted - 1);
    EXPECT_GE(agreed, 120);
}

TEST(XmlTokenizer, AgreesOnTheBenchmarkDocument)
{
    const QByteArray document = bench::DocumentOf(1000).xml.toUtf8();
    const auto result = Compare(document);
    EXPECT_EQ(result.outcome, Outcome::Agreed) << result.difference;
    EXPECT_EQ(Compare(document, true).outcome, Outcome::Agreed);
    std::mt19937 random(1000);
    for (int i = 0; i < 40; ++i) {
        const QByteArray mutated = Mutated(document, random);
        const auto r = Compare(mutated);
        ASSERT_NE(r.outcome, Outcome::Disagreed) << r.difference;
    }
}

TEST(XmlTokenizer, AgreesOrFallsBackOnMutatedDocuments)
{
    const std::vector<QByteArray> documents = Documents();
    std::mt19937 random(29);
    int agreed = 0, fellBack = 0;
    for (const QByteArray& document : documents) {
        const int rounds = Compare(document).qtAccepted ? 300 : 20;
        for (int i = 0; i < rounds; ++i) {
            const QByteArray mutated = Mutated(document, random);
            const auto result = Compare(mutated, i % 2 == 1);
            ASSERT_NE(result.outcome, Outcome::Disagreed) << result.difference << "\n"
                                                          << mutated.toStdString();
            agreed += result.outcome == Outcome::Agreed;
            fellBack += result.outcome == Outcome::FellBack;
        }
    }
    // Both sides are exercised: many mutations stay well formed, many do not.
    EXPECT_GT(agreed, 2000);
    EXPECT_GT(fellBack, 1000);
}
