// Whole-document XML loads read through the library's tokenizer where it takes the document
// and through QXmlStreamReader otherwise; both must give exactly the same. These tests load
// every document of the repository, generated ones and mutations of both through each way
// and compare record, reports, findings and entries with their positions.

#include "RepositoryDocuments.h"
#include "XmlPathsCompare.h"

#include <Documents.h>
#include <XmlTokenizer.h>

#include <QDirIterator>
#include <QFile>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

using xmlpathscompare::Difference;
using xmlpathscompare::Options;

namespace {

QByteArray Example(const char* name)
{
    return repository::FileBytes(QStringLiteral(KVT317_SOURCE_DIR "/examples/") +
                                 QLatin1String(name));
}

// Every XML document of the repository: files, the XML fuzz corpora and documents written
// inline.
std::vector<QByteArray> RepositoryDocuments()
{
    repository::DocumentSet set;
    set.inlineDocuments = true;
    return repository::XmlDocuments(set);
}

// The record kind a document's root names; 0 when none.
int KindOf(const QByteArray& document)
{
    if (document.contains("<BearingSettings"))
        return 1;
    if (document.contains("<KVT317SettingsDetail") && !document.contains("<KVT317_Settings"))
        return 2;
    return 0;
}

// The loads a document is compared in.
void ExpectSameEveryWay(const QByteArray& document)
{
    const int kind = KindOf(document);
    const QByteArray before[] = {
        Example("settings.xml"), Example("bearing-settings.xml"),
        QByteArray("<KVT317SettingsDetail><BlockAveragingTime>1</BlockAveragingTime>"
                   "</KVT317SettingsDetail>")};
    for (int k = 0; k < 3; ++k)
        for (int variant = 0; variant < 4; ++variant) {
            Options options;
            options.kind = k;
            options.validate = variant & 1;
            options.observe = variant & 2;
            ASSERT_EQ(Difference(document, options), "") << document.toStdString();
        }
    Options options;
    options.kind = kind;
    options.observe = true;
    options.reset = false;
    options.before = before[kind];
    ASSERT_EQ(Difference(document, options), "") << document.toStdString();
    options.reset = true;
    options.before.clear();
    options.file = true;
    ASSERT_EQ(Difference(document, options), "") << document.toStdString();
}

bool Tokenized(const QByteArray& document)
{
    REPORTGENERATOR::XmlTokens tokens;
    return tokens.Tokenize(QString::fromUtf8(document).toUtf8(),
                           REPORTGENERATOR::XmlTokens::Source::String);
}

QByteArray Mutated(const QByteArray& document, std::mt19937& random)
{
    static const char* const pieces[] = {
        "&amp;",      "&lt;",     "&#65;",        "&#x1F600;", "<![CDATA[x]]>",
        "<!-- c -->", "<?pi d?>", "\r\n",         "\r",        "\t",
        " ",          "<x/>",     "<x>t</x>",     "</x>",      "<Unknown a=\"1\">z</Unknown>",
        "text",       "\xC3\xA9", "\xEF\xBB\xBF", "<",         ">",
        "\"",         "=",        "a=\"b\"",      "nan",       "1e999"};
    QByteArray mutated = document;
    const int edits = 1 + int(random() % 3);
    for (int i = 0; i < edits && !mutated.isEmpty(); ++i) {
        const int at = int(random() % std::uint32_t(mutated.size()));
        switch (random() % 3) {
        case 0:
            mutated.insert(at, pieces[random() % (sizeof(pieces) / sizeof(*pieces))]);
            break;
        case 1:
            mutated.remove(at, 1 + int(random() % 4));
            break;
        default:
            mutated[at] = char(random() % 128);
            break;
        }
    }
    return mutated;
}

} // namespace

TEST(XmlPaths, AgreeOnEveryRepositoryDocument)
{
    const std::vector<QByteArray> documents = RepositoryDocuments();
    ASSERT_GT(documents.size(), 300u);
    int tokenized = 0;
    for (const QByteArray& document : documents) {
        tokenized += Tokenized(document);
        ExpectSameEveryWay(document);
        if (HasFatalFailure())
            return;
    }
    // Most of them go the tokenizer's way, so that the comparison compares two ways.
    EXPECT_GT(tokenized, int(documents.size()) / 2);
}

TEST(XmlPaths, AgreeOnMutatedDocuments)
{
    const std::vector<QByteArray> documents = RepositoryDocuments();
    std::mt19937 random(317);
    int tokenized = 0, total = 0;
    for (const QByteArray& document : documents)
        for (int i = 0; i < 4; ++i) {
            const QByteArray mutated = Mutated(document, random);
            tokenized += Tokenized(mutated);
            ++total;
            ExpectSameEveryWay(mutated);
            if (HasFatalFailure())
                return;
        }
    // Most mutations make a document malformed; enough of them stay the tokenizer's.
    EXPECT_GT(tokenized, total / 20);
}

TEST(XmlPaths, AgreeOnGeneratedDocuments)
{
    for (const int size : {1, 20, 200}) {
        const QByteArray document = bench::DocumentOf(size).xml.toUtf8();
        ASSERT_TRUE(Tokenized(document));
        ExpectSameEveryWay(document);
        std::mt19937 random(size);
        for (int i = 0; i < 30; ++i)
            ExpectSameEveryWay(Mutated(document, random));
    }
}

