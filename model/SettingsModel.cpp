#include "SettingsModel.h"

#include <MemberDisplay.h>

#include <QDateTime>

#include <algorithm>
#include <exception>

namespace KVT317XML {

using REPORTGENERATOR::LogLevel;

QString FindingLine(const ReadFinding& finding)
{
    if (finding.position.line > 0)
        return QStringLiteral("line %1, column %2: %3")
            .arg(finding.position.line)
            .arg(finding.position.column)
            .arg(finding.message);
    if (finding.position.offset >= 0)
        return QStringLiteral("offset %1: %2").arg(finding.position.offset).arg(finding.message);
    return finding.message;
}

namespace {

bool SameFinding(const ReadFinding& a, const ReadFinding& b)
{
    return a.level == b.level && a.kind == b.kind && a.member == b.member &&
           a.message == b.message && a.path == b.path;
}

// The list member of a document root, or -1.
int ListMember(const RecordDescription& type)
{
    for (const MemberDescription& member : type.members)
        if (member.kind == MemberKind::RecordList)
            return member.bit;
    return -1;
}

} // namespace

SettingsModel::SettingsModel(QObject* parent)
    : QAbstractTableModel(parent)
{
}

bool SettingsModel::IsCell(const QModelIndex& index) const
{
    return index.isValid() && index.model() == this && !index.parent().isValid() &&
           index.row() < rowCount() && index.column() < columnCount();
}

SettingsModel::~SettingsModel() = default;

void SettingsModel::SetDocument(std::unique_ptr<Record> document,
                                std::vector<ReadFinding> readFindings)
{
    beginResetModel();
    m_document = std::move(document);
    m_columns.clear();
    m_rows.clear();
    m_documentRead.clear();
    m_documentCheck.clear();
    m_listBit = -1;
    if (m_document) {
        const RecordDescription& rootType = m_document->GetDescription();
        m_listBit = ListMember(rootType);
        const RecordDescription& rowType =
            m_listBit >= 0 ? *rootType.members.at(static_cast<size_t>(m_listBit)).nested()
                           : rootType;
        for (const MemberDescription& member : rowType.members) {
            if (member.kind == MemberKind::Record) {
                const RecordDescription& child = *member.nested();
                for (const MemberDescription& inner : child.members)
                    if (inner.kind != MemberKind::Record && inner.kind != MemberKind::RecordList)
                        m_columns.push_back(Column{member.bit, &child, &inner});
            } else if (member.kind != MemberKind::RecordList) {
                m_columns.push_back(Column{-1, &rowType, &member});
            }
        }
        m_rows.resize(static_cast<size_t>(rowCount()));
        for (ReadFinding& finding : readFindings) {
            if (m_listBit < 0) {
                const int column = LocateColumn(finding.path, 0, finding.member);
                m_rows.front().read.push_back(Located{column, std::move(finding)});
            } else if (!finding.path.isEmpty() && finding.path.front().bit == m_listBit &&
                       finding.path.front().item >= 0 &&
                       finding.path.front().item < static_cast<int>(m_rows.size())) {
                const int column = LocateColumn(finding.path, 1, finding.member);
                m_rows[static_cast<size_t>(finding.path.front().item)].read.push_back(
                    Located{column, std::move(finding)});
            } else {
                m_documentRead.push_back(std::move(finding));
            }
        }
        CheckDocument();
    }
    endResetModel();
}

int SettingsModel::LocateColumn(const ReadPath& path, int from,
                                const MemberDescription* member) const
{
    if (!member)
        return -1;
    const int depth = path.size() - from;
    if (depth == 0)
        return ColumnOf(-1, member->bit);
    if (depth == 1 && path.at(from).item < 0)
        return ColumnOf(path.at(from).bit, member->bit);
    return -1;
}

int SettingsModel::ColumnOf(int childBit, int memberBit) const
{
    for (size_t i = 0; i < m_columns.size(); ++i)
        if (m_columns[i].childBit == childBit && m_columns[i].member->bit == memberBit)
            return static_cast<int>(i);
    return -1;
}

const Record* SettingsModel::RowRecord(int row) const
{
    if (!m_document || row < 0 || row >= rowCount())
        return nullptr;
    return m_listBit < 0 ? m_document.get() : m_document->ListItem(m_listBit, row);
}

Record* SettingsModel::MutableRowRecord(int row)
{
    if (!m_document || row < 0 || row >= rowCount())
        return nullptr;
    return m_listBit < 0 ? m_document.get() : m_document->MutableListItem(m_listBit, row);
}

const Record* SettingsModel::CellRecord(int row, const Column& column) const
{
    const Record* record = RowRecord(row);
    return record && column.childBit >= 0 ? record->Child(column.childBit) : record;
}

Record* SettingsModel::MutableCellRecord(int row, const Column& column)
{
    Record* record = MutableRowRecord(row);
    return record && column.childBit >= 0 ? record->MutableChild(column.childBit) : record;
}

const MemberDescription* SettingsModel::ColumnMember(int column) const
{
    return column >= 0 && column < columnCount() ? m_columns[static_cast<size_t>(column)].member
                                                 : nullptr;
}

const RecordDescription* SettingsModel::ColumnRecordType(int column) const
{
    return column >= 0 && column < columnCount() ? m_columns[static_cast<size_t>(column)].record
                                                 : nullptr;
}

std::vector<SettingsModel::Located> SettingsModel::CheckRow(int row) const
{
    std::vector<Located> located;
    const Record* record = RowRecord(row);
    if (!record)
        return located;
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        record->Check(true);
    }
    for (const ReadFinding& finding : findings.Findings())
        located.push_back(Located{LocateColumn(finding.path, 0, finding.member), finding});
    return located;
}

