// Edits of the item model: each tried on a copy of its row before the document changes, and
// the findings and views of a row redone after it changed.

#include "SettingsModel.h"

#include <MemberDisplay.h>

#include <QDateTime>

#include <algorithm>
#include <charconv>
#include <exception>

namespace KVT317XML {

using REPORTGENERATOR::LogLevel;

namespace {

bool SameFinding(const ReadFinding& a, const ReadFinding& b)
{
    return a.level == b.level && a.kind == b.kind && a.member == b.member &&
           a.message == b.message && a.path == b.path;
}

// Values equal as a save keeps them: texts also in being null or not, numbers exactly.
bool SameValue(const QVariant& a, const QVariant& b)
{
    if (a.userType() != b.userType() || a.isNull() != b.isNull())
        return false;
    if (a.userType() == QMetaType::QString)
        return a.toString() == b.toString() && a.toString().isNull() == b.toString().isNull();
    if (a.userType() == QMetaType::QDateTime)
        return a.toDateTime().isValid() == b.toDateTime().isValid() &&
               a.toDateTime() == b.toDateTime();
    return a == b;
}

// A value as a person wrote it, for refusals: numbers in their shortest exact form, texts
// quoted with their control characters named.
QString ValueText(const QVariant& value)
{
    char digits[64] = {};
    if (value.userType() == QMetaType::Float) {
        const auto end = std::to_chars(digits, digits + sizeof digits - 1, value.toFloat()).ptr;
        return QString::fromLatin1(digits, static_cast<int>(end - digits));
    }
    if (value.userType() == QMetaType::Double) {
        const auto end = std::to_chars(digits, digits + sizeof digits - 1, value.toDouble()).ptr;
        return QString::fromLatin1(digits, static_cast<int>(end - digits));
    }
    if (value.userType() == QMetaType::QDateTime)
        return value.toDateTime().toUTC().toString(QStringLiteral("yyyy-MM-ddThh:mm:ss,zzzZ"));
    if (value.userType() == QMetaType::QString) {
        const QString text = value.toString();
        if (text.isNull())
            return QStringLiteral("(null)");
        QString shown;
        for (const QChar c : text)
            shown +=
                c.unicode() < 0x20 || c.unicode() == 0x7F
                    ? QStringLiteral("U+%1").arg(c.unicode(), 4, 16, QLatin1Char('0')).toUpper()
                    : QString(c);
        return QLatin1Char('"') + shown + QLatin1Char('"');
    }
    return value.toString();
}

// The roles whose data an edit can change; the others are the column's own.
const int ChangingRoles[] = {Qt::DisplayRole,
                             Qt::EditRole,
                             Qt::ToolTipRole,
                             SettingsModel::IsSetRole,
                             SettingsModel::DefaultRole,
                             SettingsModel::FindingsRole,
                             SettingsModel::FaultRole};
const int HeaderRoles[] = {Qt::ToolTipRole, SettingsModel::FindingsRole, SettingsModel::FaultRole};

} // namespace

const SettingsModel::RowState& SettingsModel::State(int row) const
{
    RowState& state = m_rows[static_cast<size_t>(row)];
    if (!state.current)
        Update(state, row);
    return state;
}

void SettingsModel::Update(RowState& state, int row) const
{
    state.current = true;
    // Checked through a copy that reports to the model: a row inserted from a record keeps
    // that record's logger until the list hands it out for writing.
    const std::unique_ptr<Record> record = CopyRecord(*RowRecord(row));
    record->SetLogger(m_logger);
    state.check.clear();
    ReadFindings checked;
    {
        ObserveReading observe(checked);
        record->Check(true);
    }
    for (const ReadFinding& finding : checked.Findings())
        state.check.push_back(Located{LocateColumn(finding.path, 0, finding.member), finding});
    // What a save of the row would find, loaded back and checked, beyond what the row's own
    // check says: the fault of a value written that does not read, of a child not written.
    std::vector<ReadFinding> saved;
    // The binary form keeps every text as it is; XML may lose characters in attributes, and
    // its save is then refused for not loading back as shown.
    state.view = DocumentAsSaved(*record, DocumentForm::Binary, &saved);
    if (state.view) {
        ReadFindings again;
        {
            ObserveReading observe(again);
            state.view->Check(true);
        }
        saved.insert(saved.end(), again.Findings().begin(), again.Findings().end());
    }
    for (const ReadFinding& finding : saved) {
        if (finding.level == LogLevel::Info)
            continue;
        // The row's read findings are placed from the document's root, these from the row.
        const auto same = [&finding](const Located& entry) {
            return entry.finding.kind == finding.kind && entry.finding.member == finding.member &&
                   entry.finding.message == finding.message;
        };
        const bool known = std::any_of(state.check.begin(), state.check.end(), same) ||
                           std::any_of(state.read.begin(), state.read.end(), same);
        if (!known)
            state.check.push_back(Located{LocateColumn(finding.path, 0, finding.member), finding});
    }
}

void SettingsModel::CheckRoot()
{
    m_documentCheck.clear();
    // The root's only member is its list: what its own check says about the document as a
    // whole, beyond the rows checked one by one, concerns an empty or unset list, and so
    // does what the empty document as saved says.
    if (m_listBit < 0 || m_document->ListSize(m_listBit) > 0)
        return;
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        m_document->Check(true);
    }
    std::vector<ReadFinding> found = findings.Findings();
    const std::unique_ptr<Record> saved = DocumentAsSaved(*m_document, DocumentForm::Xml, &found);
    if (saved) {
        ReadFindings again;
        {
            ObserveReading observe(again);
            saved->Check(true);
        }
        found.insert(found.end(), again.Findings().begin(), again.Findings().end());
    }
    for (const ReadFinding& finding : found) {
        const bool known = std::any_of(
            m_documentCheck.begin(), m_documentCheck.end(),
            [&finding](const ReadFinding& entry) { return SameFinding(entry, finding); });
        if (finding.path.isEmpty() && finding.level != LogLevel::Info && !known)
            m_documentCheck.push_back(finding);
    }
}

