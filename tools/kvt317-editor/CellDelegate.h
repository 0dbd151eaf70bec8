#pragma once

#include <QStyledItemDelegate>

#include <functional>

class QUndoStack;

// Editors per member kind, from the model's roles: a combo box of the translated names for
// enumerations, spin boxes with the member's unit and decimals for numbers, a date-time
// editor for date-times, a line edit for texts. A committed value goes onto the undo stack;
// one the model refuses does not, and its reason goes to refused.
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

    // Receives the model's reason for a refused value.
    std::function<void(const QString& reason)> refused;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    QUndoStack* m_undo;
};
