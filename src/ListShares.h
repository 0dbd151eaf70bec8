#pragma once

// The shares through which copies of a record read the list items of their source while
// references to those items may be out, and the lists whose items were handed out. Not
// installed.

#include <QSharedData>

#include <atomic>

namespace KVT317XML {

struct StorageBlock;

// Copies of a record whose list items were handed out by reference read the source's items
// through one share instead of items of their own, so that such a copy costs the same
// whatever the list's length. The share holds the items as a second owner: an operation on
// the source's list through a reference then detaches the source as Qt's containers do. A
// write to one of the source's items first hands the share items of its own (the source
// keeps its items in place): the items know of the share by their address, through the
// list of shares that are out.
struct ListShareBase : public QSharedData {
    ListShareBase() = default;
    ListShareBase(const ListShareBase&) = delete;
    ListShareBase& operator=(const ListShareBase&) = delete;
    virtual ~ListShareBase();
    // The share takes items of its own, each keeping the settings of the one it copies.
    virtual void Separate() = 0;
};

// The share that reads the items from `begin` to `end`, with a reference taken: the one out
// already, or one made by `make` from `items`.
ListShareBase* ShareItems(const void* begin, const void* end,
                          ListShareBase* (*make)(const void* items), const void* items);
// The share is gone.
void ReturnedByCopies(const ListShareBase* share);
// Before a write to the record at `address` or to the list whose items start there: copies
// that read it through a share get items of their own. Whether one did.
bool SeparateCopiesAt(const void* address, bool listStart);
extern std::atomic<int> sharesOut;
// The items from `begin` to `end` of the list at `slot` in `holder` were handed out.
void NoteLentItems(StorageBlock* holder, const void* slot, const void* begin, const void* end);
// The block is gone: its lists are no longer out.
void ForgetLentItems(const StorageBlock* holder);
// A reference into the record at `address` goes out: if it is an item of a list handed out,
// copies of the list's holder copy their items at once.
void NoteLentItemBlock(const void* address);
extern std::atomic<int> listsLent;
inline void SeparateCopiesOf(const void* record)
{
    if (Q_UNLIKELY(sharesOut.load(std::memory_order_relaxed) != 0))
        SeparateCopiesAt(record, false);
}

} // namespace KVT317XML