bool SettingsModel::Apply(Record& row, const Column& column, EditKind kind, const QVariant& value,
                          QString& why) const
{
    const MemberDescription& member = *column.member;
    ReadFindings said;
    bool stored = false;
    {
        ObserveReading observe(said);
        try {
            Record* record = column.childBit >= 0 ? row.MutableChild(column.childBit) : &row;
            if (kind == EditKind::Unset) {
                record->ResetMember(member.bit);
                stored = true;
            } else {
                stored = record->SetMemberValue(member.bit, value);
            }
        } catch (const std::exception& refused) {
            why = QString::fromUtf8(refused.what());
            return false;
        }
    }
    if (!stored) {
        why = QStringLiteral("%1: %2 is not a value of the member's type")
                  .arg(member.name, value.toString());
        return false;
    }
    // A value the library stores only with a report (an enumerator outside the names, a
    // null text) is refused.
    for (const ReadFinding& finding : said.Findings()) {
        if (finding.member == &member && finding.level != LogLevel::Info) {
            why = finding.message;
            return false;
        }
    }
    return true;
}

bool SettingsModel::Carried(const Record& row, const Column& column, EditKind kind,
                            QString& why) const
{
    const MemberDescription& member = *column.member;
    const Record* cell = column.childBit >= 0 ? row.Child(column.childBit) : &row;
    const bool set = kind != EditKind::Unset;
    for (DocumentForm form : {DocumentForm::Xml, DocumentForm::Binary}) {
        std::vector<ReadFinding> found;
        const std::unique_ptr<Record> back = DocumentAsSaved(row, form, &found);
        if (!back) {
            why = QStringLiteral("%1: the %2 form cannot carry the value")
                      .arg(member.name, DocumentFormName(form));
            return false;
        }
        for (const ReadFinding& finding : found) {
            if (finding.member == &member && finding.level != LogLevel::Info) {
                why = finding.message;
                return false;
            }
        }
        const Record* backCell = column.childBit >= 0 ? back->Child(column.childBit) : back.get();
        const bool backSet = (column.childBit < 0 || back->IsMemberSet(column.childBit)) &&
                             backCell->IsMemberSet(member.bit);
        if (backSet != set) {
            why = set ? QStringLiteral("%1 would not be saved").arg(member.name)
                      : QStringLiteral("%1 is always saved; it cannot be unset").arg(member.name);
            return false;
        }
        if (set && !SameValue(cell->MemberValue(member.bit), backCell->MemberValue(member.bit))) {
            why = QStringLiteral("%1: the %2 form cannot carry %3; it would be read back as %4")
                      .arg(member.name, DocumentFormName(form),
                           ValueText(cell->MemberValue(member.bit)),
                           ShownMemberValue(*backCell, member));
            return false;
        }
    }
    return true;
}

