// The binary reader reads a document from its bytes at once where the stream's device is a
// buffer or a file, and field by field through QDataStream otherwise. Both must give the
// same records, reports, findings, offsets and stream state: replayed here over the fuzz
// corpora, the example and schema documents, generated documents and every truncation and
// byte change of a small one.

#include "BinaryPaths.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace KVT317XML;

namespace {

QString Source(const char* path)
{
    return QStringLiteral(KVT317_SOURCE_DIR "/") + QString::fromLatin1(path);
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Every record kind, both switches, observed and not; a compressed document also as its
// inflated frame, which a stream of its own can read field by field.
void ExpectAgree(const QByteArray& document, const QString& name)
{
    QVector<QByteArray> forms{document};
    const QByteArray plain = REPORTGENERATOR::IRGObject::PlainFrame(document);
    if (!plain.isNull() && plain != document)
        forms << plain;
    for (const QByteArray& form : forms)
        for (int kind = 0; kind < 3; ++kind)
            for (const bool validate : {false, true})
                for (const bool observe : {false, true}) {
                    const QString difference = paths::Compare(kind, form, validate, observe);
                    ASSERT_TRUE(difference.isEmpty())
                        << name.toStdString() << " kind " << kind << " validate " << validate
                        << " observe " << observe << ": " << difference.toStdString();
                }
}

// The fuzz inputs: one options byte, then the document.
int ReplayCorpus(const char* directory)
{
    const QDir dir(Source(directory));
    int count = 0;
    for (const QString& entry : dir.entryList(QDir::Files, QDir::Name)) {
        const QByteArray input = FileBytes(dir.filePath(entry));
        if (input.isEmpty())
            continue;
        ExpectAgree(input.mid(1), entry);
        if (::testing::Test::HasFatalFailure())
            return count;
        ++count;
    }
    return count;
}

KVT317_Settings Generated(int details)
{
    KVT317_Settings settings;
    for (int i = 0; i < details; ++i) {
        KVT317SettingsDetail detail = i % 2 ? FullySetDetail() : CompleteDetail(QString());
        switch (i % 5) {
        case 0:
            detail.SetName(QStringLiteral("Ä€😀 %1").arg(i));
            break;
        case 1:
            detail.SetName(QString());
            break;
        case 2:
            detail.SetName(QStringLiteral(""));
            break;
        default:
            detail.SetName(QStringLiteral("detail %1").arg(i));
        }
        detail.Setindex(i % 3 ? -i : std::numeric_limits<int>::min() + i);
        detail.SetThreshold(i % 7 ? i * 1000003 : std::numeric_limits<int>::max());
        detail.SetAttenuationHoldValue(i % 4 ? 0.125f * static_cast<float>(i) : -0.005f);
        detail.SetAttenuationHoldTime(i % 3 ? 1e30f : std::numeric_limits<float>::infinity());
        FrequencyRange range;
        range.SetStartFrequency(i % 6 ? 0.005 * i : std::nan(""));
        range.SetStopFrequency(i % 8 ? 1e17 + i : -1e-300);
        detail.SetFrequencyRange(range);
        settings.AppendKVT317SettingsDetail(detail);
    }
    return settings;
}

} // namespace

TEST(BinaryPaths, FuzzCorporaReadAlike)
{
    EXPECT_GT(ReplayCorpus("fuzz/corpus/settings_binary"), 10);
    EXPECT_GT(ReplayCorpus("fuzz/corpus/bearing_binary"), 5);
    EXPECT_GT(ReplayCorpus("fuzz/corpus/detail_binary"), 5);
}

TEST(BinaryPaths, RoundtripCorpusReadsAlike)
{
    EXPECT_GT(ReplayCorpus("fuzz/corpus/roundtrip"), 100);
}

TEST(BinaryPaths, ExamplesReadAlike)
{
    for (const char* name :
         {"examples/settings.bin", "examples/settings.binz", "examples/bearing-settings.bin"}) {
        const QByteArray document = FileBytes(Source(name));
        ASSERT_FALSE(document.isEmpty()) << name;
        ExpectAgree(document, QString::fromLatin1(name));
    }
}

// The schema's documents, each in the binary form of what its XML loads as.
TEST(BinaryPaths, SchemaDocumentsReadAlike)
{
    const QDir dir(Source("tests/schema/documents"));
    int count = 0;
    for (const QString& entry : dir.entryList({QStringLiteral("*.xml")}, QDir::Files)) {
        const int kind = entry.startsWith(QLatin1String("BearingSettings")) ? 1 : 0;
        const std::unique_ptr<Record> record = paths::NewRecord(kind);
        record->SetLogger(std::make_shared<REPORTGENERATOR::Logger>(
            [](REPORTGENERATOR::LogLevel, const QString&) {}));
        record->SetXmlString(QString::fromUtf8(FileBytes(dir.filePath(entry))), false);
        ExpectAgree(record->GetBinaryRepresentationAsQByteArray(), entry);
        ExpectAgree(record->GetCompressedBinaryRepresentationAsQByteArray(9), entry);
        ++count;
    }
    EXPECT_GT(count, 20);
}

TEST(BinaryPaths, GeneratedDocumentsReadAlike)
{
    for (const int details : {0, 1, 10, 1000}) {
        const KVT317_Settings settings = Generated(details);
        ExpectAgree(settings.GetBinaryRepresentationAsQByteArray(),
                    QStringLiteral("%1 details").arg(details));
    }
}

// Every prefix, every byte changed to 0x00, 0x80 and 0xFF, and every byte dropped: the
// short reads, bad lengths and bad texts of each field.
TEST(BinaryPaths, EveryDamageOfASmallDocumentReadsAlike)
{
    const QByteArray document = Generated(2).GetBinaryRepresentationAsQByteArray();
    ASSERT_EQ(document.size(), 727);
    for (int size = 0; size <= document.size(); ++size)
        for (const bool validate : {false, true}) {
            const QString difference = paths::Compare(0, document.left(size), validate, true);
            ASSERT_TRUE(difference.isEmpty())
                << "prefix " << size << ": " << difference.toStdString();
        }
    for (int at = 0; at < document.size(); ++at) {
        QVector<QByteArray> damaged;
        for (const char byte : {'\x00', '\x80', '\xFF'}) {
            QByteArray changed = document;
            changed[at] = byte;
            damaged << changed;
        }
        damaged << QByteArray(document).remove(at, 1);
        for (const QByteArray& form : damaged) {
            const QString difference = paths::Compare(0, form, false, true);
            ASSERT_TRUE(difference.isEmpty()) << "byte " << at << ": " << difference.toStdString();
        }
    }
}

// The reader's own state where a frame runs past the end: what both paths leave behind,
// written out.
TEST(BinaryPaths, ATruncatedFrameReportsTheSameOffsetsOnBothPaths)
{
    // A detail frame announcing 0x40 bytes: Threshold (-1), then a name whose text claims
    // 0x10 bytes where 3 remain.
    const QByteArray document = Hex("F9EA215700000040"
                                    "E7B0B2F800000008FFFFFFFFFFFFFFFF"
                                    "58D44D660000001400000010414243");
    for (const paths::Path path : {paths::Path::Bytes, paths::Path::Stream}) {
        const paths::Outcome outcome = paths::Load(2, document, path, false, true);
        EXPECT_FALSE(outcome.loaded);
        EXPECT_EQ(outcome.taken, 39);
        EXPECT_EQ(outcome.status, static_cast<int>(QDataStream::ReadPastEnd));
        EXPECT_EQ(outcome.offsets, (QVector<qint64>{0, 8, 24, 24, 39}));
        EXPECT_EQ(
            outcome.found,
            (QStringList{" - entry f9ea2157 64 ''", " Threshold entry e7b0b2f8 8 '-1'",
                         " Name entry 58d44d66 20 ''",
                         " Name 1 report 'KVT317SettingsDetail: Please set Name properly.' ''",
                         " - 0 document-fault 'KVT317SettingsDetail::SetBinary(...): Length "
                         "error occurred during processing of binary representation' ''"}));
        ASSERT_EQ(outcome.logged.size(), 1);
        EXPECT_EQ(outcome.logged[0].toStdString(),
                  "0 KVT317SettingsDetail::SetBinary(...): Length error occurred during "
                  "processing of binary representation");
    }
}

// A file is read at once from where its stream stands, and left where the frame ends.
TEST(BinaryPaths, AFileIsReadLikeAStream)
{
    const QByteArray document = Generated(3).GetBinaryRepresentationAsQByteArray();
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    QFile file(dir.filePath(QStringLiteral("settings.bin")));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("xy");
    file.write(document);
    file.write("tail");
    file.close();
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    ASSERT_TRUE(file.seek(2));
    QDataStream stream(&file);
    KVT317_Settings fromFile;
    EXPECT_TRUE(fromFile.SetBinaryRepresentation(stream));
    EXPECT_EQ(file.pos(), 2 + document.size());
    EXPECT_EQ(file.read(4), QByteArray("tail"));

    const paths::Outcome streamed = paths::Load(0, document, paths::Path::Stream, false, false);
    EXPECT_TRUE(streamed.loaded);
    fromFile.SetValidate(false);
    EXPECT_EQ(fromFile.GetXmlString(), streamed.xml);
    EXPECT_EQ(fromFile.GetBinaryRepresentationAsQByteArray(), streamed.binary);
}

// A list's count and length say nothing of what a sequential device will still deliver: the
// reader reserves no more than has arrived, and the short list is reported.
TEST(BinaryPaths, ASequentialStreamReservesNoMoreThanHasArrived)
{
    const QByteArray document = Hex("5DF5F4650000000C"
                                    "09751B807FFFFFFF7FFFFFFF");
    for (const paths::Path path :
         {paths::Path::Bytes, paths::Path::Stream, paths::Path::Sequential}) {
        const paths::Outcome outcome = paths::Load(0, document, path, false, false);
        EXPECT_FALSE(outcome.loaded);
        EXPECT_EQ(outcome.taken, 20);
        EXPECT_EQ(outcome.logged,
                  QStringList{"0 KVT317_Settings::SetBinary(...): Length error occurred during "
                              "processing of binary representation"});
    }
}

// A stream that failed before reads no entries, from its bytes as field by field.
TEST(BinaryPaths, AStreamThatFailedBeforeReadsNoEntries)
{
    const QByteArray body = Hex("E7B0B2F8000000080000000000000007");
    QByteArray bytes = body;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    paths::ArrayDevice device(body, false);
    for (QIODevice* used : {static_cast<QIODevice*>(&buffer), static_cast<QIODevice*>(&device)}) {
        QDataStream stream(used);
        stream.setStatus(QDataStream::ReadCorruptData);
        KVT317SettingsDetail detail;
        detail.SetValidate(false);
        QString raised;
        try {
            detail.SetBinary(stream, 16);
        } catch (const REPORTGENERATOR::RGException& exception) {
            raised = exception.GetMessage();
        }
        EXPECT_EQ(used->pos(), 0);
        EXPECT_EQ(stream.status(), QDataStream::ReadCorruptData);
        EXPECT_FALSE(detail.IsThresholdSet());
        EXPECT_EQ(raised.toStdString(), "KVT317SettingsDetail::SetBinary(...): Length error "
                                        "occurred during processing of binary representation");
    }
}

// A text is read from its UTF-8 bytes as QString::fromUtf8 reads them, which drops a leading
// U+FEFF, on every path; XML keeps it, so such a text does not come back from the binary form.
TEST(BinaryPaths, ATextOpeningWithAByteOrderMarkLosesItAsFromUtf8Does)
{
    // A detail frame of 17 bytes: its Name, 5 bytes: U+FEFF in UTF-8, then "AB".
    const QByteArray document = Hex("F9EA215700000011"
                                    "58D44D6600000009"
                                    "00000005EFBBBF4142");
    for (const paths::Path path :
         {paths::Path::Bytes, paths::Path::Stream, paths::Path::Sequential}) {
        const paths::Outcome outcome = paths::Load(2, document, path, false, false);
        EXPECT_TRUE(outcome.loaded);
        EXPECT_TRUE(outcome.xml.contains(QStringLiteral("<KVT317SettingsDetail Name=\"AB\">")))
            << outcome.xml.toStdString();
    }
    KVT317XML::KVT317SettingsDetail detail;
    ASSERT_TRUE(
        detail.SetXmlString(QStringLiteral("<KVT317SettingsDetail Name=\"\uFEFFAB\"/>"), true));
    EXPECT_EQ(detail.GetName(), QString(QChar(0xFEFF)) + QStringLiteral("AB"));
    KVT317XML::KVT317SettingsDetail copy;
    QByteArray bytes = detail.GetBinaryRepresentationAsQByteArray();
    ASSERT_TRUE(copy.SetBinaryRepresentation(bytes));
    EXPECT_EQ(copy.GetName(), QStringLiteral("AB"));
}
