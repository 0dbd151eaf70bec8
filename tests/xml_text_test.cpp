// Texts in XML: what QXmlStreamWriter and QXmlStreamReader do on their own (the same on Qt
// 5.15 and Qt 6), and the writers that carry every text exactly or make the loss visible.

#include "TestSupport.h"

#include <XmlText.h>

#include <QBuffer>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <gtest/gtest.h>

using REPORTGENERATOR::XmlText;

namespace {

// The bytes a writer produces on a memory device; `write` adds the content.
template <class Write> QByteArray Written(Write write, bool* error = nullptr)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QXmlStreamWriter writer(&buffer);
    write(writer);
    if (error)
        *error = writer.hasError();
    return bytes;
}

// The text of the first element <T>, and the value of its attribute A, as the reader gives
// them; `fault` gets the reader's error.
struct ReadBack {
    QString text;
    QString attribute;
    QString fault;
};

ReadBack Read(const QByteArray& document)
{
    ReadBack result;
    QXmlStreamReader reader(document);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.name() == QLatin1String("T")) {
            result.attribute = reader.attributes().value(QLatin1String("A")).toString();
            result.text = reader.readElementText();
        }
    }
    if (reader.hasError())
        result.fault = reader.errorString();
    return result;
}

QString Text(std::initializer_list<char16_t> units)
{
    QString text;
    for (const char16_t unit : units)
        text.append(QChar(unit));
    return text;
}

} // namespace

TEST(XmlTextQt, WriterEscapesTabNewlineAndCarriageReturnInAttributesOnly)
{
    const QString text = QStringLiteral(" a\tb\nc\rd ");
    const QByteArray bytes = Written([&](QXmlStreamWriter& writer) {
        writer.writeStartElement(QStringLiteral("T"));
        writer.writeAttribute(QStringLiteral("A"), text);
        writer.writeCharacters(text);
        writer.writeEndElement();
    });
    EXPECT_EQ(bytes, QByteArray("<T A=\" a&#9;b&#10;c&#13;d \"> a\tb\nc\rd </T>"));
    const ReadBack back = Read(bytes);
    EXPECT_EQ(back.attribute, text);
    // The reader turns the literal carriage return of element text into a line feed.
    EXPECT_EQ(back.text, QStringLiteral(" a\tb\nc\nd "));
    EXPECT_EQ(Read("<T>a\r\nb</T>").text, QStringLiteral("a\nb"));
}

TEST(XmlTextQt, WriterDropsWhatXmlCannotCarryAndRaisesItsError)
{
    for (const char16_t unit : {u'\x01', u'\x1f', u'\x00', u'\xfffe', u'\xffff'}) {
        const QString text = Text({u'x', unit, u'y'});
        bool error = false;
        const QByteArray bytes = Written(
            [&](QXmlStreamWriter& writer) {
                writer.writeStartElement(QStringLiteral("T"));
                writer.writeAttribute(QStringLiteral("A"), text);
                writer.writeCharacters(text);
                writer.writeEndElement();
            },
            &error);
        EXPECT_EQ(bytes, QByteArray("<T A=\"xy\">xy</T>")) << int(unit);
        EXPECT_TRUE(error) << int(unit);
    }
}

TEST(XmlTextQt, UnpairedSurrogateSpoilsTheRestOfADeviceDocument)
{
    bool error = false;
    const QByteArray bytes = Written(
        [](QXmlStreamWriter& writer) {
            writer.writeStartElement(QStringLiteral("R"));
            writer.writeTextElement(QStringLiteral("T"), Text({u'x', 0xD800, u'y'}));
            writer.writeTextElement(QStringLiteral("U"), QStringLiteral("u"));
            writer.writeEndElement();
        },
        &error);
    EXPECT_TRUE(error);
    EXPECT_EQ(bytes, QByteArray("<R><T></><></></>"));
}

TEST(XmlTextQt, ReaderRefusesReferencesToWhatXmlCannotCarry)
{
    EXPECT_EQ(Read("<T>&#1;</T>").fault, QStringLiteral("Invalid character reference."));
    EXPECT_EQ(Read("<T>&#65535;</T>").fault, QStringLiteral("Invalid character reference."));
    EXPECT_EQ(Read("<T>&#55296;</T>").fault, QStringLiteral("Invalid character reference."));
    EXPECT_EQ(Read("<T A=\"&#2;\"/>").fault, QStringLiteral("Invalid character reference."));
    EXPECT_FALSE(Read("<T>\x01</T>").fault.isEmpty());
    EXPECT_EQ(Read("<T>&#13;&#9;&#10;</T>").text, QStringLiteral("\r\t\n"));
}