TEST(XmlPaths, TheExamplesAreTokenized)
{
    EXPECT_TRUE(Tokenized(Example("settings.xml")));
    EXPECT_TRUE(Tokenized(Example("bearing-settings.xml")));
}

TEST(XmlPaths, AgreeOnTextsThatAreNoUtf16)
{
    // A lone surrogate has no UTF-8: such a text is read by QXmlStreamReader alone.
    for (const char16_t* text :
         {u"<KVT317SettingsDetail><Name>a\xD800</Name></KVT317SettingsDetail>",
          u"<KVT317SettingsDetail><Name>a\xDC00</Name></KVT317SettingsDetail>",
          u"<KVT317SettingsDetail><Name>\xD83D\xDE00</Name></KVT317SettingsDetail>"}) {
        const QString xml = QString::fromUtf16(text);
        QStringList reports[2];
        for (const bool qtOnly : {false, true}) {
            REPORTGENERATOR::SetXmlStreamReaderOnly(qtOnly);
            KVT317XML::KVT317SettingsDetail detail;
            detail.SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
                [&](REPORTGENERATOR::LogLevel, const QString& m) { reports[qtOnly] << m; }));
            reports[qtOnly] << QString::number(detail.SetXmlString(xml, true));
        }
        REPORTGENERATOR::SetXmlStreamReaderOnly(false);
        EXPECT_EQ(reports[0], reports[1]);
    }
}

namespace {

// A class of a user's that reads its members itself: its override is called on every load.
class CountingDetail : public KVT317XML::KVT317SettingsDetail
{
public:
    int elements = 0;

protected:
    void ProcessXmlStartElement(QXmlStreamReader& reader) override
    {
        ++elements;
        KVT317SettingsDetail::ProcessXmlStartElement(reader);
    }
};

} // namespace

TEST(XmlPaths, ARecordClassOfAUsersReadsThroughItsOwnCode)
{
    CountingDetail detail;
    ASSERT_TRUE(detail.SetXmlString(
        QStringLiteral("<KVT317SettingsDetail><BlockAveragingTime>7</BlockAveragingTime>"
                       "<Unknown/></KVT317SettingsDetail>"),
        true));
    EXPECT_EQ(detail.elements, 2);
    EXPECT_EQ(detail.MemberText(
                  detail.GetDescription().FindName(QStringLiteral("BlockAveragingTime"))->bit),
              QStringLiteral("7"));
}

// Whole numbers, numbers and names are set from the token's bytes where their text is plain;
// every other text goes through its conversion. Both ways agree with QXmlStreamReader's.
TEST(XmlPaths, AgreeOnNumberAndNameTextsAtTheEdgesOfTheirPlainForms)
{
    const std::vector<QByteArray> texts = {
        "+5", "-0", "007", "999999999", "-999999999", "1000000000", "2147483648", "-2147483649",
        " 5", "5 ", "5.", ".5", "+.5", "-.25", "1.125", "12.345678901234567", "1e3", "0x10", "+",
        "-", "", "VERT", "vert", "VERT ", "\xD9\xA3",
        // A leading U+FEFF stays in an XML text, where QString::fromUtf8 would drop it.
        QByteArray("\xEF\xBB\xBF") + "5", QByteArray("\xEF\xBB\xBF") + "2026-11-30T18:00:00,000Z"};
    for (const QByteArray& value : texts) {
        const QByteArray document = "<KVT317SettingsDetail><AntennaPol>" + value +
                                    "</AntennaPol><FrequencyRange><StartFrequency>" + value +
                                    "</StartFrequency></FrequencyRange><Threshold>" + value +
                                    "</Threshold><StopTime>" + value +
                                    "</StopTime><AttenuationHoldValue>" + value +
                                    "</AttenuationHoldValue></KVT317SettingsDetail>";
        ASSERT_TRUE(Tokenized(document)) << value.toStdString();
        ExpectSameEveryWay(document);
    }
}

TEST(XmlPaths, PlainTextsReadTheirValuesObservedOrNot)
{
    const QString xml = QStringLiteral(
        "<KVT317SettingsDetail><AntennaPol>HOR</AntennaPol><FrequencyRange>"
        "<StartFrequency>-0.25</StartFrequency></FrequencyRange><Threshold>+5</Threshold>"
        "<AttenuationHoldValue>+.5</AttenuationHoldValue></KVT317SettingsDetail>");
    for (const bool observed : {false, true}) {
        KVT317XML::KVT317SettingsDetail detail;
        detail.SetLogger(nullptr);
        KVT317XML::ReadFindings findings;
        {
            std::unique_ptr<KVT317XML::ObserveReading> observing;
            if (observed)
                observing = std::make_unique<KVT317XML::ObserveReading>(findings);
            ASSERT_TRUE(detail.SetXmlString(xml, true));
        }
        EXPECT_EQ(detail.GetThreshold(), 5);
        EXPECT_EQ(detail.GetAttenuationHoldValue(), 0.5f);
        EXPECT_EQ(detail.GetFrequencyRange().GetStartFrequency(), -0.25);
        EXPECT_EQ(detail.GetAntennaPol(), KVT317XML::KVT317SettingsDetail::AntennaPol_HOR);
        EXPECT_TRUE(findings.Findings().empty());
    }
}
