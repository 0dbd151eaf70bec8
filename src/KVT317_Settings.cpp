#include "KVT317_Settings.h"
#include "RecordAccessors.h"

namespace KVT317XML {

namespace {

enum : int { KVT317SettingsDetailBit };

using Details = QVector<KVT317SettingsDetail>;

struct KVT317_SettingsData {
    ListSlot<KVT317SettingsDetail> kVT317SettingsDetail;
};

using D = KVT317_SettingsData;

// clang-format off
const RecordType& Type()
{
    static const RecordType type = MakeRecordType<KVT317_Settings, D>("KVT317_Settings", KVT317_Settings::id, {
        Member<&D::kVT317SettingsDetail>(KVT317SettingsDetailBit, "KVT317SettingsDetail", 0x09751B80).Required(),
    });
    return type;
}
// clang-format on

} // namespace

const qint64 KVT317_Settings::id = 1576399973;

KVT317_RECORD_BASICS(KVT317_Settings, "KVT317_Settings")

// A root with storage compares against the other's storage, created if missing.
bool KVT317_Settings::operator==(const KVT317_Settings& other) const
{
    return EqualsCreatingStorage(other);
}
bool KVT317_Settings::operator!=(const KVT317_Settings& other) const
{
    return !(*this == other);
}

Details& KVT317_Settings::GetKVT317SettingsDetail()
{
    return MutableValue<Details>(KVT317SettingsDetailBit);
}
const Details& KVT317_Settings::GetKVT317SettingsDetail() const
{
    return Value<Details>(KVT317SettingsDetailBit);
}
void KVT317_Settings::SetKVT317SettingsDetail(const Details& list)
{
    Assign<Details>(KVT317SettingsDetailBit, list);
}
void KVT317_Settings::AppendKVT317SettingsDetail(const KVT317SettingsDetail& item)
{
    Append(KVT317SettingsDetailBit, item);
}
bool KVT317_Settings::IsKVT317SettingsDetailSet() const
{
    return IsMemberSet(KVT317SettingsDetailBit);
}
void KVT317_Settings::ResetKVT317SettingsDetail()
{
    ResetMember(KVT317SettingsDetailBit);
}
bool KVT317_Settings::IsValidKVT317SettingsDetail(const Details&) const
{
    return true;
}
bool KVT317_Settings::IsValidKVT317SettingsDetail(const KVT317SettingsDetail&) const
{
    return true;
}
const KVT317SettingsDetail& KVT317_Settings::GetDefaultKVT317SettingsDetail() const
{
    return Default<KVT317SettingsDetail>(KVT317SettingsDetailBit);
}
void KVT317_Settings::SetDefaultKVT317SettingsDetail(const KVT317SettingsDetail& item)
{
    AssignDefault<KVT317SettingsDetail>(KVT317SettingsDetailBit, item);
}

} // namespace KVT317XML
