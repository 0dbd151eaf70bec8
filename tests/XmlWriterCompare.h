#pragma once

// Saves a record as an XML document twice, through the library's byte writer and through
// QXmlStreamWriter alone, and compares what each save gives: the document's bytes, the
// result of a save to a file, every report (level and text, in order) and every finding an
// observer receives. Shared by the tests and the fuzz targets.

#include "XmlPathsCompare.h"

#include <XmlByteWriter.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <string>

namespace xmlwritercompare {

// Where saves go: a save syncs its file, which costs little in memory.
inline QString Folder()
{
    const QFileInfo shared(QStringLiteral("/dev/shm"));
    const QString base =
        shared.isDir() && shared.isWritable() ? shared.filePath() : QDir::tempPath();
    return base + QStringLiteral("/kvt317-writer-XXXXXX");
}

// What one way of saving gave, as lines.
inline QStringList SaveOnce(const KVT317XML::Record& record, bool streamWriter, bool observe)
{
    using REPORTGENERATOR::LogLevel;
    QStringList events;
    const QTemporaryDir folder(Folder());
    const auto logger = std::make_shared<REPORTGENERATOR::Logger>(
        [&events](LogLevel level, const QString& message) {
            events << QStringLiteral("report %1 %2").arg(int(level)).arg(message);
        });
    const std::shared_ptr<REPORTGENERATOR::Logger> before = record.GetLogger();
    record.SetLogger(logger);
    REPORTGENERATOR::SetXmlStreamWriterOnly(streamWriter);
    {
        xmlpathscompare::Recorder recorder(events);
        std::unique_ptr<KVT317XML::ObserveReading> observing;
        if (observe)
            observing = std::make_unique<KVT317XML::ObserveReading>(recorder);
        try {
            const QString text = record.GetXmlString();
            events << QStringLiteral("string ") + QString::fromLatin1(text.toUtf8().toHex());
        } catch (const REPORTGENERATOR::RGException& e) {
            events << QStringLiteral("raised %1").arg(e.what());
        }
        const QString path = folder.path() + QStringLiteral("/saved.xml");
        try {
            const bool saved = record.SaveXml(path);
            QFile file(path);
            const QByteArray bytes = file.open(QIODevice::ReadOnly) ? file.readAll() : "(none)";
            events
                << QStringLiteral("saved %1 %2").arg(saved).arg(QString::fromLatin1(bytes.toHex()));
        } catch (const REPORTGENERATOR::RGException& e) {
            events << QStringLiteral("raised %1").arg(e.what());
        }
    }
    REPORTGENERATOR::SetXmlStreamWriterOnly(false);
    record.SetLogger(before);
    for (QString& event : events)
        event.replace(folder.path(), QStringLiteral("FOLDER"));
    return events;
}

// The first difference between the two ways of saving, or "".
inline std::string Difference(const KVT317XML::Record& record, bool observe)
{
    const QStringList bytes = SaveOnce(record, false, observe);
    const QStringList stream = SaveOnce(record, true, observe);
    if (bytes == stream)
        return std::string();
    std::string text;
    for (int i = 0; i < std::max(bytes.size(), stream.size()); ++i) {
        const QString a = i < bytes.size() ? bytes.at(i) : QStringLiteral("(nothing)");
        const QString b = i < stream.size() ? stream.at(i) : QStringLiteral("(nothing)");
        if (a != b) {
            text = "event " + std::to_string(i) + "\n byte writer:  " + a.toStdString() +
                   "\n stream writer: " + b.toStdString();
            break;
        }
    }
    return text;
}

} // namespace xmlwritercompare
