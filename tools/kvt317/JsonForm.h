#pragma once

// The library's JSON form, under the names the commands use.
#include <SettingsJson.h>
