// SPDX-License-Identifier: MIT
// The parameter tree: sections, the three row kinds, the editors and the stored values.
#include <memory>

#include <QAbstractItemView>
#include <QComboBox>
#include <QFontMetrics>
#include <QLineEdit>
#include <QStandardItemModel>
#include <QStyleOptionViewItem>

#include "params/widget_tree_param.h"
#include "tests/shell/gui_test_support.h"

namespace {

constexpr int RoleKind = Qt::UserRole + 1;
constexpr int RoleValue = Qt::UserRole + 2;
constexpr int RoleValues = Qt::UserRole + 3;
constexpr int RoleTexts = Qt::UserRole + 4;

// The value cell (second column) of a row under a section row.
QModelIndex valueIndex(const WidgetTreeParam& tree, int section, int row) {
    const QStandardItemModel* model = tree.itemModel();
    return model->index(row, 1, model->index(section, 0));
}

QModelIndex nameIndex(const WidgetTreeParam& tree, int section, int row) {
    const QStandardItemModel* model = tree.itemModel();
    return model->index(row, 0, model->index(section, 0));
}

// An editor made and filled by the view's delegate, as the view does when editing starts.
std::unique_ptr<QWidget> openEditor(WidgetTreeParam& tree, const QModelIndex& index) {
    QStyleOptionViewItem option;
    QAbstractItemDelegate* delegate = tree.itemDelegate();
    std::unique_ptr<QWidget> editor(delegate->createEditor(tree.viewport(), option, index));
    if (editor) delegate->setEditorData(editor.get(), index);
    return editor;
}

TEST(WidgetTreeParam, RowInUnknownSectionIsRefusedAndTreeStaysUnchanged) {
    WidgetTreeParam tree;
    ASSERT_TRUE(tree.addSection("info", "File Infomation"));

    EXPECT_FALSE(tree.addReadOnlyItem("config", "", "Path Input", "/a.dat"));
    EXPECT_FALSE(tree.addEditItem("config", "", "Marker Name", "M"));
    EXPECT_FALSE(tree.addComboItem("config", "", "Version", "3.04", {"3.04"}, {"RINEX 3.04"}));

    EXPECT_EQ(tree.itemModel()->rowCount(), 1);
    EXPECT_EQ(tree.itemModel()->rowCount(tree.itemModel()->index(0, 0)), 0);
    EXPECT_TRUE(tree.getParameters("").isEmpty());
    EXPECT_TRUE(tree.getParameters("config").isEmpty());
}

TEST(WidgetTreeParam, SecondSectionWithSameNameIsRefused) {
    WidgetTreeParam tree;
    EXPECT_TRUE(tree.addSection("info", "File Infomation"));
    EXPECT_FALSE(tree.addSection("info", "Other"));
    EXPECT_TRUE(tree.addSection("config", "Configure"));

    ASSERT_EQ(tree.itemModel()->rowCount(), 2);
    EXPECT_EQ(tree.itemModel()->index(0, 0).data().toString(), "File Infomation");
    EXPECT_EQ(tree.itemModel()->index(1, 0).data().toString(), "Configure");
}

TEST(WidgetTreeParam, SectionRowHasTitleAndEmptyNonEditableKindOneItem) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    const QStandardItemModel* model = tree.itemModel();
    const QStandardItem* title = model->item(0, 0);
    const QStandardItem* second = model->item(0, 1);
    ASSERT_TRUE(title && second);
    EXPECT_EQ(title->text(), "Configure");
    EXPECT_FALSE(title->isEditable());
    EXPECT_TRUE(second->text().isEmpty());
    EXPECT_EQ(second->data(RoleKind).toInt(), 1);
    EXPECT_FALSE(second->isEditable());
}

TEST(WidgetTreeParam, ConstructorSetsIndentationEditTriggersAndDelegate) {
    WidgetTreeParam tree;
    EXPECT_EQ(tree.indentation(), tree.fontMetrics().horizontalAdvance(" + "));
    const QAbstractItemView::EditTriggers all =
        QAbstractItemView::CurrentChanged | QAbstractItemView::DoubleClicked |
        QAbstractItemView::SelectedClicked | QAbstractItemView::EditKeyPressed |
        QAbstractItemView::AnyKeyPressed;
    EXPECT_EQ(tree.editTriggers(), all);
    EXPECT_NE(dynamic_cast<WidgetTreeParam::ItemDelegate*>(tree.itemDelegate()), nullptr);
    EXPECT_EQ(tree.model(), tree.itemModel());
}

