#include "RecordDescription.h"

#include "BearingSettings.h"
#include "FrequencyRange.h"
#include "KVT317SettingsDetail.h"
#include "KVT317_Settings.h"

#include <QXmlStreamReader>
#include <QtEndian>

namespace KVT317XML {

std::vector<const RecordDescription*> AllRecordDescriptions()
{
    return {&KVT317_Settings::Description(), &KVT317SettingsDetail::Description(),
            &BearingSettings::Description(), &FrequencyRange::Description()};
}

std::unique_ptr<Record> NewRecord(const RecordDescription& type)
{
    return std::unique_ptr<Record>(type.make ? type.make() : nullptr);
}

std::unique_ptr<Record> CopyRecord(const Record& record)
{
    return std::unique_ptr<Record>(record.GetDescription().copy(record));
}

const RecordDescription* XmlDocumentType(const QString& xml)
{
    QXmlStreamReader reader(xml);
    while (!reader.atEnd() && !reader.isStartElement() &&
           reader.tokenType() != QXmlStreamReader::DTD)
        reader.readNext();
    if (!reader.isStartElement())
        return nullptr;
    for (const RecordDescription* description : AllRecordDescriptions())
        if (reader.name() == description->name)
            return description;
    return nullptr;
}

const RecordDescription* BinaryDocumentType(const QByteArray& document)
{
    const QByteArray frame = REPORTGENERATOR::IRGObject::PlainFrame(document);
    if (frame.size() < 4)
        return nullptr;
    const quint32 tag = qFromBigEndian<quint32>(frame.constData());
    for (const RecordDescription* description : AllRecordDescriptions())
        if (static_cast<quint32>(description->id) == tag)
            return description;
    return nullptr;
}

} // namespace KVT317XML
