#include "ui/main/dialogs.h"

#include "ui/look/colours.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/smalldialog.h"
#include "ui/look/toolbuttons.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kListWidth = 56; ///< characters
constexpr int kListRows = 12;  //

QString tr(const char *text)
{
    return QCoreApplication::translate("Dialogs", text);
}

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

QDialog *askMailboxFile(QWidget *parent, std::function<QString(const QString &)> check,
                        std::function<void(const QString &, const QString &)> done)
{
    auto *dialog = new SmallDialog(parent, tr("Add a mailbox file"), tr("Add"));
    dialog->setObjectName(u"mailboxDialog"_s);
    auto *words = new QLabel(tr("Velmar takes the mail out of this file each time it looks for new mail."));
    words->setWordWrap(true);
    setTextRole(words, Role::Text2);
    auto *form = new QFormLayout;
    QLineEdit *name = addField(form, tr("&Name"), u"name"_s);
    auto *line = new QHBoxLayout;
    auto *path = new QLineEdit;
    path->setObjectName(u"path"_s);
    path->setMinimumWidth(columnWidth(kListWidth) / 2);
    auto *choose = newToolButton(u"folder"_s, tr("Choose a file"), dialog);
    line->addWidget(path, 1);
    line->addWidget(choose);
    form->addRow(tr("&File"), line);
    if (auto *label = qobject_cast<QLabel *>(form->labelForField(line)))
        label->setBuddy(path);
    dialog->contents()->addWidget(words);
    dialog->contents()->addLayout(form);
    const auto refresh = [dialog, name, path, check = std::move(check)] {
        const QString text = name->text().trimmed();
        dialog->setProblem(text.isEmpty() ? QString() : check(text));
        if (text.isEmpty() || path->text().trimmed().isEmpty())
            dialog->footer()->defaultButton()->setEnabled(false);
    };
    QObject::connect(name, &QLineEdit::textChanged, dialog, refresh);
    QObject::connect(path, &QLineEdit::textChanged, dialog, refresh);
    QObject::connect(choose, &QToolButton::clicked, dialog, [dialog, path, name] {
        auto *files = new QFileDialog(dialog, tr("Mailbox file"));
        files->setAttribute(Qt::WA_DeleteOnClose);
        files->setFileMode(QFileDialog::AnyFile);
        QObject::connect(files, &QFileDialog::fileSelected, path, [path, name](const QString &file) {
            path->setText(file);
            if (name->text().isEmpty())
                name->setText(QFileInfo(file).fileName());
        });
        files->open();
    });
    refresh();
    QObject::connect(dialog, &QDialog::accepted, parent, [name, path, done = std::move(done)] {
        done(name->text().trimmed(), path->text().trimmed());
    });
    dialog->open();
    name->setFocus();
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
