#pragma once

#include <QStyledItemDelegate>

class QUndoStack;

// Editors per member kind, from the model's roles: a combo box of the translated names for
// enumerations, spin boxes with the member's unit and decimals for numbers, a date-time
// editor for date-times, a line edit for texts. A committed value goes onto the undo stack.
// Faulty cells are drawn in the colour of their most severe finding.
class CellDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    CellDelegate(QUndoStack* undo, QObject* parent);

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    QUndoStack* m_undo;
};
