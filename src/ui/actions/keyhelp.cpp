#include "ui/actions/keyhelp.h"

#include "ui/actions/actionregistry.h"
#include "ui/actions/paletteitems.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/searchfield.h"
#include "ui/look/toolbuttons.h"

#include <QAction>
#include <QCoreApplication>
#include <QDialog>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 64; ///< characters
constexpr int kRows = 22;

QString text(const char *words)
{
    return QCoreApplication::translate("KeyHelp", words);
}

QTreeWidgetItem *sectionFor(QTreeWidget *list, const QString &place)
{
    const QList<QTreeWidgetItem *> found = list->findItems(place, Qt::MatchExactly);
    if (!found.isEmpty())
        return found.first();
    auto *section = new QTreeWidgetItem(list, {place});
    section->setFlags(Qt::ItemIsEnabled);
    section->setFirstColumnSpanned(true);
    section->setFont(0, fontScaled(1, QFont::DemiBold));
    return section;
}

void fill(QTreeWidget *list, const ActionRegistry &registry)
{
    for (const ActionRegistry::Entry &entry : registry.entries()) {
        if (entry.action->shortcuts().isEmpty())
            continue;
        new QTreeWidgetItem(sectionFor(list, placeOf(entry.row->name)),
                            {plainName(entry.action->text()), keysInWords(entry.action)});
    }
    list->expandAll();
}

void narrow(QTreeWidget *list, const QString &typed)
{
    for (int i = 0; i < list->topLevelItemCount(); ++i) {
        QTreeWidgetItem *section = list->topLevelItem(i);
        bool any = false;
        for (int j = 0; j < section->childCount(); ++j) {
            QTreeWidgetItem *row = section->child(j);
            const bool fits = (row->text(0) + u' ' + row->text(1)).contains(typed, Qt::CaseInsensitive);
            row->setHidden(!fits);
            any = any || fits;
        }
        section->setHidden(!any);
    }
}

} // namespace

QDialog *showKeyHelp(const ActionRegistry &registry)
{
    auto *dialog = new QDialog(registry.window());
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(u"keyHelp"_s);
    dialog->setWindowTitle(text("Keys"));
    auto *field = new SearchField(u"search"_s, text("Find an action or a key"));
    field->setEscapeLeaves(true);
    auto *list = new QTreeWidget;
    list->setObjectName(u"keyList"_s);
    list->setAccessibleName(text("Keys"));
    list->setHeaderLabels({text("What it does"), text("Keys")});
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setMinimumSize(columnWidth(kWidth), kRows * rowHeight(RowKind::List));
    list->header()->setStretchLastSection(false);
    list->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    list->header()->setSectionResizeMode(1, QHeaderView::ResizeToContents);
    fill(list, registry);
    auto *footer = new DialogFooter(text("Close"));
    footer->cancelButton()->hide();
    auto *page = new QVBoxLayout;
    page->setContentsMargins(space::dialog, space::dialog, space::dialog, space::card);
    page->setSpacing(space::group);
    page->addWidget(field);
    page->addWidget(list, 1);
    auto *all = new QVBoxLayout(dialog);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(page, 1);
    all->addWidget(footer);
    QObject::connect(field, &QLineEdit::textChanged, list,
                     [list](const QString &typed) { narrow(list, typed.trimmed()); });
    QObject::connect(field, &SearchField::left, dialog, &QDialog::reject);
    QObject::connect(footer, &DialogFooter::accepted, dialog, &QDialog::accept);
    dialog->open();
    field->setFocus();
    return dialog;
}
