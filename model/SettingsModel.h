#pragma once

#include "KVT317XmlModelExport.h"
#include "SettingsDocument.h"

#include <ReadObserver.h>
#include <Record.h>

#include <QAbstractTableModel>
#include <QStringList>

#include <memory>
#include <vector>

namespace KVT317XML {

/// @brief A table model over a settings document, for Qt's item views and QML.
///
/// For a KVT317_Settings document a row per KVT317SettingsDetail and a column per member of
/// the detail, the members of its FrequencyRange in columns of their own; for a
/// BearingSettings document one row with a column per member. The members that identify a
/// row (its XML attributes: Name and index, Name and Index) come first, then the others in
/// member order. Header data gives the member names.
///
/// A cell shows what a save writes and a load gives back (DocumentAsSaved() in the binary
/// form, which keeps every text as it is; an XML save that would lose a character is refused
/// by SaveSettingsDocument()): it is set where, and only where, a save writes the member
/// (members that are always written are set even before an edit sets them; the members of a
/// frequency range the detail does not write are unset), with the value as it is written
/// (decimals, date-times).
///
/// Values are written through the member tables (Record::SetMemberValue(),
/// Record::ResetMember()), with the document's validation switch. Every edit is tried on a
/// copy of the row first: one that the library refuses (a value that does not convert, a
/// report, one that raises with validation on), or whose result a save in XML or in the
/// binary form would not give back as it is (more decimals than the member keeps, a
/// date-time outside the years the text form carries, a character XML cannot carry, an
/// enumerator outside the names, a null text, the unset of a member that is always written)
/// leaves the document as it was, byte for byte; setData() returns false and LastRefusal()
/// says why.
///
/// The document reports to a logger of the model's own, never to standard error; what the
/// library says arrives as findings. Each cell carries its findings: the located findings of
/// the load that gave the document (until the cell is edited), the messages of the row's
/// Check(), and what a save of the row would find when loaded back and checked. They are
/// redone for a row whenever it changes. A change emits dataChanged() for exactly the cells
/// whose data changed in any role. Findings about a row's record as a whole are those of its
/// vertical header (Qt::ToolTipRole, FindingsRole, FaultRole).
class KVT317XMLMODEL_EXPORT SettingsModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// The model's own roles, besides Qt::DisplayRole (the value as `kvt317 show` writes
    /// it, see ShownMemberValue()), Qt::EditRole (a QVariant of the member's natural type,
    /// see Record::MemberValue()) and Qt::ToolTipRole (the cell's findings, a line each).
    enum Role {
        IsSetRole = Qt::UserRole + 1, ///< bool: whether a save writes the member; false unsets it
        DefaultRole,                  ///< the member's default, as Qt::EditRole gives values
        DisplayNamesRole,             ///< QStringList: an enumeration's names as shown (GetGUIXs())
        NamesRole,                    ///< QStringList: an enumeration's names
        FindingsRole,                 ///< QStringList: the cell's findings, a line each
        FaultRole,    ///< int: the most severe level of the cell's findings (LogLevel), or -1
        UnitRole,     ///< QString: the unit of the member's value (MemberUnit())
        DecimalsRole, ///< int: the decimals a Float or Double member keeps
        KindRole      ///< int: the member's MemberKind
    };
    Q_ENUM(Role)

    /// One finding and the cell it belongs to.
    struct CellFinding {
        int row = -1;        ///< the row; -1 for findings about the document as a whole
        int column = -1;     ///< the column; -1 for findings about the row's record as a whole
        bool read = false;   ///< a finding of the load, rather than of a check
        ReadFinding finding; ///< the finding itself
    };

    /// An empty model, without document.
    explicit SettingsModel(QObject* parent = nullptr);
    ~SettingsModel() override;

    /// Shows @p document (a KVT317_Settings or a BearingSettings), with the findings of the
    /// load that gave it; resets the model and checks the document.
    void SetDocument(std::unique_ptr<Record> document,
                     std::vector<ReadFinding> readFindings = std::vector<ReadFinding>());
    /// The document shown; null before SetDocument().
    const Record* Document() const { return m_document.get(); }
    /// The record shown in a row; null outside the rows.
    const Record* RowRecord(int row) const;
    /// The member shown in a column; null outside the columns.
    const MemberDescription* ColumnMember(int column) const;
    /// The record type the member of a column belongs to; null outside the columns.
    const RecordDescription* ColumnRecordType(int column) const;
    /// The column of a member of the row record (@p childBit -1) or of one of its child
    /// records (@p childBit the child's member); -1 when no column shows it.
    int ColumnOf(int childBit, int memberBit) const;
    /// Whether rows can be inserted, removed and moved: true for KVT317_Settings.
    bool HasRowList() const { return m_listBit >= 0; }