TEST(WidgetTreeParam, HeaderLabelsNameTheTwoColumns) {
    WidgetTreeParam tree;
    tree.setHeaderLabels("Name", "Value");
    EXPECT_EQ(tree.itemModel()->headerData(0, Qt::Horizontal).toString(), "Name");
    EXPECT_EQ(tree.itemModel()->headerData(1, Qt::Horizontal).toString(), "Value");
}

TEST(WidgetTreeParam, RowsCarryKindStoredValueAndEditability) {
    WidgetTreeParam tree;
    tree.addSection("s", "S");
    ASSERT_TRUE(tree.addReadOnlyItem("s", "", "Sn", "12345"));
    ASSERT_TRUE(tree.addEditItem("s", "", "Marker Name", "CEBR"));
    ASSERT_TRUE(
        tree.addComboItem("s", "", "Mode", "2", {"1", "2", "3"}, {"PPK None", "PPK Only", "PPK Mix"}));
    const QStandardItemModel* model = tree.itemModel();

    const QModelIndex readOnly = valueIndex(tree, 0, 0);
    EXPECT_EQ(nameIndex(tree, 0, 0).data().toString(), "Sn");
    EXPECT_EQ(readOnly.data().toString(), "12345");
    EXPECT_EQ(readOnly.data(RoleKind).toInt(), 2);
    EXPECT_EQ(readOnly.data(RoleValue).toString(), "12345");
    EXPECT_FALSE(model->flags(readOnly) & Qt::ItemIsEditable);
    EXPECT_FALSE(model->flags(nameIndex(tree, 0, 0)) & Qt::ItemIsEditable);

    const QModelIndex edit = valueIndex(tree, 0, 1);
    EXPECT_EQ(edit.data().toString(), "CEBR");
    EXPECT_EQ(edit.data(RoleKind).toInt(), 3);
    EXPECT_EQ(edit.data(RoleValue).toString(), "CEBR");
    EXPECT_TRUE(model->flags(edit) & Qt::ItemIsEditable);
    EXPECT_FALSE(model->flags(nameIndex(tree, 0, 1)) & Qt::ItemIsEditable);

    const QModelIndex combo = valueIndex(tree, 0, 2);
    EXPECT_EQ(combo.data().toString(), "PPK Only");
    EXPECT_EQ(combo.data(RoleKind).toInt(), 4);
    EXPECT_EQ(combo.data(RoleValue).toString(), "2");
    EXPECT_EQ(combo.data(RoleValues).toStringList(), QStringList({"1", "2", "3"}));
    EXPECT_EQ(combo.data(RoleTexts).toStringList(), QStringList({"PPK None", "PPK Only", "PPK Mix"}));
    EXPECT_TRUE(model->flags(combo) & Qt::ItemIsEditable);
}

TEST(WidgetTreeParam, ChoiceRowShownText) {
    WidgetTreeParam tree;
    tree.addSection("s", "S");
    tree.addComboItem("s", "", "Found", "b", {"a", "b"}, {"Text A", "Text B"});
    tree.addComboItem("s", "", "Missing", "LOW", {"a", "b"}, {"Text A", "Text B"});
    tree.addComboItem("s", "", "Beyond texts", "c", {"a", "b", "c"}, {"Text A", "Text B"});
    tree.addComboItem("s", "", "Empty current", "", {"a", "b"}, {"Text A", "Text B"});

    EXPECT_EQ(valueIndex(tree, 0, 0).data().toString(), "Text B");
    EXPECT_EQ(valueIndex(tree, 0, 1).data().toString(), "LOW");
    EXPECT_EQ(valueIndex(tree, 0, 2).data().toString(), "");
    EXPECT_EQ(valueIndex(tree, 0, 2).data(RoleValue).toString(), "c");
    EXPECT_EQ(valueIndex(tree, 0, 3).data().toString(), "");
}

