#include "Commands.h"
#include "Compare.h"
#include "Json.h"
#include "Values.h"

#include <algorithm>

using namespace KVT317XML;

int RunDiff(const Options& options)
{
    const std::unique_ptr<Document> a = LoadDocument(options.arguments.at(0));
    const std::unique_ptr<Document> b = LoadDocument(options.arguments.at(1));
    const int statusA = Unusable(*a);
    const int statusB = Unusable(*b);
    if (statusA || statusB)
        return std::max(statusA, statusB);
    const bool sameType = a->type == b->type;
    const std::vector<Difference> differences =
        sameType ? CompareRecords(*a->record, *b->record, options.byName)
                 : std::vector<Difference>();
    const bool equal = sameType && differences.empty();
    if (options.json) {
        JsonWriter json;
        json.BeginObject();
        json.Key(QStringLiteral("equal"));
        json.Bool(equal);
        if (!sameType) {
            json.Key(QStringLiteral("types"));
            json.BeginArray();
            json.String(a->type);
            json.String(b->type);
            json.EndArray();
        }
        json.Key(QStringLiteral("differences"));
        json.BeginArray();
        for (const Difference& difference : differences) {
            json.BeginObject();
            json.Key(QStringLiteral("path"));
            json.String(difference.path);
            if (difference.onlyInA || difference.onlyInB) {
                json.Key(QStringLiteral("only"));
                json.String(difference.onlyInA ? QStringLiteral("A") : QStringLiteral("B"));
            } else {
                // Numbers as JSON numbers where the text is one, as the JSON form writes them.
                for (const auto& [key, text] :
                     {std::make_pair("a", difference.a), std::make_pair("b", difference.b)}) {
                    json.Key(QLatin1String(key));
                    if (difference.numeric && IsJsonNumber(text))
                        json.RawNumber(text);
                    else
                        json.String(text);
                }
            }
            json.EndObject();
        }
        json.EndArray();
        json.EndObject();
        Out().Write(json.Finish());
        return equal ? Success : Faults;
    }
    if (!sameType)
        Out() << "A is " << a->type << ", B is " << b->type << '\n';
    for (const Difference& difference : differences) {
        if (difference.onlyInA || difference.onlyInB)
            Out() << difference.path << ": only in " << (difference.onlyInA ? "A" : "B") << '\n';
        else
            Out() << difference.path << ": " << Printable(difference.a) << " -> "
                  << Printable(difference.b) << '\n';
    }
    if (equal)
        Out() << "equal\n";
    return equal ? Success : Faults;
}