    /// Sets the cell's member to its default. False, changing nothing, when refused.
    bool SetToDefault(const QModelIndex& index);
    /// Marks the cell's member unset (its default put back).
    bool Unset(const QModelIndex& index);
    /// Inserts a copy of @p item at @p row, under the rule of the list's append (with
    /// validation on an incomplete item is refused). False when nothing was inserted.
    bool InsertRecord(int row, const Record& item);
    /// Why the last edit, insertion or move was refused; empty after one that was done.
    QString LastRefusal() const { return m_refusal; }

    /// Every finding, the document's first, then row by row, each row's read findings
    /// before its check findings.
    std::vector<CellFinding> Findings() const;
    /// The findings of the load that still stand: those of cells not edited since.
    std::vector<ReadFinding> StandingReadFindings() const;

    /// The details of a KVT317_Settings; 1 for a BearingSettings; 0 without document.
    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    /// A column per member of the row's record, its child records' members included.
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    /// The cell's value or findings in one of the roles (see Role).
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    /// Horizontal: the member names. Vertical: the row numbers, and the findings about the
    /// row's record as a whole in Qt::ToolTipRole, FindingsRole and FaultRole.
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    /// Every cell is selectable, enabled and editable.
    Qt::ItemFlags flags(const QModelIndex& index) const override;
    /// Qt::EditRole: sets the member (see Record::SetMemberValue()); IsSetRole false: unsets
    /// it. False, changing nothing, when the library refuses the value.
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    /// Inserts new details, each complete and valid: NextSettingsDetail(), with a name and
    /// index no other detail uses.
    bool insertRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;
    /// Removes details.
    bool removeRows(int row, int count, const QModelIndex& parent = QModelIndex()) override;
    /// Moves details; @p destinationChild counts positions before the move, as Qt's do.
    bool moveRows(const QModelIndex& sourceParent, int sourceRow, int count,
                  const QModelIndex& destinationParent, int destinationChild) override;
    /// The role names for QML: display, edit, toolTip, isSet, defaultValue, displayNames, names,
    /// findings, fault, unit, decimals, kind.
    QHash<int, QByteArray> roleNames() const override;

private:
    struct Column {
        int childBit = -1; // the row record's Record member holding the member, or -1
        const RecordDescription* record = nullptr;
        const MemberDescription* member = nullptr;
    };
    struct Located {
        int column = -1;
        ReadFinding finding; ///< the finding itself
    };
    struct RowState {
        std::vector<Located> read;
        // Worked out when first asked for after the row changed: a view shows a few rows of
        // a large document.
        bool current = false;
        std::vector<Located> check;   // the row's Check(), and what its save would find
        std::unique_ptr<Record> view; // the row as a save writes it and a load gives it back
    };
    enum class EditKind { Value, Default, Unset };
    using Snapshot = std::vector<QVariant>;

    bool IsCell(const QModelIndex& index) const;
    Record* MutableRowRecord(int row);
    const Record* CellRecord(int row, const Column& column) const;
    const Record* ShownRecord(int row, const Column& column) const;
    bool ShownSet(int row, const Column& column) const;
    int LocateColumn(const ReadPath& path, int from, const MemberDescription* member) const;
    void Refresh(int row) { m_rows[static_cast<size_t>(row)].current = false; }
    const RowState& State(int row) const;
    void Update(RowState& state, int row) const;
    void CheckRoot();
    bool Edit(const QModelIndex& index, EditKind kind, const QVariant& value);
    bool Apply(Record& row, const Column& column, EditKind kind, const QVariant& value,
               QString& why) const;
    bool Carried(const Record& row, const Column& column, EditKind kind, QString& why) const;
    Snapshot Snap(int row) const;
    void EmitChanged(int row, const Snapshot& before);
    QStringList CellFindings(int row, int column) const;
    int CellFault(int row, int column) const;

    std::unique_ptr<Record> m_document;
    std::shared_ptr<REPORTGENERATOR::Logger> m_logger;
    std::vector<Column> m_columns;
    int m_listBit = -1;
    mutable std::vector<RowState> m_rows;
    std::vector<ReadFinding> m_documentRead;
    std::vector<ReadFinding> m_documentCheck;
    QString m_refusal;
};

/// A finding in one line: "line L, column C: message" for XML, "offset N: message" for the
/// binary form, the message alone where the finding has no position.
KVT317XMLMODEL_EXPORT QString FindingLine(const ReadFinding& finding);

} // namespace KVT317XML
