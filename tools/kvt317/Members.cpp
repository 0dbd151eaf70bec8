#include "Commands.h"
#include "Json.h"
#include "JsonForm.h"
#include "Values.h"

#include <algorithm>

using namespace KVT317XML;

int RunMembers(const Options& options)
{
    std::vector<const RecordDescription*> records;
    if (options.arguments.isEmpty()) {
        records = AllRecordDescriptions();
    } else {
        const RecordDescription* description = FindDescription(options.arguments.at(0));
        if (!description) {
            QStringList names;
            for (const RecordDescription* candidate : AllRecordDescriptions())
                names.append(candidate->name);
            return UsageError(QStringLiteral("no record type '%1'; the types are %2")
                                  .arg(options.arguments.at(0), names.join(QStringLiteral(", "))),
                              QStringLiteral("members"));
        }
        records.push_back(description);
    }
    if (options.json) {
        JsonWriter json;
        json.BeginArray();
        for (const RecordDescription* description : records) {
            json.BeginObject();
            json.Key(QStringLiteral("record"));
            json.String(description->name);
            json.Key(QStringLiteral("members"));
            json.BeginArray();
            for (const int bit : description->writeOrder) {
                const MemberDescription& member = description->members[bit];
                json.BeginObject();
                json.Key(QStringLiteral("member"));
                json.String(member.name);
                json.Key(QStringLiteral("kind"));
                json.String(member.kindName);
                json.Key(QStringLiteral("attribute"));
                json.Bool(member.attribute);
                json.Key(QStringLiteral("default"));
                const QString& text = member.defaultText;
                if (!member.hasDefault)
                    json.Null();
                else if (member.operations->number && IsJsonNumber(text))
                    json.RawNumber(text);
                else
                    json.String(text);
                json.Key(QStringLiteral("required"));
                json.Bool(member.required);
                if (member.enumeration) {
                    json.Key(QStringLiteral("allowed"));
                    json.BeginArray();
                    for (const QString& name : member.enumeration->names)
                        json.String(name);
                    json.EndArray();
                }
                json.EndObject();
            }
            json.EndArray();
            json.EndObject();
        }
        json.EndArray();
        Out().Write(json.Finish());
        return Success;
    }
    bool first = true;
    for (const RecordDescription* description : records) {
        std::vector<QStringList> rows;
        rows.push_back({QStringLiteral("member"), QStringLiteral("kind"), QStringLiteral("default"),
                        QStringLiteral("required"), QStringLiteral("allowed")});
        for (const int bit : description->writeOrder) {
            const MemberDescription& member = description->members[bit];
            QString kind = member.kindName;
            if (member.attribute)
                kind += QStringLiteral(", attribute");
            // The defaults a document takes, where the record declares one.
            rows.push_back({member.name, kind,
                            member.hasDefault ? member.defaultText : QStringLiteral("-"),
                            member.required ? QStringLiteral("yes") : QStringLiteral("no"),
                            member.enumeration ? AllowedNames(member) : QString()});
        }
        std::vector<int> widths(4, 0);
        for (const QStringList& row : rows)
            for (int column = 0; column < 4; ++column)
                widths[static_cast<std::size_t>(column)] = std::max(
                    widths[static_cast<std::size_t>(column)], static_cast<int>(row[column].size()));
        if (!first)
            Out() << '\n';
        first = false;
        Out() << description->name << '\n';
        for (const QStringList& row : rows) {
            QString line = QStringLiteral("  ");
            for (int column = 0; column < 4; ++column)
                line += row[column].leftJustified(widths[static_cast<std::size_t>(column)] + 2);
            line += row[4];
            while (line.endsWith(QLatin1Char(' ')))
                line.chop(1);
            Out() << line << '\n';
        }
    }
    return Success;
}
