// SPDX-License-Identifier: MIT
#pragma once
// Two-column name/value tree with sections. Every row keeps a stored value apart from the
// text it shows, so that a choice can show "RINEX 3.04" while it stores "3.04".
#include <QMap>
#include <QPersistentModelIndex>
#include <QString>
#include <QStringList>
#include <QStyledItemDelegate>
#include <QTreeView>

class QStandardItemModel;

class WidgetTreeParam : public QTreeView {
    Q_OBJECT
public:
    // Data roles of the value item (second column).
    enum Role {
        RoleKind = Qt::UserRole + 1,   // int, see Kind
        RoleValue = Qt::UserRole + 2,  // stored value returned by getParameters
        RoleValues = Qt::UserRole + 3, // choice rows: stored values
        RoleTexts = Qt::UserRole + 4,  // choice rows: texts shown for the values
        RolePattern = Qt::UserRole + 5, // edit rows: what the editor lets be typed (empty: anything)
    };
    enum Kind { KindSection = 1, KindReadOnly = 2, KindEdit = 3, KindCombo = 4 };

    // Makes the editors and moves values between editor and model (no meta-object of its
    // own: moc does not handle nested classes, and it declares no signals or slots).
    class ItemDelegate : public QStyledItemDelegate {
    public:
        using QStyledItemDelegate::QStyledItemDelegate;

        QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
        void setEditorData(QWidget* editor, const QModelIndex& index) const override;
        void setModelData(QWidget* editor, QAbstractItemModel* model,
                          const QModelIndex& index) const override;
    };

    explicit WidgetTreeParam(QWidget* parent = nullptr);

    void setHeaderLabels(const QString& first, const QString& second);

    // All add operations return false when the section is unknown (addSection: when it exists).
    bool addSection(const QString& name, const QString& title);
    bool addReadOnlyItem(const QString& section, const QString& group, const QString& name,
                         const QString& value);
    bool addEditItem(const QString& section, const QString& group, const QString& name, const QString& value);
    bool addComboItem(const QString& section, const QString& group, const QString& name,
                      const QString& current, const QStringList& values, const QStringList& texts);
    void expandSection(const QString& section);
    // Edit rows only: the editor accepts only text that can still become a match of the
    // pattern (an empty text too); hint becomes the row's tooltip. False for an unknown row.
    bool setEditPattern(const QString& section, const QString& name, const QString& pattern,
                        const QString& hint);

    // Row name -> stored value; an empty section name takes every section, in name order.
    QMap<QString, QString> getParameters(const QString& section) const;

    QStandardItemModel* itemModel() const { return model_; }

private:
    struct RowEntry {
        qint32 kind = 0;
        QString group;
        QString name;
        QPersistentModelIndex index; // the value item
    };
    struct SectionEntry {
        QPersistentModelIndex index; // the title item
        QMap<QString, RowEntry> rows;
    };

    bool addRow(const QString& section, const QString& group, const QString& name, qint32 kind,
                const QString& shown, const QString& value, bool editable, const QStringList& values = {},
                const QStringList& texts = {});

    QStandardItemModel* model_;
    QMap<QString, SectionEntry> sections_;
};
