#include "CellDelegate.h"

#include "Commands.h"

#include <RecordDescription.h>
#include <SettingsModel.h>

#include <QComboBox>
#include <QDateTimeEdit>
#include <QDoubleSpinBox>
#include <QLineEdit>
#include <QPainter>
#include <QSortFilterProxyModel>
#include <QSpinBox>
#include <QUndoStack>

#include <limits>

using KVT317XML::MemberKind;
using KVT317XML::SettingsModel;

CellDelegate::CellDelegate(QUndoStack* undo, QObject* parent)
    : QStyledItemDelegate(parent)
    , m_undo(undo)
{
}

namespace {

QString Suffix(const QModelIndex& index)
{
    const QString unit = index.data(SettingsModel::UnitRole).toString();
    return unit.isEmpty() ? QString() : QLatin1Char(' ') + unit;
}

} // namespace

QWidget* CellDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                    const QModelIndex& index) const
{
    const auto kind = static_cast<MemberKind>(index.data(SettingsModel::KindRole).toInt());
    switch (kind) {
    case MemberKind::Enumeration: {
        auto* box = new QComboBox(parent);
        box->setObjectName(QStringLiteral("enumerationEditor"));
        box->addItems(index.data(SettingsModel::DisplayNamesRole).toStringList());
        return box;
    }
    case MemberKind::Integer: {
        auto* box = new QSpinBox(parent);
        box->setObjectName(QStringLiteral("integerEditor"));
        box->setRange(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
        box->setSuffix(Suffix(index));
        return box;
    }
    case MemberKind::Float:
    case MemberKind::Double: {
        auto* box = new QDoubleSpinBox(parent);
        box->setObjectName(QStringLiteral("numberEditor"));
        box->setDecimals(index.data(SettingsModel::DecimalsRole).toInt());
        box->setRange(-1e15, 1e15);
        box->setSuffix(Suffix(index));
        return box;
    }
    case MemberKind::DateTime: {
        auto* edit = new QDateTimeEdit(parent);
        edit->setObjectName(QStringLiteral("dateTimeEditor"));
        edit->setTimeSpec(Qt::UTC);
        edit->setDisplayFormat(QStringLiteral("yyyy-MM-dd hh:mm:ss.zzz 'UTC'"));
        edit->setCalendarPopup(true);
        return edit;
    }
    default: {
        auto* edit =
            qobject_cast<QLineEdit*>(QStyledItemDelegate::createEditor(parent, option, index));
        if (edit)
            edit->setObjectName(QStringLiteral("textEditor"));
        return edit;
    }
    }
}

void CellDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const
{
    const QVariant value = index.data(Qt::EditRole);
    if (auto* box = qobject_cast<QComboBox*>(editor))
        box->setCurrentIndex(value.toInt());
    else if (auto* spin = qobject_cast<QSpinBox*>(editor))
        spin->setValue(value.toInt());
    else if (auto* number = qobject_cast<QDoubleSpinBox*>(editor))
        number->setValue(value.toDouble());
    else if (auto* time = qobject_cast<QDateTimeEdit*>(editor))
        time->setDateTime(value.toDateTime().toUTC());
    else if (auto* line = qobject_cast<QLineEdit*>(editor))
        line->setText(value.toString());
}

void CellDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                const QModelIndex& index) const
{
    QVariant value;
    if (auto* box = qobject_cast<QComboBox*>(editor))
        value = box->currentIndex();
    else if (auto* spin = qobject_cast<QSpinBox*>(editor))
        value = spin->value();
    else if (auto* number = qobject_cast<QDoubleSpinBox*>(editor))
        value = number->value();
    else if (auto* time = qobject_cast<QDateTimeEdit*>(editor))
        value = time->dateTime().toUTC();
    else if (auto* line = qobject_cast<QLineEdit*>(editor))
        value = line->text();
    // The value as the model gives it back: a float member stays a float.
    const QVariant before = index.data(Qt::EditRole);
    if (before.isValid() && before.userType() != value.userType()) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        value.convert(QMetaType(before.userType()));
#else
        value.convert(before.userType());
#endif
    }
    QModelIndex source = index;
    auto* proxy = qobject_cast<QSortFilterProxyModel*>(model);
    if (proxy)
        source = proxy->mapToSource(index);
    auto* settings = qobject_cast<SettingsModel*>(proxy ? proxy->sourceModel() : model);
    if (!settings)
        return;
    if (index.data(SettingsModel::IsSetRole).toBool() && before == value)
        return; // nothing to undo
    auto* command = new SetCellCommand(*settings, source.row(), source.column(),
                                       SetCellCommand::Change::Value, value);
    if (command->Apply()) {
        m_undo->push(command);
        return;
    }
    delete command;
    if (refused)
        refused(settings->LastRefusal());
}

void CellDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    const int fault = index.data(SettingsModel::FaultRole).toInt();
    if (fault == 0) // an error
        option->backgroundBrush = QColor(0xf8, 0xc8, 0xc8);
    else if (fault == 1) // a warning
        option->backgroundBrush = QColor(0xfa, 0xe8, 0xb0);
    if (!index.data(SettingsModel::IsSetRole).toBool())
        option->palette.setColor(QPalette::Text, QColor(0x80, 0x80, 0x80));
}