bool SettingsModel::Edit(const QModelIndex& index, EditKind kind, const QVariant& value)
{
    m_refusal.clear();
    if (!IsCell(index)) {
        m_refusal = QStringLiteral("no such cell");
        return false;
    }
    const int row = index.row();
    const Column& column = m_columns[static_cast<size_t>(index.column())];
    if (kind == EditKind::Unset && !ShownSet(row, column))
        return true; // nothing a save would write, nothing to unset
    const QVariant wanted = kind == EditKind::Default
                                ? CellRecord(row, column)->MemberDefault(column.member->bit)
                                : value;
    // Tried on a copy of the row: the document changes only when the library takes the
    // value and both forms give back what it holds.
    const std::unique_ptr<Record> trial = CopyRecord(*RowRecord(row));
    trial->SetLogger(nullptr);
    QString why;
    if (!Apply(*trial, column, kind, wanted, why) || !Carried(*trial, column, kind, why)) {
        m_refusal = why;
        return false;
    }
    const Snapshot before = Snap(row);
    QString ignored;
    Apply(*MutableRowRecord(row), column, kind, wanted, ignored);
    // The cell's read findings no longer describe its value.
    std::vector<Located>& read = m_rows[static_cast<size_t>(row)].read;
    read.erase(
        std::remove_if(read.begin(), read.end(),
                       [&index](const Located& entry) { return entry.column == index.column(); }),
        read.end());
    Refresh(row);
    EmitChanged(row, before);
    return true;
}

SettingsModel::Snapshot SettingsModel::Snap(int row) const
{
    Snapshot snapshot;
    for (int column = 0; column < columnCount(); ++column)
        for (int role : ChangingRoles)
            snapshot.push_back(data(index(row, column), role));
    for (int role : HeaderRoles)
        snapshot.push_back(headerData(row, Qt::Vertical, role));
    return snapshot;
}

void SettingsModel::EmitChanged(int row, const Snapshot& before)
{
    const Snapshot now = Snap(row);
    const size_t roles = std::size(ChangingRoles);
    for (int column = 0; column < columnCount(); ++column) {
        QVector<int> changed;
        for (size_t role = 0; role < roles; ++role) {
            const size_t at = static_cast<size_t>(column) * roles + role;
            if (!SameValue(before[at], now[at]))
                changed.append(ChangingRoles[role]);
        }
        if (!changed.isEmpty()) {
            const QModelIndex cell = index(row, column);
            emit dataChanged(cell, cell, changed);
        }
    }
    const size_t header = static_cast<size_t>(columnCount()) * roles;
    if (!std::equal(before.begin() + static_cast<std::ptrdiff_t>(header), before.end(),
                    now.begin() + static_cast<std::ptrdiff_t>(header), SameValue))
        emit headerDataChanged(Qt::Vertical, row, row);
}

bool SettingsModel::SetToDefault(const QModelIndex& index)
{
    return Edit(index, EditKind::Default, QVariant());
}

bool SettingsModel::Unset(const QModelIndex& index)
{
    return Edit(index, EditKind::Unset, QVariant());
}

bool SettingsModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role == IsSetRole) {
        if (!value.toBool())
            return Unset(index);
        if (!IsCell(index))
            return false;
        // Set to the value shown.
        return Edit(index, EditKind::Value, data(index, Qt::EditRole));
    }
    if (role != Qt::EditRole) {
        m_refusal = QStringLiteral("only the edit role and the set role take values");
        return false;
    }
    return Edit(index, EditKind::Value, value);
}

QStringList SettingsModel::CellFindings(int row, int column) const
{
    QStringList lines;
    const RowState& findings = State(row);
    for (const Located& entry : findings.read)
        if (entry.column == column)
            lines.append(FindingLine(entry.finding));
    for (const Located& entry : findings.check)
        if (entry.column == column)
            lines.append(FindingLine(entry.finding));
    return lines;
}

int SettingsModel::CellFault(int row, int column) const
{
    int fault = -1;
    const RowState& findings = State(row);
    auto consider = [&fault, column](const Located& entry) {
        if (entry.column != column)
            return;
        const int level = static_cast<int>(entry.finding.level);
        if (fault < 0 || level < fault)
            fault = level;
    };
    std::for_each(findings.read.begin(), findings.read.end(), consider);
    std::for_each(findings.check.begin(), findings.check.end(), consider);
    return fault;
}

} // namespace KVT317XML
