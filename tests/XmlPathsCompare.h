#pragma once

// Loads an XML document twice, through the library's own tokenizer and through
// QXmlStreamReader alone, and compares what each load gives: the result, every report (level
// and text, in order), every finding and entry an observer receives (positions included),
// the record (equality and written bytes). Shared by the tests and the fuzz targets.

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>
#include <ReadObserver.h>
#include <XmlTokenCursor.h>

#include <QByteArray>
#include <QFile>
#include <QStringList>
#include <QTemporaryDir>

#include <cmath>
#include <memory>
#include <string>

namespace xmlpathscompare {

struct Options {
    int kind = 0;      // KVT317_Settings, BearingSettings, KVT317SettingsDetail
    bool reset = true; // as SetXmlString takes it
    bool validate = false;
    bool observe = false; // with an observer that wants the entries
    bool file = false;    // LoadXml(path) instead of SetXmlString
    QByteArray before;    // loaded first, when not empty: what the load merges into
};

inline std::unique_ptr<KVT317XML::Record> NewRecord(int kind)
{
    switch (kind % 3) {
    case 0:
        return std::make_unique<KVT317XML::KVT317_Settings>();
    case 1:
        return std::make_unique<KVT317XML::BearingSettings>();
    default:
        return std::make_unique<KVT317XML::KVT317SettingsDetail>();
    }
}

inline QString Path(const KVT317XML::ReadPath& path)
{
    QString text;
    for (const KVT317XML::ReadStep& step : path)
        text += QStringLiteral("/%1[%2]").arg(step.bit).arg(step.item);
    return text;
}

inline QString Where(const KVT317XML::ReadPosition& at)
{
    return QStringLiteral("%1:%2@%3").arg(at.line).arg(at.column).arg(at.offset);
}

class Recorder final : public KVT317XML::ReadObserver
{
public:
    explicit Recorder(QStringList& events)
        : m_events(events)
    {
    }
    void Found(const KVT317XML::ReadFinding& f) override
    {
        m_events << QStringLiteral("finding %1 %2 %3 %4 %5 %6 %7 | %8")
                        .arg(int(f.level))
                        .arg(int(f.kind))
                        .arg(Path(f.path), f.record ? f.record->name : QStringLiteral("-"),
                             f.member ? f.member->name : QStringLiteral("-"), Where(f.position),
                             f.message, f.text);
    }
    bool WantsEntries() const override { return true; }
    void Read(const KVT317XML::ReadPath& path, const KVT317XML::ReadEntry& e) override
    {
        m_events << QStringLiteral("entry %1 %2 %3 %4 %5 %6 | %7")
                        .arg(Path(path), e.record ? e.record->name : QStringLiteral("-"),
                             e.member ? e.member->name : QStringLiteral("-"), Where(e.position))
                        .arg(e.tag)
                        .arg(e.length)
                        .arg(e.text);
    }

private:
    QStringList& m_events;
};

struct Load {
    QStringList events;
    std::unique_ptr<KVT317XML::Record> record;
};

// One load, through the tokenizer where it takes the document or through QXmlStreamReader.
inline Load LoadOnce(const QByteArray& document, const Options& options, bool tokens)
{
    using REPORTGENERATOR::LogLevel;
    Load load;
    QStringList& events = load.events;
    const auto logger = std::make_shared<REPORTGENERATOR::Logger>(
        [&events](LogLevel level, const QString& message) {
            events << QStringLiteral("report %1 %2").arg(int(level)).arg(message);
        });
    load.record = NewRecord(options.kind);
    KVT317XML::Record& record = *load.record;
    record.SetLogger(logger);
    record.SetValidate(options.validate);
    try {
        if (!options.before.isEmpty()) {
            REPORTGENERATOR::SetXmlStreamReaderOnly(true);
            record.SetXmlString(QString::fromUtf8(options.before), true);
            events << QStringLiteral("loaded before");
        }
        REPORTGENERATOR::SetXmlStreamReaderOnly(!tokens);
        std::unique_ptr<Recorder> recorder;
        std::unique_ptr<KVT317XML::ObserveReading> observing;
        if (options.observe) {
            recorder = std::make_unique<Recorder>(events);
            observing = std::make_unique<KVT317XML::ObserveReading>(*recorder);
        }
        bool loaded = false;
        if (options.file) {
            const QTemporaryDir folder;
            const QString path = folder.path() + QStringLiteral("/document.xml");
            QFile file(path);
            if (file.open(QIODevice::WriteOnly))
                file.write(document);
            file.close();
            loaded = record.LoadXml(path);
        } else {
            loaded = record.SetXmlString(QString::fromUtf8(document), options.reset);
        }
        events << QStringLiteral("loaded %1").arg(loaded);
    } catch (const REPORTGENERATOR::RGException& e) {
        events << QStringLiteral("raised %1").arg(e.what());
    }
    REPORTGENERATOR::SetXmlStreamReaderOnly(false);
    try {
        events << QStringLiteral("written ") + record.GetXmlString();
    } catch (const REPORTGENERATOR::RGException& e) {
        events << QStringLiteral("write raised %1").arg(e.what());
    }
    return load;
}

// Whether a number member, here or in a child or list item, holds NaN, which by the
// records' equality rule equals nothing, itself included.
inline bool HoldsNaN(const KVT317XML::Record& record)
{
    using KVT317XML::MemberKind;
    for (const KVT317XML::MemberDescription& member : record.GetDescription().members) {
        if ((member.kind == MemberKind::Float || member.kind == MemberKind::Double) &&
            record.IsMemberSet(member.bit) && std::isnan(record.MemberText(member.bit).toDouble()))
            return true;
        if (member.kind == MemberKind::Record && HoldsNaN(*record.Child(member.bit)))
            return true;
        if (member.kind == MemberKind::RecordList)
            for (int i = 0; i < record.ListSize(member.bit); ++i)
                if (HoldsNaN(*record.ListItem(member.bit, i)))
                    return true;
    }
    return false;
}

// Empty when both loads give the same; otherwise where they part.
inline std::string Difference(const QByteArray& document, const Options& options)
{
    const Load own = LoadOnce(document, options, true);
    const Load qt = LoadOnce(document, options, false);
    const qsizetype common = std::min(own.events.size(), qt.events.size());
    for (qsizetype i = 0; i < common; ++i)
        if (own.events[i] != qt.events[i])
            return "event " + std::to_string(i) + ": tokens '" + own.events[i].toStdString() +
                   "' against QXmlStreamReader '" + qt.events[i].toStdString() + "'";
    if (own.events.size() != qt.events.size())
        return "tokens gave " + std::to_string(own.events.size()) + " events, QXmlStreamReader " +
               std::to_string(qt.events.size());
    if (!own.record->Equals(*qt.record) && !HoldsNaN(*qt.record))
        return "the records differ";
    return {};
}

} // namespace xmlpathscompare