TEST(WidgetTreeParam, ChoiceWithUnknownCurrentOffersListPlusThatValuePreselected) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Height Type", "LOW", {"PHASE", "SLOPE"}, {"Phase", "Slope"});
    EXPECT_EQ(valueIndex(tree, 0, 0).data().toString(), "LOW");

    auto editor = openEditor(tree, valueIndex(tree, 0, 0));
    auto* combo = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 3);
    EXPECT_EQ(combo->itemText(0), "Phase");
    EXPECT_EQ(combo->itemData(0).toString(), "PHASE");
    EXPECT_EQ(combo->itemText(1), "Slope");
    EXPECT_EQ(combo->itemData(1).toString(), "SLOPE");
    EXPECT_EQ(combo->itemText(2), "LOW");
    EXPECT_EQ(combo->itemData(2).toString(), "LOW");
    EXPECT_EQ(combo->currentIndex(), 2);
    // The list opens with the stored value highlighted.
    EXPECT_EQ(combo->view()->currentIndex().row(), 2);
    combo->hidePopup();
}

TEST(WidgetTreeParam, ChoiceWithKnownCurrentPreselectsItsEntryWithoutExtraEntry) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Version", "3.03", {"3.02", "3.03", "3.04"},
                      {"RINEX 3.02", "RINEX 3.03", "RINEX 3.04"});
    auto editor = openEditor(tree, valueIndex(tree, 0, 0));
    auto* combo = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(combo->count(), 3);
    EXPECT_EQ(combo->currentIndex(), 1);
    EXPECT_EQ(combo->currentText(), "RINEX 3.03");
    combo->hidePopup();
}

TEST(WidgetTreeParam, ChoiceMatchIsCaseSensitive) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Height Type", "phase", {"PHASE", "SLOPE"}, {"PHASE", "SLOPE"});
    auto editor = openEditor(tree, valueIndex(tree, 0, 0));
    auto* combo = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 3);
    EXPECT_EQ(combo->currentIndex(), 2);
    EXPECT_EQ(combo->currentData().toString(), "phase");
    combo->hidePopup();
}

TEST(WidgetTreeParam, ChoiceWithListsOfDifferentLengthOffersOnlyStoredValue) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Mode", "2", {"1", "2", "3"}, {"PPK None", "PPK Only"});
    auto editor = openEditor(tree, valueIndex(tree, 0, 0));
    auto* combo = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->itemText(0), "2");
    EXPECT_EQ(combo->itemData(0).toString(), "2");
    EXPECT_EQ(combo->currentIndex(), 0);
    combo->hidePopup();
}

TEST(WidgetTreeParam, ChoiceWithEmptyListsOffersOnlyStoredValue) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Height Type", "", {}, {});
    auto editor = openEditor(tree, valueIndex(tree, 0, 0));
    auto* combo = qobject_cast<QComboBox*>(editor.get());
    ASSERT_NE(combo, nullptr);
    ASSERT_EQ(combo->count(), 1);
    EXPECT_EQ(combo->itemText(0), "");
    combo->hidePopup();
}

TEST(WidgetTreeParam, ChoosingRinex303StoresThreePointZeroThree) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addComboItem("config", "", "Version", "3.04", {"3.02", "3.03", "3.04"},
                      {"RINEX 3.02", "RINEX 3.03", "RINEX 3.04"});
    tree.addEditItem("config", "", "Marker Name", "");
    tree.expandSection("config");
    tree.show();

    // A value cell goes into editing when it becomes current.
    const QModelIndex version = valueIndex(tree, 0, 0);
    tree.setCurrentIndex(version);
    auto* combo = qobject_cast<QComboBox*>(tree.indexWidget(version));
    ASSERT_NE(combo, nullptr);
    EXPECT_EQ(combo->currentText(), "RINEX 3.04");
    combo->hidePopup();
    combo->setCurrentIndex(combo->findText("RINEX 3.03"));

    // Moving on commits the choice.
    tree.setCurrentIndex(valueIndex(tree, 0, 1));
    EXPECT_EQ(version.data().toString(), "RINEX 3.03");
    EXPECT_EQ(version.data(RoleValue).toString(), "3.03");
    EXPECT_EQ(tree.getParameters("config").value("Version"), "3.03");
}

