#pragma once

#include <IRGObject.h>

#include <QMap>
#include <QXmlStreamAttributes>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

// A record written straight on the base, to test the base's own loops apart from the
// settings records. Its element is "Probe"; the text elements "A" and "B" are its members
// (read texts are appended, so that a member read twice shows it); an element "Warn" reports
// its text as a WARNING; every other element is skipped as unknown.
class ProbeRecord : public REPORTGENERATOR::IRGObject
{
public:
    ProbeRecord()
    {
        SetObjectName(QStringLiteral("Probe"));
        m_id = 0x50726F62;
    }

    QMap<QString, QString> attributes;
    QMap<QString, QString> members;

    bool HasData() const override { return !members.isEmpty(); }
    void Reset() override
    {
        attributes.clear();
        members.clear();
    }
    void Check(bool) const override {}
    void Check() const override {}
    void GetXml(QXmlStreamWriter& writer) const override
    {
        writer.writeStartElement(GetObjectName());
        for (auto it = attributes.cbegin(); it != attributes.cend(); ++it)
            REPORTGENERATOR::XmlText::WriteAttribute(writer, it.key(), it.value());
        for (auto it = members.cbegin(); it != members.cend(); ++it)
            REPORTGENERATOR::XmlText::WriteTextElement(writer, it.key(), it.value());
        writer.writeEndElement();
    }
    bool GetBinary(QDataStream& stream, int tag, bool withTag) const override
    {
        if (withTag)
            stream << qint32(tag);
        stream << qint32(0);
        return true;
    }
    void SetBinary(QDataStream&, int) override {}
    void SetObjectType(REPORTGENERATOR::ObjectTypes) override {}
    void ProcessXml(QXmlStreamReader& reader) override
    {
        const QXmlStreamAttributes read = reader.attributes();
        for (const QXmlStreamAttribute& attribute : read)
            attributes[attribute.name().toString()] = attribute.value().toString();
        IRGObject::ProcessXml(reader);
    }

    using IRGObject::GetTextValue;

protected:
    void ProcessXmlStartElement(QXmlStreamReader& reader) override
    {
        const QString name = reader.name().toString();
        if (name == QLatin1String("A") || name == QLatin1String("B"))
            members[name] += GetTextValue(reader);
        else if (name == QLatin1String("Warn"))
            Trace(REPORTGENERATOR::LogLevel::Warning,
                  REPORTGENERATOR::RGException(GetTextValue(reader)));
        else
            SkipUnknownElement(reader);
    }
};
