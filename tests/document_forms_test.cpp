// The one form detection of the library: every form told apart by its first bytes, UTF-16
// XML in both byte orders with and without a byte-order mark, through the detection itself,
// and IRGObject::EditFile(), and UTF-16 kept by an edit (the model's open: tests/model).

#include "LogCapture.h"

#include <BearingSettings.h>
#include <DocumentForm.h>
#include <SettingsFile.h>

#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace KVT317XML;

namespace {

// An ASCII text as UTF-16 bytes, written out here, never by the library.
QByteArray Utf16(const char* ascii, bool little)
{
    QByteArray bytes;
    for (const char* c = ascii; *c; ++c) {
        bytes.append(little ? *c : '\0');
        bytes.append(little ? '\0' : *c);
    }
    return bytes;
}

const char BearingXml[] = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
                          "<BearingSettings Name=\"n\">\n"
                          "  <Frequency>100.500000000</Frequency>\n"
                          "</BearingSettings>\n";
// The same after an edit that sets the Name to "edited".
const char EditedXml[] = "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
                         "<BearingSettings Name=\"edited\">\n"
                         "  <Frequency>100.500000000</Frequency>\n"
                         "</BearingSettings>\n";

struct Utf16Case {
    const char* name;
    bool little;
    bool mark;
};
const Utf16Case Utf16Cases[] = {{"LE with mark", true, true},
                                {"BE with mark", false, true},
                                {"LE without mark", true, false},
                                {"BE without mark", false, false}};

QByteArray Utf16Document(const Utf16Case& form, const char* text)
{
    const QByteArray mark = form.little ? QByteArray("\xFF\xFE") : QByteArray("\xFE\xFF");
    return (form.mark ? mark : QByteArray()) + Utf16(text, form.little);
}

QString WriteFile(const QTemporaryDir& dir, const char* name, const QByteArray& bytes)
{
    const QString path = dir.filePath(QLatin1String(name));
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    return path;
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
}

void ExpectForm(const QByteArray& bytes, DocumentForm form, TextEncoding encoding, bool mark)
{
    const DetectedForm found = DetectDocumentForm(bytes);
    EXPECT_EQ(found.form, form);
    EXPECT_EQ(found.encoding, encoding);
    EXPECT_EQ(found.byteOrderMark, mark);
}

} // namespace

TEST(DocumentForms, EachFormIsToldByItsFirstBytes)
{
    ExpectForm("<?xml version=\"1.0\"?><a/>", DocumentForm::Xml, TextEncoding::Utf8, false);
    ExpectForm(" \r\n\t<a/>", DocumentForm::Xml, TextEncoding::Utf8, false);
    ExpectForm("\xEF\xBB\xBF<a/>", DocumentForm::Xml, TextEncoding::Utf8, true);
    ExpectForm(QByteArray("\xFF\xFE<\0a\0/\0>\0", 10), DocumentForm::Xml,
               TextEncoding::Utf16LittleEndian, true);
    ExpectForm(QByteArray("\xFE\xFF\0<\0a\0/\0>", 10), DocumentForm::Xml,
               TextEncoding::Utf16BigEndian, true);
    ExpectForm(QByteArray("<\0a\0/\0>\0", 8), DocumentForm::Xml, TextEncoding::Utf16LittleEndian,
               false);
    ExpectForm(QByteArray("\0<\0a\0/\0>", 8), DocumentForm::Xml, TextEncoding::Utf16BigEndian,
               false);
    ExpectForm(QByteArray(" \0<\0a\0>\0", 8), DocumentForm::Xml, TextEncoding::Utf16LittleEndian,
               false);
    ExpectForm("{\"BearingSettings\": {}}", DocumentForm::Json, TextEncoding::Utf8, false);
    ExpectForm("\n [1]", DocumentForm::Json, TextEncoding::Utf8, false);
    ExpectForm(QByteArray("\xFF\xFE{\0}\0", 6), DocumentForm::Json, TextEncoding::Utf16LittleEndian,
               true);
    ExpectForm("KVTZ\x78\x9C", DocumentForm::Compressed, TextEncoding::Utf8, false);
    ExpectForm(QByteArray("\x85\x6C\x98\x96\0\0\0\x08", 8), DocumentForm::Binary,
               TextEncoding::Utf8, false);
    ExpectForm(QByteArray("\0\0\0\x08", 4), DocumentForm::Binary, TextEncoding::Utf8, false);
    ExpectForm("", DocumentForm::Binary, TextEncoding::Utf8, false);
}

