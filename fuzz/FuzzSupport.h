#pragma once

// What the fuzz targets share: quiet reports, loading a document of either form, and a
// failure that stops the run with a message.

#include <BearingSettings.h>
#include <KVT317SettingsDetail.h>
#include <KVT317_Settings.h>

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace fuzz {

// A finding: says what broke and aborts, which libFuzzer and the replay both report.
[[noreturn]] inline void Fail(const char* what)
{
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::fflush(stderr);
    std::abort();
}

inline void Require(bool condition, const char* what)
{
    if (!condition)
        Fail(what);
}

// Reports are built as always but go nowhere: a fuzzer's output is its findings.
inline std::shared_ptr<REPORTGENERATOR::Logger> QuietLogger()
{
    static const auto logger =
        std::make_shared<REPORTGENERATOR::Logger>([](REPORTGENERATOR::LogLevel, const QString&) {});
    return logger;
}

// Keeps compressed inputs small enough for many runs a second; the limit itself is tested
// elsewhere.
inline void LimitInflation()
{
    REPORTGENERATOR::IRGObject::SetMaxInflatedSize(8 * 1024 * 1024);
}

inline QByteArray Bytes(const uint8_t* data, size_t size)
{
    return QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size));
}

// Loads XML; `reset` as SetXmlString takes it.
inline bool LoadXml(REPORTGENERATOR::IRGObject& record, const QByteArray& document, bool reset)
{
    return record.SetXmlString(QString::fromUtf8(document), reset);
}

// Loads a binary frame, plain or compressed, from a byte array or, with `stream`, through
// a QDataStream.
inline bool LoadBinary(REPORTGENERATOR::IRGObject& record, QByteArray document, bool stream)
{
    if (!stream)
        return record.SetBinaryRepresentation(document);
    QDataStream in(document);
    return record.SetBinaryRepresentation(in);
}

// Loads a document of either form: XML when it starts with '<'.
inline bool Load(REPORTGENERATOR::IRGObject& record, const QByteArray& document, bool variant)
{
    return document.startsWith('<') ? LoadXml(record, document, variant)
                                    : LoadBinary(record, document, variant);
}

// Whether a set member of the record, or of a record it holds, passes `test` (its kind and
// its text).
template <class Test> bool AnySetMember(const KVT317XML::Record& record, Test test)
{
    using KVT317XML::MemberKind;
    for (const KVT317XML::MemberDescription& member : record.GetDescription().members) {
        if (member.kind == MemberKind::Record) {
            if (AnySetMember(*record.Child(member.bit), test))
                return true;
        } else if (member.kind == MemberKind::RecordList) {
            for (int i = 0; i < record.ListSize(member.bit); ++i)
                if (AnySetMember(*record.ListItem(member.bit, i), test))
                    return true;
        } else if (record.IsMemberSet(member.bit) &&
                   test(member.kind, record.MemberText(member.bit))) {
            return true;
        }
    }
    return false;
}

// A NaN reads back as NaN, but never compares equal.
inline bool HoldsNaN(const KVT317XML::Record& record)
{
    return AnySetMember(record, [](KVT317XML::MemberKind kind, const QString& text) {
        return (kind == KVT317XML::MemberKind::Float || kind == KVT317XML::MemberKind::Double) &&
               std::isnan(text.toDouble());
    });
}

// The binary form reads a text as QString::fromUtf8 does, which drops a leading U+FEFF.
inline bool HoldsTextOpeningWithByteOrderMark(const KVT317XML::Record& record)
{
    return AnySetMember(record, [](KVT317XML::MemberKind kind, const QString& text) {
        return kind == KVT317XML::MemberKind::Text && text.startsWith(QChar(0xFEFF));
    });
}

// A new record of one of the three kinds the targets read.
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

} // namespace fuzz
