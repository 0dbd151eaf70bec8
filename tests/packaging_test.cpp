#include "TestSupport.h"

#include <KVT317XmlVersion.h>
#include <Logger.h>

#include <QLoggingCategory>
#include <QStringList>

#include <gtest/gtest.h>

#include <cstring>

using REPORTGENERATOR::Logger;
using REPORTGENERATOR::LogLevel;

namespace {

TEST(Packaging, VersionMacros)
{
    EXPECT_EQ(KVT317XML_VERSION_MAJOR, 1);
    EXPECT_EQ(KVT317XML_VERSION_MINOR, 0);
    EXPECT_EQ(KVT317XML_VERSION_PATCH, 0);
    EXPECT_STREQ(KVT317XML_VERSION_STRING, "1.0.0");
    EXPECT_EQ(KVT317XML_VERSION, 0x010000);
    EXPECT_EQ(KVT317XML_VERSION_CHECK(1, 2, 3), 0x010203);
    EXPECT_TRUE(KVT317XML_VERSION >= KVT317XML_VERSION_CHECK(1, 0, 0));
    EXPECT_TRUE(KVT317XML_VERSION < KVT317XML_VERSION_CHECK(1, 0, 1));
}

TEST(Packaging, LoggingCategoryIsPublic)
{
    EXPECT_STREQ(REPORTGENERATOR::lcReportBase().categoryName(), "reportbase");
    QtMessageCapture capture;
    qCWarning(REPORTGENERATOR::lcReportBase) << "from the application";
    EXPECT_EQ(capture.Lines(),
              QStringList{QStringLiteral("reportbase.warning: from the application")});
}

TEST(Packaging, DefaultLoggerWritesUnderTheCategory)
{
    QtMessageCapture capture;
    const Logger logger;
    logger.Log(LogLevel::Error, QStringLiteral("E \"1\""));
    logger.Log(LogLevel::Warning, QStringLiteral("W"));
    logger.Log(LogLevel::Info, QStringLiteral("I"));
    EXPECT_EQ(capture.Lines(), (QStringList{QStringLiteral("reportbase.critical: E \"1\""),
                                            QStringLiteral("reportbase.warning: W"),
                                            QStringLiteral("reportbase.info: I")}));
}

TEST(Packaging, CategoryCanBeFiltered)
{
    QtMessageCapture capture;
    QLoggingCategory::setFilterRules(QStringLiteral("reportbase.warning=false"));
    const Logger logger;
    logger.Log(LogLevel::Warning, QStringLiteral("filtered"));
    logger.Log(LogLevel::Error, QStringLiteral("kept"));
    EXPECT_EQ(capture.Lines(), QStringList{QStringLiteral("reportbase.critical: kept")});
}

} // namespace
