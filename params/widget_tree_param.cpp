// SPDX-License-Identifier: MIT
#include "params/widget_tree_param.h"

#include <QComboBox>
#include <QLineEdit>
#include <QRegularExpressionValidator>
#include <QStandardItemModel>

WidgetTreeParam::WidgetTreeParam(QWidget* parent) : QTreeView(parent), model_(new QStandardItemModel(this)) {
    setModel(model_);
    setIndentation(fontMetrics().horizontalAdvance(" + "));
    setItemDelegate(new ItemDelegate(this));
    // A value cell goes into editing as soon as it becomes current.
    setEditTriggers(QAbstractItemView::CurrentChanged | QAbstractItemView::DoubleClicked |
                    QAbstractItemView::SelectedClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed);
}

void WidgetTreeParam::setHeaderLabels(const QString& first, const QString& second) {
    model_->setHorizontalHeaderLabels({first, second});
}

bool WidgetTreeParam::addSection(const QString& name, const QString& title) {
    if (sections_.contains(name)) return false;
    auto* titleItem = new QStandardItem(title);
    titleItem->setEditable(false);
    auto* emptyItem = new QStandardItem();
    emptyItem->setEditable(false);
    emptyItem->setData(KindSection, RoleKind);
    model_->appendRow({titleItem, emptyItem});
    sections_[name].index = QPersistentModelIndex(titleItem->index());
    return true;
}

bool WidgetTreeParam::addRow(const QString& section, const QString& group, const QString& name, qint32 kind,
                             const QString& shown, const QString& value, bool editable,
                             const QStringList& values, const QStringList& texts) {
    auto found = sections_.find(section);
    if (found == sections_.end() || !found->index.isValid()) return false;
    QStandardItem* sectionItem = model_->itemFromIndex(found->index);
    if (!sectionItem) return false;

    auto* nameItem = new QStandardItem(name);
    nameItem->setEditable(false);
    auto* valueItem = new QStandardItem(shown);
    valueItem->setEditable(editable);
    valueItem->setData(kind, RoleKind);
    valueItem->setData(value, RoleValue);
    if (kind == KindCombo) {
        valueItem->setData(values, RoleValues);
        valueItem->setData(texts, RoleTexts);
    }
    sectionItem->appendRow({nameItem, valueItem});

    RowEntry& row = found->rows[name];
    row.kind = kind;
    row.group = group;
    row.name = name;
    row.index = QPersistentModelIndex(valueItem->index());
    return true;
}

bool WidgetTreeParam::addReadOnlyItem(const QString& section, const QString& group, const QString& name,
                                      const QString& value) {
    return addRow(section, group, name, KindReadOnly, value, value, false);
}

bool WidgetTreeParam::addEditItem(const QString& section, const QString& group, const QString& name,
                                  const QString& value) {
    return addRow(section, group, name, KindEdit, value, value, true);
}

bool WidgetTreeParam::addComboItem(const QString& section, const QString& group, const QString& name,
                                   const QString& current, const QStringList& values,
                                   const QStringList& texts) {
    const int position = values.indexOf(current);
    QString shown;
    if (position < 0)
        shown = current;
    else if (position < texts.size())
        shown = texts.at(position);
    return addRow(section, group, name, KindCombo, shown, current, true, values, texts);
}

void WidgetTreeParam::expandSection(const QString& section) {
    const auto found = sections_.constFind(section);
    if (found != sections_.constEnd() && found->index.isValid()) expand(found->index);
}

bool WidgetTreeParam::setEditPattern(const QString& section, const QString& name, const QString& pattern,
                                     const QString& hint) {
    const auto found = sections_.constFind(section);
    if (found == sections_.constEnd()) return false;
    const auto row = found->rows.constFind(name);
    if (row == found->rows.constEnd() || row->kind != KindEdit || !row->index.isValid()) return false;
    model_->setData(row->index, QStringLiteral("(?:%1)?").arg(pattern), RolePattern);
    model_->setData(row->index, hint, Qt::ToolTipRole);
    return true;
}

QMap<QString, QString> WidgetTreeParam::getParameters(const QString& section) const {
    QMap<QString, QString> parameters;
    for (auto s = sections_.constBegin(); s != sections_.constEnd(); ++s) {
        if (!section.isEmpty() && s.key() != section) continue;
        for (const RowEntry& row : s->rows) {
            if (!row.index.isValid()) continue;
            parameters[row.name] = row.index.data(RoleValue).toString();
        }
    }
    return parameters;
}

QWidget* WidgetTreeParam::ItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem&,
                                                     const QModelIndex& index) const {
    switch (index.data(RoleKind).toInt()) {
    case KindEdit: {
        auto* lineEdit = new QLineEdit(parent);
        const QString pattern = index.data(RolePattern).toString();
        if (!pattern.isEmpty())
            lineEdit->setValidator(new QRegularExpressionValidator(QRegularExpression(pattern), lineEdit));
        return lineEdit;
    }
    case KindCombo:
        return new QComboBox(parent);
    default:
        return nullptr; // sections and read-only rows cannot be edited
    }
}

void WidgetTreeParam::ItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
    const QString value = index.data(RoleValue).toString();
    switch (index.data(RoleKind).toInt()) {
    case KindEdit:
        if (auto* lineEdit = qobject_cast<QLineEdit*>(editor)) lineEdit->setText(value);
        break;
    case KindCombo: {
        auto* combo = qobject_cast<QComboBox*>(editor);
        if (!combo) break;
        // The view refreshes an open editor whenever its item changes, committing included:
        // a filled box only follows the stored value.
        if (combo->count() > 0) {
            const int entry = combo->findData(value);
            if (entry >= 0) combo->setCurrentIndex(entry);
            break;
        }
        const QStringList values = index.data(RoleValues).toStringList();
        const QStringList texts = index.data(RoleTexts).toStringList();
        if (!values.isEmpty() && values.size() == texts.size()) {
            for (int i = 0; i < values.size(); ++i)
                combo->addItem(texts.at(i), values.at(i));
        }
        int entry = combo->findData(value);
        if (entry < 0) {
            combo->addItem(value, value);
            entry = combo->count() - 1;
        }
        // Selected before the list opens too, so that the open list highlights the stored value.
        combo->setCurrentIndex(entry);
        combo->showPopup();
        combo->setCurrentIndex(entry);
        break;
    }
    default:
        break;
    }
}

void WidgetTreeParam::ItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model,
                                                 const QModelIndex& index) const {
    switch (index.data(RoleKind).toInt()) {
    case KindEdit:
        if (auto* lineEdit = qobject_cast<QLineEdit*>(editor)) {
            const QString text = lineEdit->text();
            model->setData(index, text, RoleValue);
            model->setData(index, text, Qt::DisplayRole);
        }
        break;
    case KindCombo:
        if (auto* combo = qobject_cast<QComboBox*>(editor)) {
            const QString value = combo->currentData().toString();
            const QString text = combo->currentText();
            model->setData(index, value, RoleValue);
            model->setData(index, text, Qt::DisplayRole);
        }
        break;
    default:
        break;
    }
}