TEST(XmlText, WhatXmlCanCarry)
{
    EXPECT_TRUE(XmlText::IsXmlCharacter('\t'));
    EXPECT_TRUE(XmlText::IsXmlCharacter('\n'));
    EXPECT_TRUE(XmlText::IsXmlCharacter('\r'));
    EXPECT_TRUE(XmlText::IsXmlCharacter(' '));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0x7F));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0x85));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0xD7FF));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0xE000));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0xFFFD));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0x10000));
    EXPECT_TRUE(XmlText::IsXmlCharacter(0x10FFFF));
    for (const uint code : {0x0u, 0x1u, 0x8u, 0xBu, 0xCu, 0x1Fu, 0xD800u, 0xDBFFu, 0xDC00u, 0xDFFFu,
                            0xFFFEu, 0xFFFFu, 0x110000u})
        EXPECT_FALSE(XmlText::IsXmlCharacter(code)) << code;
}

TEST(XmlText, FirstUnwritableGivesPositionAndCode)
{
    uint code = 0;
    EXPECT_EQ(XmlText::FirstUnwritable(QStringLiteral(" a\tb\r\nc "), &code), -1);
    EXPECT_EQ(XmlText::FirstUnwritable(QString()), -1);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({u'a', u'b', 0x01, 0x02}), &code), 2);
    EXPECT_EQ(code, 1u);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({u'a', 0xFFFE}), &code), 1);
    EXPECT_EQ(code, 0xFFFEu);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({0xFFFF}), &code), 0);
    EXPECT_EQ(code, 0xFFFFu);
    // A pair is one character; a surrogate on its own is not.
    EXPECT_EQ(XmlText::FirstUnwritable(Text({0xD83D, 0xDE00, u'x'}), &code), -1);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({0xD83D, 0xDE00, 0xD83D}), &code), 2);
    EXPECT_EQ(code, 0xD83Du);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({u'x', 0xDE00, 0xD83D}), &code), 1);
    EXPECT_EQ(code, 0xDE00u);
    EXPECT_EQ(XmlText::FirstUnwritable(Text({0xD83D, u'x'}), &code), 0);
    EXPECT_EQ(code, 0xD83Du);
}

TEST(XmlText, CodeName)
{
    EXPECT_EQ(XmlText::CodeName(1), QStringLiteral("U+0001"));
    EXPECT_EQ(XmlText::CodeName(0x1F), QStringLiteral("U+001F"));
    EXPECT_EQ(XmlText::CodeName(0xFFFE), QStringLiteral("U+FFFE"));
    EXPECT_EQ(XmlText::CodeName(0xD800), QStringLiteral("U+D800"));
    EXPECT_EQ(XmlText::CodeName(0x1F600), QStringLiteral("U+1F600"));
}

TEST(XmlText, PlainTextsAreWrittenAsByTheWriterItself)
{
    for (const QString& text : {QString(), QStringLiteral(""), QStringLiteral("a < b & c > d"),
                                QStringLiteral(" x\ty\nz "), QStringLiteral("\u00e4\u20ac")}) {
        const auto own = [&](QXmlStreamWriter& writer) {
            writer.setAutoFormatting(true);
            writer.writeStartElement(QStringLiteral("R"));
            writer.writeTextElement(QStringLiteral("T"), text);
            writer.writeEndElement();
        };
        const auto helper = [&](QXmlStreamWriter& writer) {
            writer.setAutoFormatting(true);
            writer.writeStartElement(QStringLiteral("R"));
            XmlText::WriteTextElement(writer, QStringLiteral("T"), text);
            writer.writeEndElement();
        };
        EXPECT_EQ(Written(helper), Written(own)) << text.toStdString();
    }
    const QByteArray expected("<T A=\" a&#9;b&#10;c&#13;d \"/>\n");
    EXPECT_EQ(Written([](QXmlStreamWriter& writer) {
                  writer.writeEmptyElement(QStringLiteral("T"));
                  XmlText::WriteAttribute(writer, QStringLiteral("A"),
                                          QStringLiteral(" a\tb\nc\rd "));
                  writer.writeEndDocument();
              }),
              expected);
}

