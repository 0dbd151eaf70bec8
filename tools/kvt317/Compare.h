#pragma once

// The library's comparison of records, under the names the commands use.
#include <RecordComparison.h>

using Difference = KVT317XML::RecordDifference;
using KVT317XML::CompareRecords;
