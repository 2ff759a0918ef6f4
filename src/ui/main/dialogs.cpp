#include "ui/main/dialogs.h"

#include "message/useragent.h"
#include "ui/look/dialogfooter.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"
#include "ui/look/smalldialog.h"

#include <QApplication>
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
constexpr int kSignRows = 3;   ///< lines of text that the program's sign is high

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

QDialog *showAbout(QWidget *parent)
{
    const auto tr = [](const char *text) { return QCoreApplication::translate("About", text); };
    auto *dialog = new SmallDialog(parent, u"Velmar "_s + QString::fromLatin1(versionText()), tr("Close"));
    dialog->setObjectName(u"about"_s);
    dialog->footer()->cancelButton()->hide();
    auto *sign = new QLabel;
    sign->setPixmap(QApplication::windowIcon().pixmap(kSignRows * textHeight()));
    auto *words =
        new QLabel(tr(QT_TRANSLATE_NOOP("About", "Mail, news and feeds in plain files on this computer.")));
    words->setMinimumWidth(columnWidth(kListWidth));
    auto *agent = new QLabel(QString::fromLatin1(userAgent()));
    agent->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setTextRole(agent, Role::Text2);
    auto *texts = new QVBoxLayout;
    texts->setSpacing(space::between);
    texts->addWidget(words);
    texts->addWidget(agent);
    texts->addStretch(1);
    auto *line = new QHBoxLayout;
    line->setSpacing(space::card);
    line->addWidget(sign, 0, Qt::AlignTop);
    line->addLayout(texts, 1);
    sign->setVisible(!sign->pixmap().isNull());
    dialog->contents()->addLayout(line);
    dialog->open();
    dialog->footer()->defaultButton()->setFocus();
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