TEST(XmlText, CarriageReturnsBecomeReferences)
{
    bool error = true;
    const QByteArray bytes = Written(
        [](QXmlStreamWriter& writer) {
            writer.setAutoFormatting(true);
            writer.setAutoFormattingIndent(2);
            writer.writeStartDocument();
            writer.writeStartElement(QStringLiteral("R"));
            XmlText::WriteTextElement(writer, QStringLiteral("T"), QStringLiteral("\r a\r\nb \r"));
            XmlText::WriteTextElement(writer, QStringLiteral("U"), QStringLiteral("\r"));
            writer.writeEndElement();
            writer.writeEndDocument();
        },
        &error);
    EXPECT_FALSE(error);
    EXPECT_EQ(bytes, QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<R>\n"
                                "  <T>&#13; a&#13;\nb &#13;</T>\n"
                                "  <U>&#13;</U>\n"
                                "</R>\n"));
}

TEST(XmlText, EveryWritableTextComesBackByteForByte)
{
    const QStringList texts{
        QStringLiteral("\r"),         QStringLiteral("\r\n"),     QStringLiteral("\n\r"),
        QStringLiteral("\t"),         QStringLiteral(" "),        QStringLiteral("  lead"),
        QStringLiteral("trail  "),    QStringLiteral(" \t\r\n "), QStringLiteral("a\rb\rc"),
        QStringLiteral("<&>\"'"),     QStringLiteral("]]>"),      QStringLiteral("\u00e4\r\u20ac"),
        Text({0xD83D, 0xDE00, u'\r'})};
    for (const QString& text : texts) {
        const QByteArray bytes = Written([&](QXmlStreamWriter& writer) {
            writer.setAutoFormatting(true);
            writer.writeStartDocument();
            writer.writeStartElement(QStringLiteral("R"));
            writer.writeStartElement(QStringLiteral("T"));
            XmlText::WriteAttribute(writer, QStringLiteral("A"), text);
            writer.writeEndElement();
            XmlText::WriteTextElement(writer, QStringLiteral("T"), text);
            writer.writeEndElement();
            writer.writeEndDocument();
        });
        QXmlStreamReader reader(bytes);
        QStringList values;
        while (!reader.atEnd()) {
            reader.readNext();
            if (reader.isStartElement() && reader.name() == QLatin1String("T")) {
                if (reader.attributes().hasAttribute(QLatin1String("A")))
                    values << reader.attributes().value(QLatin1String("A")).toString();
                values << reader.readElementText();
            }
        }
        EXPECT_FALSE(reader.hasError()) << text.toStdString();
        EXPECT_EQ(values, (QStringList{text, QString(), text})) << text.toStdString();
    }
}

TEST(XmlText, UnwritableCharactersInElementTextBecomeReferencesThatReadersRefuse)
{
    bool error = true;
    const QByteArray bytes = Written(
        [](QXmlStreamWriter& writer) {
            writer.writeStartElement(QStringLiteral("R"));
            XmlText::WriteTextElement(writer, QStringLiteral("T"),
                                      Text({u'a', 0x01, u'b', 0xFFFE, 0xD800, u'\r', 0xDC00}));
            XmlText::WriteTextElement(writer, QStringLiteral("U"), QStringLiteral("u"));
            writer.writeEndElement();
        },
        &error);
    EXPECT_FALSE(error);
    EXPECT_EQ(bytes, QByteArray("<R><T>a&#1;b&#65534;&#55296;&#13;&#56320;</T><U>u</U></R>"));
    EXPECT_EQ(Read(bytes).fault, QStringLiteral("Invalid character reference."));
}

TEST(XmlText, UnwritableCharactersInAttributesAreLeftOutAndRaiseTheWritersError)
{
    for (const QString& value : {Text({u'x', 0x01, u'y'}), Text({u'x', 0xD800, u'y'}),
                                 Text({u'x', 0xDC00, u'y'}), Text({u'x', 0xFFFF, u'y'})}) {
        bool error = false;
        const QByteArray bytes = Written(
            [&](QXmlStreamWriter& writer) {
                writer.writeStartElement(QStringLiteral("R"));
                XmlText::WriteAttribute(writer, QStringLiteral("A"), value);
                XmlText::WriteTextElement(writer, QStringLiteral("U"), QStringLiteral("u"));
                writer.writeEndElement();
            },
            &error);
        EXPECT_TRUE(error);
        EXPECT_EQ(bytes, QByteArray("<R A=\"xy\"><U>u</U></R>"));
    }
    // A pair is written as it stands.
    bool error = true;
    EXPECT_EQ(Written(
                  [](QXmlStreamWriter& writer) {
                      writer.writeEmptyElement(QStringLiteral("R"));
                      XmlText::WriteAttribute(writer, QStringLiteral("A"), Text({0xD83D, 0xDE00}));
                      writer.writeEndDocument();
                  },
                  &error),
              QByteArray("<R A=\"\xf0\x9f\x98\x80\"/>\n"));
    EXPECT_FALSE(error);
}
