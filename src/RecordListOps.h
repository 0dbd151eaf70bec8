#pragma once

// The operations on a list member of one item type, which the engine calls without knowing the
// item type. Included by RecordStorage.h, after everything they use.

#include "RecordStorage.h"

namespace KVT317XML {
namespace detail {

template <class T> const ListOps& ListOpsOf()
{
    using Slot = ListSlot<T>;
    static const ListOps ops{
        [](const void* s) { return static_cast<int>(static_cast<const Slot*>(s)->Body().size()); },
        [](const void* s, int i) -> const Record& {
            return static_cast<const Slot*>(s)->Body().at(i);
        },
        [](void* s, int i) -> Record& {
            // Detached already: no test of the sharing per item.
            return const_cast<T&>(static_cast<Slot*>(s)->items.constData()[i]);
        },
        [](void* s, quint8 keep) {
            Slot& slot = *static_cast<Slot*>(s);
            if (!slot.share && !slot.items.isDetached() &&
                SeparateCopiesAt(slot.items.constData(), true) && slot.items.isDetached())
                return; // the copies took items of their own; these stay in place
            DetachKeeping(slot.Own(), keep);
        },
        [](const void* s) {
            const Slot& slot = *static_cast<const Slot*>(s);
            return slot.share || !slot.items.isDetached();
        },
        [](void* s) {
            Slot& slot = *static_cast<Slot*>(s);
            if (slot.share || slot.items.isEmpty())
                return;
            const auto make = [](const void* items) -> ListShareBase* {
                return new ListShare<T>(*static_cast<const QVector<T>*>(items));
            };
            auto* share = static_cast<ListShare<T>*>(
                ShareItems(slot.items.constData(), slot.items.constData() + slot.items.size(), make,
                           &slot.items));
            slot.share = QExplicitlySharedDataPointer<ListShare<T>>(share);
            share->ref.deref(); // the reference taken above is now the slot's
            slot.items = QVector<T>();
        },
        [](void* s) -> Record& {
            QVector<T>& items = static_cast<Slot*>(s)->Own();
            items.append(T());
            return items.last();
        },
        [](void* s) { static_cast<Slot*>(s)->Own().removeLast(); },
        [](void* s, const Record& item) {
            static_cast<Slot*>(s)->Own().append(static_cast<const T&>(item));
        },
        [](void* s, int index, const Record& item) {
            static_cast<Slot*>(s)->Own().insert(index, static_cast<const T&>(item));
        },
        [](void* s, int index) { static_cast<Slot*>(s)->Own().remove(index); },
        [](void* s, int from, int to) { static_cast<Slot*>(s)->Own().move(from, to); },
        [](void* s, int count) {
            QVector<T>& items = static_cast<Slot*>(s)->Own();
            if (count <= items.capacity())
                return;
            // Qt 6's reserve copies the items, and a copy takes the base's logger: they are
            // copied as the engine copies, keeping the settings they hold.
            items = CopiesKeeping(items, count);
        },
        [](void* s) { static_cast<Slot*>(s)->Own().clear(); },
        [](const void* a, const void* b) {
            return static_cast<const Slot*>(a)->Body() == static_cast<const Slot*>(b)->Body();
        },
        [](void* s) -> void* { return &static_cast<Slot*>(s)->def; },
        [](void* s) -> void* { return const_cast<QVector<T>*>(&static_cast<Slot*>(s)->Body()); },
        [](void* s) -> Record& { return static_cast<Slot*>(s)->def; },
        [](void* s, bool validate, const std::shared_ptr<REPORTGENERATOR::Logger>& logger,
           bool deep) {
            Slot& slot = *static_cast<Slot*>(s);
            if (slot.share || slot.items.isDetached())
                return false;
            if (SeparateCopiesAt(slot.items.constData(), true) && slot.items.isDetached())
                return false; // the copies took items of their own; these stay in place
            slot.items.detach();
            T* const copies = slot.items.data();
            const REPORTGENERATOR::Logger* const object = logger.get();
            for (qsizetype i = 0, size = slot.items.size(); i < size; ++i)
                RecordAccess::HandToCopy(copies[i], validate, logger, object, deep);
            return true;
        },
    };
    return ops;
}

} // namespace detail
} // namespace KVT317XML
