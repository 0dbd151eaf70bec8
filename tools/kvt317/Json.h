#pragma once

// The library's JSON writer, under the names the commands use.
#include <JsonWriter.h>

using KVT317XML::IsJsonNumber;
using KVT317XML::JsonString;
using KVT317XML::JsonWriter;