void SettingsModel::CheckDocument()
{
    m_documentCheck.clear();
    if (!m_document)
        return;
    for (int row = 0; row < rowCount(); ++row)
        m_rows[static_cast<size_t>(row)].check = CheckRow(row);
    CheckRoot();
}

void SettingsModel::CheckRoot()
{
    m_documentCheck.clear();
    // The root's only member is its list: what its own check says about the document as a
    // whole, beyond the rows checked one by one, concerns an empty or unset list.
    if (m_listBit < 0 ||
        (m_document->IsMemberSet(m_listBit) && m_document->ListSize(m_listBit) > 0))
        return;
    ReadFindings findings;
    {
        ObserveReading observe(findings);
        m_document->Check(true);
    }
    for (const ReadFinding& finding : findings.Findings())
        if (finding.path.isEmpty())
            m_documentCheck.push_back(finding);
}

void SettingsModel::Recheck(int row, QVector<int>& changedColumns)
{
    std::vector<Located> now = CheckRow(row);
    std::vector<Located>& before = m_rows[static_cast<size_t>(row)].check;
    // A cell changes when the list of its findings does.
    auto ofColumn = [](const std::vector<Located>& list, int column) {
        std::vector<const ReadFinding*> found;
        for (const Located& entry : list)
            if (entry.column == column)
                found.push_back(&entry.finding);
        return found;
    };
    QVector<int> touched;
    for (const Located& entry : before)
        touched.append(entry.column);
    for (const Located& entry : now)
        touched.append(entry.column);
    for (int column : touched) {
        if (changedColumns.contains(column))
            continue;
        const auto a = ofColumn(before, column);
        const auto b = ofColumn(now, column);
        const bool same =
            a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                               [](const ReadFinding* x, const ReadFinding* y) {
                                                   return SameFinding(*x, *y);
                                               });
        if (!same)
            changedColumns.append(column);
    }
    before = std::move(now);
}

void SettingsModel::EmitChanged(int row, const QVector<int>& columns)
{
    for (int column : columns) {
        if (column < 0)
            continue;
        const QModelIndex cell = index(row, column);
        emit dataChanged(cell, cell);
    }
    if (columns.contains(-1)) // findings about the row's record as a whole: its header
        emit headerDataChanged(Qt::Vertical, row, row);
}

template <class Change> bool SettingsModel::ChangeCell(const QModelIndex& index, Change change)
{
    if (!IsCell(index))
        return false;
    const int row = index.row();
    const Column& column = m_columns[static_cast<size_t>(index.column())];
    const int bit = column.member->bit;
    const Record* current = CellRecord(row, column);
    const bool wasSet = current->IsMemberSet(bit);
    const QVariant was = current->MemberValue(bit);
    const QString wasText = current->MemberText(bit);
    Record* record = MutableCellRecord(row, column);
    bool stored = false;
    try {
        stored = change(*record, bit);
    } catch (const std::exception&) {
        stored = false;
    }
    if (!stored) {
        // Refused: whatever the library kept goes back.
        if (record->IsMemberSet(bit) != wasSet || record->MemberText(bit) != wasText) {
            const bool validate = record->GetValidate();
            record->SetValidate(false);
            if (wasSet)
                record->SetMemberValue(bit, was);
            else
                record->ResetMember(bit);
            record->SetValidate(validate);
        }
        return false;
    }
    QVector<int> changed;
    if (record->IsMemberSet(bit) != wasSet || record->MemberText(bit) != wasText)
        changed.append(index.column());
    // The cell's read findings no longer describe its value.
    std::vector<Located>& read = m_rows[static_cast<size_t>(row)].read;
    const auto before = read.size();
    read.erase(
        std::remove_if(read.begin(), read.end(),
                       [&index](const Located& entry) { return entry.column == index.column(); }),
        read.end());
    if (read.size() != before && !changed.contains(index.column()))
        changed.append(index.column());
    Recheck(row, changed);
    EmitChanged(row, changed);
    return true;
}

