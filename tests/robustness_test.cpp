// Damaged documents: every load either succeeds or fails cleanly, leaving the record as it
// was; nothing crashes, hangs or raises with validation off.

#include "LogCapture.h"
#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317_Settings.h>

#include <QFile>

#include <gtest/gtest.h>

#include <random>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317_Settings;

namespace {

// A copy of the bytes with one random damage: flipped bits, a cut, a duplicated or a
// removed run.
QByteArray Damage(QByteArray bytes, std::mt19937& random)
{
    const auto at = [&](int size) {
        return static_cast<int>(random() % static_cast<unsigned>(qMax(1, size)));
    };
    switch (random() % 4) {
    case 0:
        for (int i = 0, n = 1 + at(4); i < n; ++i)
            bytes[at(bytes.size())] = static_cast<char>(bytes[at(bytes.size())] ^ (1 << at(8)));
        break;
    case 1:
        bytes.truncate(at(bytes.size()));
        break;
    case 2: {
        const int from = at(bytes.size());
        bytes.insert(at(bytes.size()), bytes.mid(from, at(64)));
        break;
    }
    default:
        bytes.remove(at(bytes.size()), 1 + at(16));
    }
    return bytes;
}

template <class Record> void LoadDamaged(const QByteArray& original, bool xml)
{
    std::mt19937 random(20261122);
    LogCapture log;
    for (int round = 0; round < 1500; ++round) {
        Record record;
        record.SetLogger(log.logger);
        Record before;
        QByteArray bytes = Damage(original, random);
        bool loaded = false;
        ASSERT_NO_THROW(loaded = xml ? record.SetXmlString(QString::fromUtf8(bytes), true)
                                     : record.SetBinaryRepresentation(bytes))
            << round;
        if (!loaded) {
            EXPECT_TRUE(record == before) << round;
            EXPECT_FALSE(record.IsInitialized() && record.AnyData()) << round;
        }
    }
}

} // namespace

TEST(Robustness, DamagedSettingsXml)
{
    LoadDamaged<KVT317_Settings>(ExampleFile("settings.xml"), true);
}

TEST(Robustness, DamagedSettingsBinary)
{
    LoadDamaged<KVT317_Settings>(ExampleFile("settings.bin"), false);
}

TEST(Robustness, DamagedCompressedSettings)
{
    LoadDamaged<KVT317_Settings>(ExampleFile("settings.binz"), false);
}

TEST(Robustness, DamagedBearingSettings)
{
    LoadDamaged<BearingSettings>(ExampleFile("bearing-settings.xml"), true);
    LoadDamaged<BearingSettings>(ExampleFile("bearing-settings.bin"), false);
}
