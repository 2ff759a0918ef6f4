#include "ui/main/dialogs.h"

#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/smalldialog.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 56; ///< characters
constexpr int kListRows = 12;  //

QListWidget *newList(const QString &name)
{
    auto *list = new QListWidget;
    list->setAccessibleName(name);
    list->setMinimumSize(columnWidth(kListWidth), kListRows * rowHeight(RowKind::List));
    list->setUniformItemSizes(true);
    return list;
}

QLineEdit *addField(QFormLayout *form, const QString &label, const QString &name)
{
    auto *field = new QLineEdit;
    field->setObjectName(name);
    field->setMinimumWidth(columnWidth(kListWidth) / 2);
    form->addRow(label, field);
    return field;
}

} // namespace

QDialog *askName(QWidget *parent, const NameRequest &request, std::function<void(const QString &)> done)
{
    auto *dialog = new SmallDialog(parent, request.title, request.verb);
    dialog->setObjectName(u"nameDialog"_s);
    auto *form = new QFormLayout;
    QLineEdit *field = addField(form, request.label, u"name"_s);
    dialog->contents()->addLayout(form);
    const auto check = [dialog, field, request] {
        const QString text = field->text().trimmed();
        dialog->setProblem(text.isEmpty() ? QString() : request.check(text));
        if (text.isEmpty())
            dialog->footer()->defaultButton()->setEnabled(false);
    };
    QObject::connect(field, &QLineEdit::textChanged, dialog, check);
    field->setText(request.text);
    field->selectAll();
    check();
    QObject::connect(dialog, &QDialog::accepted, parent,
                     [field, done = std::move(done)] { done(field->text().trimmed()); });
    dialog->open();
    field->setFocus();
    return dialog;
}

QDialog *askChoice(QWidget *parent, const QString &title, const QString &verb, const QStringList &choices,
                   std::function<void(int)> done)
{
    auto *dialog = new SmallDialog(parent, title, verb);
    QListWidget *list = newList(title);
    list->addItems(choices);
    list->setCurrentRow(0);
    dialog->contents()->addWidget(list, 1);
    QObject::connect(list, &QListWidget::itemDoubleClicked, dialog, &QDialog::accept);
    QObject::connect(dialog, &QDialog::accepted, parent,
                     [list, done = std::move(done)] { done(list->currentRow()); });
    dialog->open();
    list->setFocus();
    return dialog;
}