bool SettingsModel::SetToDefault(const QModelIndex& index)
{
    return ChangeCell(index, [](Record& record, int bit) {
        return record.SetMemberValue(bit, record.MemberDefault(bit));
    });
}

bool SettingsModel::Unset(const QModelIndex& index)
{
    return ChangeCell(index, [](Record& record, int bit) {
        record.ResetMember(bit);
        return true;
    });
}

bool SettingsModel::setData(const QModelIndex& index, const QVariant& value, int role)
{
    if (role == IsSetRole) {
        if (value.toBool())
            return ChangeCell(index, [](Record& record, int bit) {
                return record.SetMemberValue(bit, record.MemberValue(bit));
            });
        return Unset(index);
    }
    if (role != Qt::EditRole)
        return false;
    return ChangeCell(
        index, [&value](Record& record, int bit) { return record.SetMemberValue(bit, value); });
}

int SettingsModel::rowCount(const QModelIndex& parent) const
{
    if (parent.isValid() || !m_document)
        return 0;
    return m_listBit < 0 ? 1 : m_document->ListSize(m_listBit);
}

int SettingsModel::columnCount(const QModelIndex& parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QStringList SettingsModel::CellFindings(int row, int column) const
{
    QStringList lines;
    const RowFindings& findings = m_rows[static_cast<size_t>(row)];
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
    const RowFindings& findings = m_rows[static_cast<size_t>(row)];
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

QVariant SettingsModel::data(const QModelIndex& index, int role) const
{
    if (!IsCell(index))
        return QVariant();
    const Column& column = m_columns[static_cast<size_t>(index.column())];
    const Record* record = CellRecord(index.row(), column);
    const MemberDescription& member = *column.member;
    switch (role) {
    case Qt::DisplayRole:
        return ShownMemberValue(*record, member);
    case Qt::EditRole:
        return record->MemberValue(member.bit);
    case Qt::ToolTipRole: {
        const QStringList lines = CellFindings(index.row(), index.column());
        return lines.isEmpty() ? QVariant() : QVariant(lines.join(QLatin1Char('\n')));
    }
    case IsSetRole:
        return record->IsMemberSet(member.bit);
    case DefaultRole:
        return record->MemberDefault(member.bit);
    case DisplayNamesRole:
        return member.kind == MemberKind::Enumeration
                   ? QVariant(MemberDisplayNames(*column.record, member))
                   : QVariant();
    case NamesRole:
        return member.kind == MemberKind::Enumeration ? QVariant(member.enumeration->names)
                                                      : QVariant();
    case FindingsRole:
        return CellFindings(index.row(), index.column());
    case FaultRole:
        return CellFault(index.row(), index.column());
    case UnitRole:
        return MemberUnit(*column.record, member);
    case DecimalsRole:
        return member.precision;
    case KindRole:
        return static_cast<int>(member.kind);
    default:
        return QVariant();
    }
}

QVariant SettingsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && section >= 0 && section < columnCount()) {
        const Column& column = m_columns[static_cast<size_t>(section)];
        if (role == Qt::DisplayRole)
            return column.member->name;
        if (role == Qt::ToolTipRole)
            return column.childBit >= 0
                       ? QStringLiteral("%1.%2").arg(column.record->name, column.member->name)
                       : column.member->name;
        return QVariant();
    }
    if (orientation == Qt::Vertical && section >= 0 && section < rowCount() &&
        (role == Qt::ToolTipRole || role == FindingsRole || role == FaultRole)) {
        // The findings about a row's record as a whole.
        if (role == FaultRole)
            return CellFault(section, -1);
        const QStringList lines = CellFindings(section, -1);
        if (role == FindingsRole)
            return lines;
        return lines.isEmpty() ? QVariant() : QVariant(lines.join(QLatin1Char('\n')));
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

Qt::ItemFlags SettingsModel::flags(const QModelIndex& index) const
{
    if (!IsCell(index))
        return Qt::NoItemFlags;
    return Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemIsEditable | Qt::ItemNeverHasChildren;
}

bool SettingsModel::InsertRecord(int row, const Record& item)
{
    if (m_listBit < 0 || row < 0 || row > rowCount())
        return false;
    if (&item.GetDescription() !=
        m_document->GetDescription().members.at(static_cast<size_t>(m_listBit)).nested())
        return false;
    // The list's append refuses an incomplete item with validation on; it is not inserted.
    if (m_document->GetValidate() && !item.HasData())
        return false;
    beginInsertRows(QModelIndex(), row, row);
    bool inserted = false;
    try {
        inserted = m_document->InsertListItem(m_listBit, row, item);
    } catch (const std::exception&) {
        inserted = false;
    }
    if (inserted) {
        m_rows.insert(m_rows.begin() + row, RowFindings());
        m_rows[static_cast<size_t>(row)].check = CheckRow(row);
    }
    endInsertRows();
    CheckRoot();
    return inserted;
}

bool SettingsModel::insertRows(int row, int count, const QModelIndex& parent)
{
    if (parent.isValid() || m_listBit < 0 || count < 1 || row < 0 || row > rowCount())
        return false;
    std::unique_ptr<Record> item = m_document->NewMemberRecord(m_listBit);
    item->ResetToDefault();
    for (int i = 0; i < count; ++i)
        if (!InsertRecord(row + i, *item))
            return false;
    return true;
}

bool SettingsModel::removeRows(int row, int count, const QModelIndex& parent)
{
    if (parent.isValid() || m_listBit < 0 || count < 1 || row < 0 || row + count > rowCount())
        return false;
    beginRemoveRows(QModelIndex(), row, row + count - 1);
    for (int i = 0; i < count; ++i)
        m_document->RemoveListItem(m_listBit, row);
    m_rows.erase(m_rows.begin() + row, m_rows.begin() + row + count);
    endRemoveRows();
    CheckRoot();
    return true;
}

bool SettingsModel::moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                             const QModelIndex& destinationParent, int destinationChild)
{
    if (sourceParent.isValid() || destinationParent.isValid() || m_listBit < 0 || count < 1 ||
        sourceRow < 0 || sourceRow + count > rowCount() || destinationChild < 0 ||
        destinationChild > rowCount() ||
        (destinationChild >= sourceRow && destinationChild <= sourceRow + count))
        return false;
    if (!beginMoveRows(QModelIndex(), sourceRow, sourceRow + count - 1, QModelIndex(),
                       destinationChild))
        return false;
    if (destinationChild > sourceRow) {
        for (int i = 0; i < count; ++i)
            m_document->MoveListItem(m_listBit, sourceRow, destinationChild - 1);
        std::rotate(m_rows.begin() + sourceRow, m_rows.begin() + sourceRow + count,
                    m_rows.begin() + destinationChild);
    } else {
        for (int i = 0; i < count; ++i)
            m_document->MoveListItem(m_listBit, sourceRow + i, destinationChild + i);
        std::rotate(m_rows.begin() + destinationChild, m_rows.begin() + sourceRow,
                    m_rows.begin() + sourceRow + count);
    }
    endMoveRows();
    return true;
}

std::vector<SettingsModel::CellFinding> SettingsModel::Findings() const
{
    std::vector<CellFinding> all;
    for (const ReadFinding& finding : m_documentRead)
        all.push_back(CellFinding{-1, -1, true, finding});
    for (const ReadFinding& finding : m_documentCheck)
        all.push_back(CellFinding{-1, -1, false, finding});
    for (size_t row = 0; row < m_rows.size(); ++row) {
        for (const Located& entry : m_rows[row].read)
            all.push_back(CellFinding{static_cast<int>(row), entry.column, true, entry.finding});
        for (const Located& entry : m_rows[row].check)
            all.push_back(CellFinding{static_cast<int>(row), entry.column, false, entry.finding});
    }
    return all;
}

std::vector<ReadFinding> SettingsModel::StandingReadFindings() const
{
    std::vector<ReadFinding> standing = m_documentRead;
    for (const RowFindings& row : m_rows)
        for (const Located& entry : row.read)
            standing.push_back(entry.finding);
    return standing;
}

QHash<int, QByteArray> SettingsModel::roleNames() const
{
    QHash<int, QByteArray> names = QAbstractTableModel::roleNames();
    names.insert(Qt::EditRole, "edit");
    names.insert(IsSetRole, "isSet");
    names.insert(DefaultRole, "defaultValue");
    names.insert(DisplayNamesRole, "displayNames");
    names.insert(NamesRole, "names");
    names.insert(FindingsRole, "findings");
    names.insert(FaultRole, "fault");
    names.insert(UnitRole, "unit");
    names.insert(DecimalsRole, "decimals");
    names.insert(KindRole, "kind");
    return names;
}

} // namespace KVT317XML
