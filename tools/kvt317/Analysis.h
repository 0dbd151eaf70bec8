#pragma once

#include "Document.h"

#include <utility>
#include <vector>

// Fills a document's diagnostics with everything check reports. The tool reads the input
// a second time, alongside the library, with the member tables: XML with its positions,
// binary entry by entry with its offsets. It reports what the library accepts in silence
// (unknown elements and attributes, texts that are not read as written, members given
// twice, numbers with more decimals than the member keeps, invalid UTF-8, whole numbers
// beyond 32 bits, texts XML cannot carry), and ties each of the library's own reports to
// the record it came from: every list item is loaded and checked once more on its own.
void Analyse(Document& document);

// The site reached from the root by (member bit, item position or -1) steps; the deepest
// site found on the way when a step leads nowhere.
const Site* ResolveSteps(const Site& root, const std::vector<std::pair<int, int>>& steps);
