#include "Commands.h"
#include "Json.h"
#include "JsonForm.h"
#include "Values.h"

#include <MemberDisplay.h>

#include <algorithm>

using namespace KVT317XML;

namespace {

// The widest member name of a block, with its indentation, nested records included.
int NameWidth(const RecordDescription& description, int indent)
{
    int width = 0;
    for (const MemberDescription& member : description.members) {
        if (member.operations->list)
            continue;
        width = std::max(width, indent + static_cast<int>(member.name.size()));
        if (member.operations->record)
            width = std::max(width, NameWidth(*member.nested(), indent + 2));
    }
    return width;
}

void ShowMembers(const Record& record, int indent, int width)
{
    const RecordDescription& description = record.GetDescription();
    for (const int bit : description.writeOrder) {
        const MemberDescription& member = description.members[bit];
        if (member.operations->list)
            continue;
        const QString name = QString(indent, QLatin1Char(' ')) + member.name;
        if (member.operations->record && record.IsMemberSet(bit)) {
            Out() << name << '\n';
            ShowMembers(*record.Child(bit), indent + 2, width);
            continue;
        }
        Out() << name.leftJustified(width + 2) << Printable(ShownMemberValue(record, member))
              << '\n';
    }
}

QString ItemHeading(const QString& path, const Record& item)
{
    const MemberDescription* name = item.GetDescription().FindName(QStringLiteral("Name"));
    if (!name || !item.IsMemberSet(name->bit) || item.MemberText(name->bit).isNull())
        return path;
    return QStringLiteral("%1 (\"%2\")").arg(path, item.MemberText(name->bit));
}

void ShowRecord(const Record& record)
{
    const RecordDescription& description = record.GetDescription();
    ShowMembers(record, 2, NameWidth(description, 2));
    for (const MemberDescription& member : description.members) {
        if (!member.operations->list)
            continue;
        const int width = NameWidth(*member.nested(), 2);
        for (int i = 0; i < record.ListSize(member.bit); ++i) {
            const Record& item = *record.ListItem(member.bit, i);
            Out() << Printable(
                         ItemHeading(QStringLiteral("%1[%2]").arg(member.name).arg(i + 1), item))
                  << '\n';
            ShowMembers(item, 2, width);
        }
    }
}

QString Heading(const Document& document)
{
    QString heading =
        QStringLiteral("%1: %2, %3").arg(document.label, document.type, FormName(document.form));
    for (const MemberDescription& member : document.record->GetDescription().members) {
        if (member.operations->list) {
            const int size = document.record->ListSize(member.bit);
            heading += QStringLiteral(", %1 %2").arg(Grouped(size), size == 1 ? "item" : "items");
        }
    }
    return heading;
}

} // namespace

int RunShow(const Options& options)
{
    const std::unique_ptr<Document> document = LoadDocument(options.arguments.at(0));
    if (const int status = Unusable(*document))
        return status;
    if (options.json) {
        JsonWriter json;
        json.BeginObject();
        json.Key(QStringLiteral("file"));
        json.String(document->label);
        json.Key(QStringLiteral("form"));
        json.String(FormName(document->form));
        json.Key(QStringLiteral("type"));
        json.String(document->type);
        json.Key(QStringLiteral("document"));
        json.BeginObject();
        json.Key(document->type);
        WriteRecordJson(json, *document->record);
        json.EndObject();
        json.EndObject();
        Out().Write(json.Finish());
        return Success;
    }
    Out() << Heading(*document) << '\n';
    ShowRecord(*document->record);
    return Success;
}
