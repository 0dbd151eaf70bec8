// Fills a settings document through the member table alone, as generic editors and tools do:
// members set by name from the texts a user typed, a list item made, inserted, edited in place
// and moved. Prints each item's name, threshold and band.

#include <KVT317_Settings.h>

#include <QTextStream>

#include <cstdio>
#include <memory>
#include <utility>

using KVT317XML::MemberKind;
using KVT317XML::Record;

namespace {

// Sets a member of any record, named as in XML, from a text: converted as XML reading converts
// it, checked and reported as the member's typed setter does.
bool SetByName(Record& record, const QString& member, const QString& text)
{
    const KVT317XML::MemberDescription* found = record.GetDescription().FindName(member);
    if (!found || found->kind == MemberKind::Record || found->kind == MemberKind::RecordList)
        return false;
    record.SetMemberText(found->bit, text);
    return true;
}

int BitOf(const Record& record, const char* member)
{
    return record.GetDescription().FindName(QString::fromLatin1(member))->bit;
}

} // namespace

int main()
{
    KVT317XML::KVT317_Settings settings;
    settings.SetValidate(true); // an invalid value or an incomplete item raises
    const int details = BitOf(settings, "KVT317SettingsDetail");

    std::unique_ptr<Record> detail = settings.NewMemberRecord(details); // a KVT317SettingsDetail
    detail->ResetToDefault();
    const std::pair<const char*, const char*> texts[] = {{"Name", "Marine VHF"},
                                                         {"AverageMode", "GATE"},
                                                         {"BandwidthDF", "12.5 kHz"},
                                                         {"ScanMemoryID", "20"},
                                                         {"StopTime", "2026-11-30T18:00:00,000Z"}};
    for (const auto& [member, text] : texts)
        SetByName(*detail, QString::fromLatin1(member), QString::fromLatin1(text));
    Record* range = detail->MutableChild(BitOf(*detail, "FrequencyRange")); // marks it set
    SetByName(*range, QStringLiteral("StartFrequency"), QStringLiteral("156000000"));
    SetByName(*range, QStringLiteral("StopFrequency"), QStringLiteral("162025000"));

    settings.AppendListItem(details, *detail); // a copy goes into the list
    SetByName(*detail, QStringLiteral("Name"), QStringLiteral("Airband"));
    SetByName(*range, QStringLiteral("StartFrequency"), QStringLiteral("118000000"));
    SetByName(*range, QStringLiteral("StopFrequency"), QStringLiteral("137000000"));
    settings.InsertListItem(details, 0, *detail); // before the first

    const int threshold = BitOf(*detail, "Threshold");
    settings.MutableListItem(details, 1)->SetMemberValue(threshold, QVariant(15)); // in place
    settings.MoveListItem(details, 0, 1);                                          // to the end

    QTextStream out(stdout);
    for (int i = 0; i < settings.ListSize(details); ++i) {
        const Record* item = settings.ListItem(details, i);
        const Record* band = item->Child(BitOf(*item, "FrequencyRange"));
        out << item->MemberText(BitOf(*item, "Name")) << ": Threshold "
            << item->MemberValue(threshold).toInt() << ", " << band->MemberText(0) << " to "
            << band->MemberText(1) << " Hz\n";
    }
    return 0;
}
