// The text getters read through const references as the other getters do: the natural loop
// over a document's details compiles, a fresh record reads a null text, and what was set reads
// back exactly.

#include "TestSupport.h"

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <gtest/gtest.h>

using KVT317XML::BearingSettings;
using KVT317XML::KVT317_Settings;
using KVT317XML::KVT317SettingsDetail;

TEST(ConstReads, LoopOverTheDetailsByConstReference)
{
    KVT317_Settings settings;
    ASSERT_TRUE(settings.SetXmlString(QString::fromUtf8(ExampleFile("settings.xml")), true));
    QStringList names;
    for (const auto& d : settings.GetKVT317SettingsDetail())
        names.append(d.GetName());
    EXPECT_EQ(names, QStringList({QStringLiteral("VHF airband"), QStringLiteral("Marine VHF"),
                                  QStringLiteral("UHF survey")}));

    const KVT317_Settings& view = settings;
    names.clear();
    for (const auto& d : view.GetKVT317SettingsDetail())
        names.append(d.GetName());
    EXPECT_EQ(names, QStringList({QStringLiteral("VHF airband"), QStringLiteral("Marine VHF"),
                                  QStringLiteral("UHF survey")}));
}

// A const text read is a read like any other: the first one creates the storage (as
// GetStartFrequency() does for a frequency range), the value is the default, a null text, and
// the member stays unset.
TEST(ConstReads, FreshRecordsGiveNullTexts)
{
    const BearingSettings bearing;
    EXPECT_FALSE(bearing.IsInitialized());
    EXPECT_TRUE(bearing.GetBearingVtPath().isNull());
    EXPECT_TRUE(bearing.IsInitialized());
    EXPECT_TRUE(bearing.GetBearingVtPathSR().isNull());
    EXPECT_TRUE(bearing.GetEigenValueVtPath().isNull());
    EXPECT_TRUE(bearing.GetSignalEstimationQualityVtPath().isNull());
    EXPECT_TRUE(bearing.GetName().isNull());
    EXPECT_FALSE(bearing.AnyData());
    EXPECT_FALSE(bearing.IsBearingVtPathSet());
    EXPECT_FALSE(bearing.IsNameSet());

    const KVT317SettingsDetail detail;
    EXPECT_FALSE(detail.IsInitialized());
    EXPECT_TRUE(detail.GetName().isNull());
    EXPECT_TRUE(detail.IsInitialized());
    EXPECT_FALSE(detail.AnyData());
    EXPECT_FALSE(detail.IsNameSet());
}

TEST(ConstReads, TextsReadBackExactly)
{
    BearingSettings bearing;
    bearing.SetBearingVtPath(QStringLiteral("/data/df/bearing.vt"));
    bearing.SetBearingVtPathSR(QStringLiteral("/data/df/bearing-sr.vt"));
    bearing.SetEigenValueVtPath(QStringLiteral("/data/df/eigen.vt"));
    bearing.SetSignalEstimationQualityVtPath(QString(QLatin1String("")));
    bearing.SetName(QStringLiteral("Mast 2 \u00e9t\u00e9"));
    const BearingSettings& view = bearing;
    EXPECT_EQ(view.GetBearingVtPath(), QStringLiteral("/data/df/bearing.vt"));
    EXPECT_EQ(view.GetBearingVtPathSR(), QStringLiteral("/data/df/bearing-sr.vt"));
    EXPECT_EQ(view.GetEigenValueVtPath(), QStringLiteral("/data/df/eigen.vt"));
    EXPECT_FALSE(view.GetSignalEstimationQualityVtPath().isNull());
    EXPECT_EQ(view.GetSignalEstimationQualityVtPath(), QStringLiteral(""));
    EXPECT_EQ(view.GetName(), QStringLiteral("Mast 2 \u00e9t\u00e9"));

    KVT317SettingsDetail detail;
    detail.SetName(QStringLiteral("VHF airband"));
    const KVT317SettingsDetail& detailView = detail;
    EXPECT_EQ(detailView.GetName(), QStringLiteral("VHF airband"));
    EXPECT_TRUE(detailView.IsNameSet());
}
