// The validation switch and logger of the records a record holds (children, list items):
// they read the holder's, and take them into their objects only when a reference to one is
// handed out.

#include "RecordStorage.h"

namespace KVT317XML {

const REPORTGENERATOR::Logger* DefaultLogger()
{
    static const REPORTGENERATOR::Logger* const logger = REPORTGENERATOR::Logger::Default().get();
    return logger;
}

// ---- Switch and logger -------------------------------------------------------------------

void Record::SetValidate(bool validate) const
{
    IRGObject::SetValidate(validate);
    Follow();
}

void Record::SetLogger(std::shared_ptr<REPORTGENERATOR::Logger> logger) const
{
    IRGObject::SetLogger(std::move(logger));
    Follow();
}

// The held records read the new setting; when nothing else shares them, they take it at
// once, so that later const operations on the record write nothing.
void Record::Follow() const
{
    if (m_type.children.empty() || !HasStorage())
        return;
    const quint8 pending = m_down.pending;
    PassDown();
    if (m_down.pending != pending && OwnsChildren())
        SettleChildren(true);
}

// Every operation that works on held records first makes them read this record's switch
// and logger. Nothing is written when they already do, so that const operations on one
// record can run on several threads at once. A record called by the record that holds it
// reports with the holder's settings (a held scope) and passes those on.
void Record::PassDown() const
{
    if (m_type.children.empty() || !HasStorage() ||
        REPORTGENERATOR::Operation::OfThread().heldRecord == this)
        return;
    MarkPending();
}

// The held records read what this record holds itself, wherever they do not hold it yet.
void Record::MarkPending() const
{
    quint8 pending = m_down.pending;
    if (!(m_down.held & DownValidate) || m_down.heldValidate != CurrentValidate())
        pending |= DownValidate;
    if (!(m_down.held & DownLogger) || m_down.heldLogger != CurrentLogger())
        pending |= DownLogger;
    if (pending != m_down.pending)
        m_down.pending = pending;
}

// For operations that write anyway: the held records take what they read.
void Record::Settle()
{
    PassDown();
    SettleChildren(false);
}

bool Record::OwnsChildren() const
{
    const StorageBlock* block = d.constData();
    if (!block || block->ref.loadRelaxed() != 1)
        return false;
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        if (row.list && row.list->shared(SlotOf(*block, row)))
            return false;
    }
    return true;
}

// The held records take this record's pending settings into their objects, and their own
// held records read them in turn, and take them too where nothing shares them.
void Record::SettleChildren(bool deep) const
{
    if (!m_down.pending)
        return;
    // Both settings are settled together, so that afterwards the record knows its held
    // records hold both: a later hand-down of the same values leaves nothing pending, and
    // const operations on the record, which may run on several threads, write nothing.
    if (m_type.children.empty() || !HasStorage() || HoldAlready(DownBoth)) {
        if (HasStorage())
            Held(DownBoth);
        m_down.pending = 0;
        return;
    }
    if (HoldAlready(m_down.pending)) {
        // Nothing to write: the records already hold what they read.
        Held(m_down.pending);
        m_down.pending = 0;
        return;
    }
    const quint8 pending = DownBoth;
    Record& self = const_cast<Record&>(*this);
    StorageBlock& block = self.MutableStorage();
    const bool validate = CurrentValidate();
    const std::shared_ptr<REPORTGENERATOR::Logger>& logger = OwnLogger();
    const auto hand = [&](Record& child) {
        bool changed = false;
        if ((pending & DownValidate) && child.CurrentValidate() != validate) {
            child.HoldValidate(validate);
            changed = true;
        }
        if ((pending & DownLogger) && child.CurrentLogger() != logger.get()) {
            child.HoldLogger(logger);
            changed = true;
        }
        if (child.m_type.children.empty())
            return;
        // A record whose settings stay marked what its own held records read when they
        // last changed.
        if (changed)
            child.PassDown();
        // Where nothing shares its held records, they take the settings now too: a const
        // reference handed out later then writes nothing. A shared storage block, the usual
        // case right after a copy, is told without a call.
        const StorageBlock* const held = child.d.constData();
        if (held && held->ref.loadRelaxed() == 1 && child.OwnsChildren())
            child.SettleChildren(deep);
    };
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        void* slot = SlotOf(block, row);
        if (row.asRecord) {
            hand(RecordAt(row, slot, 0));
            continue;
        }
        // Items copied now take the settings as they are copied.
        if (row.list->detachHanding(slot, validate, logger, deep))
            continue;
        // The copies keep only what is not handed to them next.
        row.list->detach(slot, static_cast<quint8>(DownBoth & ~pending));
        const int size = row.list->size(slot);
        for (int i = 0; i < size; ++i)
            hand(row.list->mutableItem(slot, i));
    }
    Held(pending);
    m_down.pending = 0;
}

// The held records hold this record's current settings.
void Record::Held(quint8 settings) const
{
    if (settings & DownValidate)
        m_down.heldValidate = CurrentValidate();
    if (settings & DownLogger)
        m_down.heldLogger = CurrentLogger();
    m_down.held |= settings;
}

// Whether every held record already holds these of this record's settings, and its own held
// records read them: then taking them writes nothing. Reads only.
bool Record::HoldAlready(quint8 settings) const
{
    const bool validate = CurrentValidate();
    const REPORTGENERATOR::Logger* logger = CurrentLogger();
    const auto holds = [&](const Record& child) {
        if ((settings & DownValidate) && child.CurrentValidate() != validate)
            return false;
        if ((settings & DownLogger) && child.CurrentLogger() != logger)
            return false;
        if (child.m_type.children.empty() || !child.HasStorage())
            return true;
        const Down& down = child.m_down;
        const bool validateRead = (down.pending & DownValidate) ||
                                  ((down.held & DownValidate) && down.heldValidate == validate);
        const bool loggerRead =
            (down.pending & DownLogger) || ((down.held & DownLogger) && down.heldLogger == logger);
        return (!(settings & DownValidate) || validateRead) &&
               (!(settings & DownLogger) || loggerRead);
    };
    const StorageBlock& block = *d.constData();
    for (const int bit : m_type.children) {
        const MemberRow& row = m_type.rows[bit];
        const void* slot = SlotOf(block, row);
        if (row.asRecord) {
            if (!holds(RecordAt(row, slot, 0)))
                return false;
            continue;
        }
        const int size = row.list->size(slot);
        for (int i = 0; i < size; ++i)
            if (!holds(row.list->item(slot, i)))
                return false;
    }
    return true;
}

// After taking another record's storage (copy or assignment) the held records read this
// record's settings; where they already hold them, nothing is pending.
void Record::FollowSharedStorage(const Record& other, bool fresh)
{
    if (m_type.children.empty())
        return;
    const Down& source = other.m_down;
    // What the source's held records hold for certain: nothing it had still to hand down.
    const quint8 held = source.held & ~source.pending;
    if (fresh) {
        // A record under construction reports with nothing but its own settings: its held
        // records read them wherever they do not hold them yet.
        quint8 pending = 0;
        if (HasStorage()) {
            if (!(held & DownValidate) || source.heldValidate != CurrentValidate())
                pending |= DownValidate;
            if (!(held & DownLogger) || source.heldLogger != CurrentLogger())
                pending |= DownLogger;
        }
        m_down = Down{pending, held, source.heldValidate, source.heldLogger};
        return;
    }
    m_down = Down{0, held, source.heldValidate, source.heldLogger};
    PassDown();
}

} // namespace KVT317XML
