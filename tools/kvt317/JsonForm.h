#pragma once

// The library's JSON form and the order members are written in, under the names the
// commands use.
#include <SettingsJson.h>

#include <vector>

// The bits of a record's members in the order XML and binary carry them: attributes
// first, then the others, each in member order.
std::vector<int> WriteOrder(const KVT317XML::RecordDescription& description);