TEST(WidgetTreeParam, LineEditStartsWithStoredValueAndCommitsTextAsBoth) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addEditItem("config", "", "Marker Name", "OLD");
    tree.addEditItem("config", "", "Marker Number", "");
    tree.expandSection("config");
    tree.show();

    const QModelIndex name = valueIndex(tree, 0, 0);
    tree.setCurrentIndex(name);
    auto* lineEdit = qobject_cast<QLineEdit*>(tree.indexWidget(name));
    ASSERT_NE(lineEdit, nullptr);
    EXPECT_EQ(lineEdit->text(), "OLD");
    lineEdit->setText("NEW POINT");
    tree.setCurrentIndex(valueIndex(tree, 0, 1));

    EXPECT_EQ(name.data().toString(), "NEW POINT");
    EXPECT_EQ(name.data(RoleValue).toString(), "NEW POINT");
    EXPECT_EQ(tree.getParameters("config").value("Marker Name"), "NEW POINT");
}

TEST(WidgetTreeParam, ReadOnlyAndSectionRowsGetNoEditor) {
    WidgetTreeParam tree;
    tree.addSection("info", "File Infomation");
    tree.addReadOnlyItem("info", "", "Sn", "12345");
    tree.expandSection("info");
    tree.show();

    QStyleOptionViewItem option;
    QAbstractItemDelegate* delegate = tree.itemDelegate();
    const QModelIndex readOnly = valueIndex(tree, 0, 0);
    const QModelIndex sectionValue = tree.itemModel()->index(0, 1);
    EXPECT_EQ(delegate->createEditor(tree.viewport(), option, readOnly), nullptr);
    EXPECT_EQ(delegate->createEditor(tree.viewport(), option, sectionValue), nullptr);

    tree.setCurrentIndex(readOnly);
    EXPECT_EQ(tree.indexWidget(readOnly), nullptr);
    EXPECT_EQ(readOnly.data().toString(), "12345");
    EXPECT_EQ(tree.getParameters("info").value("Sn"), "12345");
}

TEST(WidgetTreeParam, GetParametersOfOneSectionOrOfAllInNameOrder) {
    WidgetTreeParam tree;
    tree.addSection("zeta", "Z");
    tree.addSection("alpha", "A");
    tree.addReadOnlyItem("zeta", "", "Shared", "from zeta");
    tree.addReadOnlyItem("zeta", "", "OnlyZeta", "z");
    tree.addEditItem("alpha", "", "Shared", "from alpha");
    tree.addComboItem("alpha", "", "Choice", "v2", {"v1", "v2"}, {"t1", "t2"});

    const QMap<QString, QString> alpha = tree.getParameters("alpha");
    EXPECT_EQ(alpha.size(), 2);
    EXPECT_EQ(alpha.value("Shared"), "from alpha");
    EXPECT_EQ(alpha.value("Choice"), "v2");

    // "zeta" comes after "alpha" by name, so its row wins.
    const QMap<QString, QString> all = tree.getParameters("");
    EXPECT_EQ(all.size(), 3);
    EXPECT_EQ(all.value("Shared"), "from zeta");
    EXPECT_EQ(all.value("OnlyZeta"), "z");
    EXPECT_EQ(all.value("Choice"), "v2");

    EXPECT_TRUE(tree.getParameters("missing").isEmpty());
}

TEST(WidgetTreeParam, RowsWhoseItemsAreGoneAreSkipped) {
    WidgetTreeParam tree;
    tree.addSection("config", "Configure");
    tree.addEditItem("config", "", "Marker Name", "A");
    tree.addEditItem("config", "", "Marker Number", "B");
    tree.itemModel()->removeRow(0, tree.itemModel()->index(0, 0));

    const QMap<QString, QString> parameters = tree.getParameters("config");
    EXPECT_EQ(parameters.size(), 1);
    EXPECT_EQ(parameters.value("Marker Number"), "B");
}

TEST(WidgetTreeParam, ExpandSectionExpandsItsRow) {
    WidgetTreeParam tree;
    tree.addSection("info", "File Infomation");
    tree.addSection("config", "Configure");
    tree.addReadOnlyItem("info", "", "Sn", "1");
    tree.addEditItem("config", "", "Marker Name", "");
    tree.expandSection("config");
    EXPECT_TRUE(tree.isExpanded(tree.itemModel()->index(1, 0)));
    EXPECT_FALSE(tree.isExpanded(tree.itemModel()->index(0, 0)));
}

} // namespace

VELMOOR_GUI_TEST_MAIN
