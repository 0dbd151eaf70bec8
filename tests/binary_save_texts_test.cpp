// Binary saves refuse the texts that XML saves refuse (control characters other than tab,
// line feed and carriage return, U+FFFE, U+FFFF, unpaired surrogates): the file is left as
// it was and one ERROR says where the text is. In memory the binary form is written as it
// stands, with the record's report of the text, as GetXmlString() does.

#include "LogCapture.h"
#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QBuffer>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;

KVT317SettingsDetail FullySetDetail(); // settings_detail_test.cpp

namespace {

const char* const WhatTextsHold =
    ", a character XML cannot carry; remove or replace it: a text may hold no control "
    "character but tab, line feed and carriage return, neither U+FFFE nor U+FFFF, and no "
    "surrogate without its pair";

QString CannotWrite(const QString& path, const char* where)
{
    return QStringLiteral("ERROR: Cannot write '") + path + QStringLiteral("': ") +
           QLatin1String(where) + QLatin1String(WhatTextsHold);
}

QByteArray FileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(missing)");
}

void WriteBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_EQ(file.write(bytes), bytes.size());
}

// A fresh BearingSettings holds only its frequency: this entry.
const char* const FrequencyEntry = "A97DB5BE 0000000F 0000000B 302E303030303030303030";

class BinarySaveTexts : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        path = dir.filePath(QStringLiteral("document.kvtb"));
        WriteBytes(path, "old");
    }

    // A document whose second detail's name holds U+0001 as its third character.
    KVT317_Settings SettingsWithControlInSecondName()
    {
        KVT317_Settings settings;
        settings.AppendKVT317SettingsDetail(FullySetDetail());
        KVT317SettingsDetail second = FullySetDetail();
        second.SetName(QStringLiteral("ab\u0001"));
        settings.AppendKVT317SettingsDetail(second);
        settings.SetLogger(log.logger);
        return settings;
    }

    BearingSettings BearingNamed(const QString& name)
    {
        BearingSettings bearing;
        bearing.SetName(name);
        bearing.SetLogger(log.logger);
        return bearing;
    }

    QTemporaryDir dir;
    QString path;
    LogCapture log;
};

TEST_F(BinarySaveTexts, SaveBinaryRefusesAControlCharacterSayingWhereItIs)
{
    const KVT317_Settings settings = SettingsWithControlInSecondName();
    EXPECT_FALSE(settings.SaveBinary(path));
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
    EXPECT_EQ(log.lines,
              (QStringList{QStringLiteral("ERROR: KVT317SettingsDetail: Name holds U+0001, a "
                                          "character that XML cannot carry"),
                           CannotWrite(path, "KVT317_Settings/KVT317SettingsDetail[2]/Name holds "
                                             "U+0001 at character 3")}));
}

TEST_F(BinarySaveTexts, CompressedSaveRefusesAsWell)
{
    const KVT317_Settings settings = SettingsWithControlInSecondName();
    EXPECT_FALSE(settings.SaveBinary(path, true, 9));
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
    ASSERT_EQ(log.lines.size(), 2);
    EXPECT_EQ(log.lines.at(1), CannotWrite(path, "KVT317_Settings/KVT317SettingsDetail[2]/Name "
                                                 "holds U+0001 at character 3"));
}

TEST_F(BinarySaveTexts, TheXmlSaveRefusesTheSameDocument)
{
    const KVT317_Settings settings = SettingsWithControlInSecondName();
    EXPECT_FALSE(settings.SaveXml(path));
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
}

TEST_F(BinarySaveTexts, AnUnpairedSurrogateIsRefusedAndCountedAsPeopleCount)
{
    // The pair before it is one character.
    const BearingSettings bearing =
        BearingNamed(QString::fromUtf16(u"\U0001F600") + QChar(0xDC00) + QStringLiteral("z"));
    EXPECT_FALSE(bearing.SaveBinary(path));
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
    EXPECT_EQ(log.lines, (QStringList{QStringLiteral("ERROR: BearingSettings: Name holds U+DC00, "
                                                     "a character that XML cannot carry"),
                                      CannotWrite(path, "BearingSettings/Name holds U+DC00 at "
                                                        "character 2")}));
}

TEST_F(BinarySaveTexts, NonCharactersAreRefusedInEveryTextMember)
{
    BearingSettings bearing;
    bearing.SetLogger(log.logger);
    bearing.SetBearingVtPath(QString(QChar(0xFFFE)));
    EXPECT_FALSE(bearing.SaveBinary(path));
    ASSERT_EQ(log.lines.size(), 2);
    EXPECT_EQ(log.lines.at(1),
              CannotWrite(path, "BearingSettings/BearingVtPath holds U+FFFE at character 1"));

    log.lines.clear();
    KVT317SettingsDetail detail = FullySetDetail();
    detail.SetName(QStringLiteral("x") + QChar(0xFFFF));
    detail.SetLogger(log.logger);
    EXPECT_FALSE(detail.SaveBinary(path));
    ASSERT_EQ(log.lines.size(), 2);
    EXPECT_EQ(log.lines.at(1),
              CannotWrite(path, "KVT317SettingsDetail/Name holds U+FFFF at character 2"));
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
}