TEST(DocumentForms, OneEnumerationWithItsNames)
{
    EXPECT_EQ(DocumentFormName(DocumentForm::Xml), QStringLiteral("XML"));
    EXPECT_EQ(DocumentFormName(DocumentForm::Json), QStringLiteral("JSON"));
    EXPECT_EQ(DocumentFormName(DocumentForm::Binary), QStringLiteral("binary"));
    EXPECT_EQ(DocumentFormName(DocumentForm::Compressed), QStringLiteral("compressed binary"));
    EXPECT_EQ(TextEncodingName(TextEncoding::Utf16BigEndian), QStringLiteral("UTF-16BE"));
    DocumentForm form = DocumentForm::Xml;
    EXPECT_TRUE(DocumentFormFromName(QStringLiteral("binz"), form));
    EXPECT_EQ(form, DocumentForm::Compressed);
    EXPECT_FALSE(DocumentFormFromName(QStringLiteral("yaml"), form));
    EXPECT_EQ(form, DocumentForm::Compressed);
    EXPECT_TRUE(DocumentFormFromFileName(QStringLiteral("a/b.JSON"), form));
    EXPECT_EQ(form, DocumentForm::Json);
    EXPECT_FALSE(DocumentFormFromFileName(QStringLiteral("b.txt"), form));
}

TEST(DocumentForms, Utf16TextIsDecodedAndEncodedInItsByteOrder)
{
    for (const Utf16Case& form : Utf16Cases) {
        SCOPED_TRACE(form.name);
        const QByteArray bytes = Utf16Document(form, BearingXml);
        const DetectedForm found = DetectDocumentForm(bytes);
        EXPECT_EQ(DecodeDocumentText(bytes, found), QString::fromLatin1(BearingXml));
        const QString utf8Declared =
            QString::fromLatin1(BearingXml)
                .replace(QStringLiteral("UTF-16"), QStringLiteral("UTF-8"));
        EXPECT_EQ(EncodeDocumentText(utf8Declared, found.encoding, found.byteOrderMark), bytes);
    }
    EXPECT_EQ(EncodeDocumentText(QStringLiteral("<?xml version='1.0' encoding='UTF-16'?><a/>"),
                                 TextEncoding::Utf8, true),
              QByteArray("\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-8'?><a/>"));
}

TEST(DocumentForms, EditFileKeepsUtf16XmlInItsEncodingAndMark)
{
    QTemporaryDir dir;
    for (const Utf16Case& form : Utf16Cases) {
        SCOPED_TRACE(form.name);
        const QString path = WriteFile(dir, "bearing.xml", Utf16Document(form, BearingXml));
        BearingSettings bearing;
        LogCapture log;
        bearing.SetLogger(log.logger);
        ASSERT_TRUE(bearing.EditFile(path, [&bearing](REPORTGENERATOR::IRGObject&) {
            EXPECT_EQ(bearing.GetName(), QStringLiteral("n"));
            EXPECT_EQ(bearing.GetFrequency(), 100.5);
            bearing.SetName(QStringLiteral("edited"));
            return true;
        }));
        EXPECT_EQ(FileBytes(path), Utf16Document(form, EditedXml));
        EXPECT_EQ(log.lines, QStringList());
    }
}

TEST(DocumentForms, EditFileRefusesJsonWithItsReason)
{
    QTemporaryDir dir;
    const QByteArray json = "{\"BearingSettings\": {\"Frequency\": 1}}\n";
    const QString path = WriteFile(dir, "bearing.json", json);
    BearingSettings bearing;
    LogCapture log;
    bearing.SetLogger(log.logger);
    EXPECT_FALSE(bearing.EditFile(path, [](REPORTGENERATOR::IRGObject&) { return true; }));
    EXPECT_EQ(log.lines, QStringList(QStringLiteral("ERROR: Cannot edit '%1': it is a JSON "
                                                    "document, which the record base does not "
                                                    "read; KVT317XML::ReadJsonDocument() reads it")
                                         .arg(path)));
    EXPECT_EQ(FileBytes(path), json);
}

TEST(DocumentForms, EditFileKeepsTheByteOrderMarkOfUtf8)
{
    QTemporaryDir dir;
    const QByteArray utf8 = QByteArray(BearingXml).replace("UTF-16", "UTF-8");
    const QString path = WriteFile(dir, "bearing.xml", "\xEF\xBB\xBF" + utf8);
    BearingSettings bearing;
    ASSERT_TRUE(bearing.EditFile(path, [&bearing](REPORTGENERATOR::IRGObject&) {
        bearing.SetName(QStringLiteral("edited"));
        return true;
    }));
    EXPECT_EQ(FileBytes(path), "\xEF\xBB\xBF" + QByteArray(EditedXml).replace("UTF-16", "UTF-8"));
}
