// The model opens every form through the library's one detection: UTF-16 XML in both byte
// orders, with and without a byte-order mark, JSON and binary.

#include <BearingSettings.h>
#include <SettingsDocument.h>
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

} // namespace

TEST(ModelDocumentForms, TheModelOpensEveryForm)
{
    QTemporaryDir dir;
    for (const Utf16Case& form : Utf16Cases) {
        SCOPED_TRACE(form.name);
        const QString path = WriteFile(dir, "bearing.xml", Utf16Document(form, BearingXml));
        const LoadedDocument loaded = LoadSettingsDocument(path);
        ASSERT_TRUE(loaded.record) << loaded.error.toStdString();
        EXPECT_EQ(loaded.form, DocumentForm::Xml);
        EXPECT_EQ(loaded.detected.encoding,
                  form.little ? TextEncoding::Utf16LittleEndian : TextEncoding::Utf16BigEndian);
        EXPECT_EQ(loaded.record->GetDescription().name, QStringLiteral("BearingSettings"));
        EXPECT_EQ(loaded.record->MemberText(
                      loaded.record->GetDescription().FindName(QStringLiteral("Frequency"))->bit),
                  QStringLiteral("100.500000000"));
    }
    const QString json = WriteFile(dir, "bearing.json",
                                   "{\"BearingSettings\": {\"Name\": \"j\", \"Frequency\": 2}}");
    const LoadedDocument loaded = LoadSettingsDocument(json);
    ASSERT_TRUE(loaded.record) << loaded.error.toStdString();
    EXPECT_EQ(loaded.form, DocumentForm::Json);
    EXPECT_EQ(loaded.record->MemberText(
                  loaded.record->GetDescription().FindName(QStringLiteral("Name"))->bit),
              QStringLiteral("j"));
    const QString binary =
        WriteFile(dir, "bearing.bin",
                  BearingSettings(*static_cast<const BearingSettings*>(loaded.record.get()))
                      .GetBinaryRepresentationAsQByteArray());
    EXPECT_EQ(LoadSettingsDocument(binary).form, DocumentForm::Binary);
}

TEST(ModelDocumentForms, JsonFindingsArePlacedAtTheirKeys)
{
    QTemporaryDir dir;
    const QString path = WriteFile(dir, "bearing.json",
                                   "{\"BearingSettings\": {\n"
                                   "  \"Frequency\": 2,\n"
                                   "  \"Colour\": \"red\"\n"
                                   "}}\n");
    const LoadedDocument loaded = LoadSettingsDocument(path);
    ASSERT_TRUE(loaded.record) << loaded.error.toStdString();
    ASSERT_EQ(loaded.findings.size(), 1u);
    const ReadFinding& finding = loaded.findings.front();
    EXPECT_EQ(finding.kind, FindingKind::UnknownElement);
    EXPECT_EQ(finding.position.line, 3);
    EXPECT_EQ(finding.position.column, 3);
    EXPECT_EQ(finding.message, QStringLiteral("unknown member 'Colour' (ignored)"));
    EXPECT_EQ(finding.text, QStringLiteral("Colour"));

    const QString broken = WriteFile(dir, "broken.json", "{\"BearingSettings\": 1}");
    const LoadedDocument refused = LoadSettingsDocument(broken);
    EXPECT_FALSE(refused.record);
    EXPECT_EQ(refused.error,
              QStringLiteral("%1:1:1: expected an object with one member, named after the record "
                             "type (KVT317_Settings, KVT317SettingsDetail, BearingSettings, "
                             "FrequencyRange), whose value is an object")
                  .arg(broken));
}

// A plain save of a UTF-16 file keeps it UTF-16, in its byte order, with its mark or without.
TEST(ModelDocumentForms, APlainSaveKeepsUtf16)
{
    QTemporaryDir dir;
    for (const Utf16Case& form : Utf16Cases) {
        SCOPED_TRACE(form.name);
        const QString path = WriteFile(dir, "bearing.xml", Utf16Document(form, BearingXml));
        const LoadedDocument loaded = LoadSettingsDocument(path);
        ASSERT_TRUE(loaded.record) << loaded.error.toStdString();
        SaveReport report;
        ASSERT_TRUE(SaveSettingsDocument(*loaded.record, path, loaded.detected, &report,
                                         SaveFaults::Accept))
            << report.error.toStdString();
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), Utf16Document(form, BearingXml));
    }
}

// The model saves under the library's rule: a save that would change what the document holds
// is refused, and written only when the caller accepts it.
TEST(ModelDocumentForms, ASaveThatWouldChangeAValueIsRefusedUnlessAccepted)
{
    QTemporaryDir dir;
    const char* const finer = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<BearingSettings Name=\"n\">\n"
                              "  <Frequency>100.5000000001</Frequency>\n"
                              "</BearingSettings>\n";
    const QString path = WriteFile(dir, "bearing.xml", finer);
    const LoadedDocument loaded = LoadSettingsDocument(path);
    ASSERT_TRUE(loaded.record) << loaded.error.toStdString();
    SaveReport report;
    EXPECT_FALSE(SaveSettingsDocument(*loaded.record, path, loaded.detected, &report));
    EXPECT_EQ(report.error,
              QStringLiteral("writing would change what the document holds (1 change(s)); the "
                             "first: BearingSettings would change on writing: it holds numbers "
                             "with more decimals than are written"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray(finer));
    file.close();
    EXPECT_TRUE(
        SaveSettingsDocument(*loaded.record, path, loaded.detected, &report, SaveFaults::Accept))
        << report.error.toStdString();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), QByteArray("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                         "<BearingSettings Name=\"n\">\n"
                                         "  <Frequency>100.500000000</Frequency>\n"
                                         "</BearingSettings>\n"));
}