TEST_F(BinarySaveTexts, ValidationOnRefusesWithoutRaising)
{
    BearingSettings bearing = BearingNamed(QStringLiteral("a\u0001"));
    bearing.SetFrequency(1.0);
    bearing.SetValidate(true);
    EXPECT_FALSE(bearing.SaveBinary(path));
    EXPECT_EQ(log.lines.size(), 2);
    EXPECT_EQ(FileBytes(path), QByteArray("old"));
}

TEST_F(BinarySaveTexts, TextsThatXmlCarriesAreSavedByteForByte)
{
    const BearingSettings bearing =
        BearingNamed(QStringLiteral("\t\u00E9") + QString::fromUtf16(u"\U0001F600"));
    EXPECT_TRUE(bearing.SaveBinary(path));
    EXPECT_EQ(FileBytes(path).toHex(),
              Hex("856C9896 0000002A 58D44D66 0000000B 00000007 09C3A9F09F9880")
                  .append(Hex(FrequencyEntry))
                  .toHex());
    EXPECT_EQ(log.lines, QStringList());
}

TEST_F(BinarySaveTexts, InMemoryTheBytesStandAsWrittenAndTheTextIsReported)
{
    const BearingSettings control = BearingNamed(QStringLiteral("a\u0001"));
    EXPECT_EQ(control.GetBinaryRepresentationAsQByteArray().toHex(),
              Hex("856C9896 00000025 58D44D66 00000006 00000002 6101")
                  .append(Hex(FrequencyEntry))
                  .toHex());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral("ERROR: BearingSettings: Name holds U+0001, "
                                                    "a character that XML cannot carry")});

    log.lines.clear();
    const BearingSettings surrogate = BearingNamed(QStringLiteral("a") + QChar(0xD800));
    EXPECT_EQ(surrogate.GetBinaryRepresentationAsQByteArray().toHex(),
              Hex("856C9896 00000025 58D44D66 00000006 00000002 613F")
                  .append(Hex(FrequencyEntry))
                  .toHex());
    EXPECT_EQ(log.lines, QStringList{QStringLiteral("ERROR: BearingSettings: Name holds U+D800, "
                                                    "a character that XML cannot carry")});

    log.lines.clear();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QDataStream stream(&buffer);
    control.GetBinaryRepresentation(stream);
    EXPECT_EQ(stream.status(), QDataStream::Ok);
    EXPECT_EQ(bytes.size(), 8 + 0x25);
    EXPECT_EQ(log.lines.size(), 1);
}

TEST_F(BinarySaveTexts, OntoAFileTheRepresentationIsASaveAndRefuses)
{
    const BearingSettings bearing = BearingNamed(QStringLiteral("a\u0001"));
    for (const bool compressed : {false, true}) {
        log.lines.clear();
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QDataStream stream(&file);
        if (compressed)
            bearing.GetCompressedBinaryRepresentation(stream, -1);
        else
            bearing.GetBinaryRepresentation(stream);
        EXPECT_EQ(stream.status(), QDataStream::WriteFailed);
        file.close();
        EXPECT_EQ(FileBytes(path), QByteArray());
        EXPECT_EQ(log.lines,
                  (QStringList{QStringLiteral("ERROR: BearingSettings: Name holds U+0001, a "
                                              "character that XML cannot carry"),
                               CannotWrite(path, "BearingSettings/Name holds U+0001 at "
                                                 "character 2")}));
    }
}

TEST_F(BinarySaveTexts, OntoAFileACarriedTextIsWritten)
{
    const BearingSettings bearing = BearingNamed(QStringLiteral("\r\n"));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QDataStream stream(&file);
    bearing.GetBinaryRepresentation(stream);
    EXPECT_EQ(stream.status(), QDataStream::Ok);
    file.close();
    EXPECT_EQ(FileBytes(path).toHex(), Hex("856C9896 00000025 58D44D66 00000006 00000002 0D0A")
                                           .append(Hex(FrequencyEntry))
                                           .toHex());
    EXPECT_EQ(log.lines, QStringList());
}

TEST_F(BinarySaveTexts, AnEditThatPutsInSuchATextLeavesTheFileAsItWas)
{
    const BearingSettings original = BearingNamed(QStringLiteral("n"));
    ASSERT_TRUE(original.SaveBinary(path));
    const QByteArray before = FileBytes(path);
    BearingSettings editor;
    editor.SetLogger(log.logger);
    EXPECT_FALSE(editor.EditFile(path, [](REPORTGENERATOR::IRGObject& record) {
        static_cast<BearingSettings&>(record).SetName(QStringLiteral("a\u0001"));
        return true;
    }));
    EXPECT_EQ(FileBytes(path), before);
    ASSERT_EQ(log.lines.size(), 2);
    EXPECT_EQ(log.lines.at(1), CannotWrite(path, "BearingSettings/Name holds U+0001 at "
                                                 "character 2"));
}

} // namespace
