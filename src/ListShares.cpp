// The shares through which copies read the list items of their source while references to
// those items may be out, found by the items' addresses.

#include "RecordStorage.h"

#include <mutex>

namespace KVT317XML {

std::atomic<int> sharesOut{0};
std::atomic<int> listsLent{0};

namespace {

struct Lent {
    const char* begin;
    const char* end;
    ListShareBase* share;
};

struct LentList {
    const char* begin;
    const char* end;
    StorageBlock* holder;
    const void* slot;
};

// Few shares and lists are out at a time: lists searched under one lock.
struct Shares {
    std::mutex lock;
    std::vector<Lent> out;
    std::vector<LentList> lists;
};

Shares& TheShares()
{
    static Shares* const shares = new Shares; // outlives the records destroyed at exit
    return *shares;
}

// A reference to a share found in the list, unless it is being destroyed.
bool TakeReference(ListShareBase* share)
{
    int count = share->ref.loadRelaxed();
    while (count > 0)
        if (share->ref.testAndSetOrdered(count, count + 1, count))
            return true;
    return false;
}

} // namespace

ListShareBase::~ListShareBase() = default;

ListShareBase* ShareItems(const void* begin, const void* end,
                          ListShareBase* (*make)(const void* items), const void* items)
{
    Shares& shares = TheShares();
    const std::lock_guard<std::mutex> guard(shares.lock);
    for (const Lent& lent : shares.out)
        if (lent.begin == begin && TakeReference(lent.share))
            return lent.share;
    ListShareBase* share = make(items);
    share->ref.ref();
    shares.out.push_back(
        Lent{static_cast<const char*>(begin), static_cast<const char*>(end), share});
    sharesOut.fetch_add(1, std::memory_order_relaxed);
    return share;
}

void ReturnedByCopies(const ListShareBase* share)
{
    Shares& shares = TheShares();
    const std::lock_guard<std::mutex> guard(shares.lock);
    for (auto it = shares.out.begin(); it != shares.out.end(); ++it)
        if (it->share == share) {
            shares.out.erase(it);
            sharesOut.fetch_sub(1, std::memory_order_relaxed);
            return;
        }
}

bool SeparateCopiesAt(const void* address, bool listStart)
{
    if (sharesOut.load(std::memory_order_relaxed) == 0)
        return false;
    const char* at = static_cast<const char*>(address);
    std::vector<ListShareBase*> found;
    {
        Shares& shares = TheShares();
        const std::lock_guard<std::mutex> guard(shares.lock);
        for (auto it = shares.out.begin(); it != shares.out.end();) {
            const bool holds = listStart ? it->begin == at : it->begin <= at && at < it->end;
            if (holds && TakeReference(it->share)) {
                found.push_back(it->share);
                it = shares.out.erase(it);
                sharesOut.fetch_sub(1, std::memory_order_relaxed);
            } else {
                ++it;
            }
        }
    }
    // Outside the lock: copying the items and releasing the share may reach the list again.
    for (ListShareBase* share : found) {
        share->Separate();
        if (!share->ref.deref())
            delete share;
    }
    return !found.empty();
}

void NoteLentItems(StorageBlock* holder, const void* slot, const void* begin, const void* end)
{
    const LentList lent{static_cast<const char*>(begin), static_cast<const char*>(end), holder,
                        slot};
    Shares& shares = TheShares();
    const std::lock_guard<std::mutex> guard(shares.lock);
    for (LentList& list : shares.lists)
        if (list.holder == holder && list.slot == slot) {
            list = lent;
            return;
        }
    shares.lists.push_back(lent);
    listsLent.fetch_add(1, std::memory_order_relaxed);
}

void ForgetLentItems(const StorageBlock* holder)
{
    Shares& shares = TheShares();
    const std::lock_guard<std::mutex> guard(shares.lock);
    for (auto it = shares.lists.begin(); it != shares.lists.end();)
        if (it->holder == holder) {
            it = shares.lists.erase(it);
            listsLent.fetch_sub(1, std::memory_order_relaxed);
        } else {
            ++it;
        }
}

void NoteLentItemBlock(const void* address)
{
    if (listsLent.load(std::memory_order_relaxed) == 0)
        return;
    const char* at = static_cast<const char*>(address);
    Shares& shares = TheShares();
    const std::lock_guard<std::mutex> guard(shares.lock);
    // The holder is written through its item: its record is not used elsewhere meanwhile.
    for (const LentList& list : shares.lists)
        if (list.begin <= at && at < list.end)
            list.holder->lent |= StorageBlock::LentDeep;
}

} // namespace KVT317XML
